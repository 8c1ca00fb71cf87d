#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "support/tree.h"

namespace {

const char Document[] = "<R><A><B>text</B></A><C/></R>";

/// Every operation on the handle must do what it does on a null one.
void ExpectNoElement(ZAMXml& xml, const IXMLDOMNodePtr& handle) {
  _bstr_t text(u"before");
  CString string(u"before");
  EXPECT_FALSE(handle);
  EXPECT_TRUE(handle == nullptr);
  EXPECT_FALSE(xml.GetChildNode(handle, u"B"));
  EXPECT_FALSE(xml.AddChildNode(handle, u"B", u"x"));
  EXPECT_FALSE(xml.GetFirstChildNode(handle));
  EXPECT_FALSE(xml.GetNextNode(handle));
  EXPECT_TRUE(!xml.GetNodeName(handle));
  EXPECT_TRUE(!xml.GetNodePath(handle));
  EXPECT_EQ(xml.GetChildNodeText(handle, u"B", text) + xml.GetNodeText(handle, string) +
                xml.GetChildNodeAttribute(handle, u"B", u"a", text) +
                xml.GetNodeAttribute(handle, u"a", string) + xml.GetNodeCount(handle, u"B") +
                xml.GetAttributeCount(handle) + xml.GetAttribute(handle, 0, text, text),
            0);
  EXPECT_EQ(text.length() + string.view().size(), 0U);
  EXPECT_EQ(xml.SetChildNodeText(handle, u"B", u"x") + xml.SetNodeText(handle, u"x") +
                xml.SetChildNodeAttribute(handle, u"B", u"a", u"x") +
                xml.SetNodeAttribute(handle, u"a", u"x") + xml.RemoveChildNodeAll(handle) +
                xml.RemoveChildNodeAll(handle, u"B"),
            0);
}

TEST(Handles, DieWithTheirElement) {
  test::TemporaryFolder folder;
  test::WriteBytes(folder.Path("good.xml"), Document);
  ZAMXml source;
  test::Load(source, "<R><A><B/></A></R>");
  const std::function<void(ZAMXml&)> steps[] = {
      [](ZAMXml& xml) { xml.RemoveChildNodeAll(xml.GetNode(u"R/A"), u"B"); },
      [](ZAMXml& xml) { xml.RemoveChildNodeAll(xml.GetNode(u"R"), u"A"); },
      [](ZAMXml& xml) { xml.RemoveChildNodeAll(xml.GetNode(u"R")); },
      [](ZAMXml& xml) { xml.Close(); },
      [](ZAMXml& xml) { xml.New(nullptr); },
      [&](ZAMXml& xml) { EXPECT_EQ(xml.Open(folder.Path("good.xml").c_str(), nullptr), 1); },
      [&](ZAMXml& xml) { EXPECT_EQ(xml.Copy(source, nullptr), 1); },
      [](ZAMXml& xml) { EXPECT_EQ(xml.Copy(xml, nullptr), 1); },
  };
  for (const auto& step : steps) {
    ZAMXml xml;
    test::Load(xml, Document);
    const IXMLDOMNodePtr handle = xml.GetNode(u"R/A/B");
    IXMLDOMNodePtr copy = handle;
    step(xml);
    if (const IXMLDOMNodePtr root = xml.GetNode(u"R")) {
      // What is added now may be in the memory of what was removed.
      xml.AddChildNode(root, u"A/B", u"other");
    }
    const std::string before = xml.IsOpened() != 0 && xml.GetNode(u"R") ? test::Saved(xml) : "";
    ExpectNoElement(xml, handle);
    ExpectNoElement(xml, copy);
    EXPECT_EQ(before.empty() ? "" : test::Saved(xml), before);
    EXPECT_THROW(copy.Release(), _com_error);
  }
}

TEST(Handles, OutliveTree) {
  auto xml = std::make_unique<ZAMXml>();
  test::Load(*xml, Document);
  const IXMLDOMNodePtr handle = xml->GetNode(u"R/A");
  xml.reset();
  ZAMXml other;
  ExpectNoElement(other, handle);
}

TEST(Handles, SurviveFailedReplacement) {
  ZAMXml xml;
  test::Load(xml, Document);
  const IXMLDOMNodePtr handle = xml.GetNode(u"R/A/B");
  ZAMXml closed;
  ZAMLog log;
  EXPECT_EQ(xml.Open(u"/none/none.xml", &log), 0);
  EXPECT_EQ(xml.Copy(closed, &log), 0);
  EXPECT_EQ(log.GetLogCount(), 2);
  xml.RemoveChildNodeAll(xml.GetNode(u"R"), u"C");
  _bstr_t text;
  EXPECT_EQ(xml.GetNodeText(handle, text), 1);
  EXPECT_EQ(text, _bstr_t(u"text"));
}

TEST(Handles, BelongToOneTree) {
  ZAMXml xml;
  ZAMXml other;
  test::Load(xml, Document);
  test::Load(other, Document);
  const IXMLDOMNodePtr handle = other.GetNode(u"R/A");
  _bstr_t text;
  EXPECT_EQ(xml.GetNodeText(handle, text), 0);
  EXPECT_EQ(xml.SetNodeText(handle, u"x"), 0);
  EXPECT_FALSE(xml.AddChildNode(handle, u"x", u"x"));
  EXPECT_EQ(xml.RemoveChildNodeAll(handle), 0);
  EXPECT_EQ(test::Saved(other), Document);
  EXPECT_EQ(test::Saved(xml), Document);
}

TEST(Handles, EqualAndReleasedOnce) {
  ZAMXml xml;
  test::Load(xml, Document);
  IXMLDOMNodePtr first = xml.GetNode(u"R/A");
  IXMLDOMNodePtr second = xml.GetFirstChildNode(xml.GetNode(u"R"));
  EXPECT_TRUE(first == second);
  EXPECT_FALSE(first == xml.GetNextNode(first));
  first.Release();
  EXPECT_FALSE(first);
  EXPECT_TRUE(second);
  try {
    first.Release();
    ADD_FAILURE() << "released twice";
  } catch (const _com_error& error) {
    EXPECT_EQ(error.Error(), E_POINTER);
  }
  ZAMXml::SafeRelease(first);
}

}  // namespace
