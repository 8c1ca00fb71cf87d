#include <gtest/gtest.h>

#include <string>

#include "support/shortage.h"
#include "support/tree.h"

namespace {

/// Enough children that searching for them makes an index.
const std::string Original = [] {
  std::string bytes =
      "<R><Text>before</Text><Mixed>a<b/>c<!-- x --><![CDATA[d]]></Mixed>\n  <Many>";
  for (int i = 0; i < 40; ++i) {
    bytes += "<One/>";
  }
  return bytes + "</Many></R>";
}();

/// Longer than a page of the tree, so that each needs an allocation of its own.
const std::u16string Long(40000, u'n');
const std::u16string LongPieces = Long + u"]]>\r" + Long;
const std::u16string LongPath = u"Many/" + Long;
const test::TemporaryFolder Folder;
const std::string Opened = Folder.Path("opened.xml");
ZAMXml Source;
const std::string SavedTo = Folder.Path("saved.xml");

using Root = const IXMLDOMNodePtr&;

struct Step {
  int (*m_Do)(ZAMXml& xml, Root root);
  bool m_Whole;  ///< a step that fails changes nothing; one that adds may leave an empty element
};

const Step Steps[] = {
    {[](ZAMXml& xml, Root) { return xml.Open(Opened.c_str(), nullptr); }, true},
    {[](ZAMXml& xml, Root) { return xml.Copy(Source, nullptr); }, true},
    {[](ZAMXml& xml, Root) { return xml.SaveAs(SavedTo.c_str(), nullptr); }, true},
    {[](ZAMXml& xml, Root root) { return xml.SetChildNodeText(root, u"Text", Long); }, true},
    {[](ZAMXml& xml, Root root) { return xml.SetChildNodeText(root, u"Mixed", LongPieces); }, true},
    {[](ZAMXml& xml, Root root) { return xml.SetChildNodeText(root, Long, Long); }, false},
    {[](ZAMXml& xml, Root root) { return xml.SetNodeAttribute(root, Long, Long); }, true},
    {[](ZAMXml& xml, Root root) { return xml.AddChildNode(root, LongPath, Long) ? 1 : 0; }, false},
    {[](ZAMXml& xml, Root root) {
       return xml.GetNodeCount(root, u"Many/One") == 40 ? xml.RemoveChildNodeAll(root, u"Many/One")
                                                        : 0;
     },
     true},
};

/// A step that fails leaves a tree that can be used, and saved to a document that opens.
TEST(Memory, TreeStaysUsable) {
  test::WriteBytes(Opened, "<R><Other/></R>");
  test::Load(Source, "<R><Other/></R>");
  for (const Step& step : Steps) {
    SCOPED_TRACE(testing::Message() << "step " << &step - Steps);
    test::ForEachShortage([&step](test::Shortage& shortage) {
      ZAMXml xml;
      xml.SetDurable(0);
      test::Load(xml, Original);
      const IXMLDOMNodePtr root = xml.GetNode(u"R");
      const int result = shortage.During([&] { return step.m_Do(xml, root); });
      EXPECT_TRUE(shortage.Happened() || result == 1);
      const std::string after = test::Saved(xml);
      EXPECT_TRUE(result == 1 || !step.m_Whole || after == Original) << after.substr(0, 200);
      ZAMXml reopened;
      EXPECT_NO_THROW(test::Load(reopened, after));
      EXPECT_EQ(xml.SetChildNodeText(xml.GetNode(u"R"), u"Many/One", u"usable"), 1);
    });
  }
}

}  // namespace
