#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "support/shortage.h"
#include "support/tree.h"

namespace {

template <class Record>
class RecordGuard : public testing::Test {};

using Records =
    testing::Types<ZAMXMLName, ZAMXMLDocumentInfo, ZAMXMLPatientInfo, ZAMXMLOrderInfo,
                   ZAMXMLStatement, ZAMXMLDeviceInfo, ZAMXMLExtraQuestion, ZAMXMLStudyInfo,
                   ZAMXMLChangeItem, ZAMXMLModification, ZAMXMLModificationGroup>;
TYPED_TEST_SUITE(RecordGuard, Records);

TYPED_TEST(RecordGuard, WithoutDocumentOrElementNothingHappens) {
  ZAMXml closed;
  ZAMXml xml;
  test::Load(xml, "<R><Gone/></R>");
  IXMLDOMNodePtr root = xml.GetNode(u"R");
  IXMLDOMNodePtr none;
  IXMLDOMNodePtr dead = xml.GetChildNode(root, u"Gone");
  xml.RemoveChildNodeAll(root);
  ZAMXml other;
  test::Load(other, "<R><ID>another patient's</ID></R>");
  IXMLDOMNodePtr foreign = other.GetNode(u"R");

  TypeParam record;
  ZAMLog log;
  EXPECT_EQ(record.ReadFromXML(closed, root, &log), 0);
  EXPECT_EQ(record.WriteToXML(closed, root, &log), 0);
  for (IXMLDOMNodePtr* element : {&none, &dead, &foreign}) {
    EXPECT_EQ(record.ReadFromXML(xml, *element, &log), 0);
    EXPECT_EQ(record.WriteToXML(xml, *element, &log), 0);
  }
  EXPECT_EQ(log.GetLogCount() + xml.GetLogCount() + closed.GetLogCount(), 0);
  EXPECT_EQ(test::Content(xml), "<R/>");
}

constexpr int DeepestLevel = 1000;

/// The element at that level of a document of nested elements that is as deep as one can be.
IXMLDOMNodePtr LoadDeep(ZAMXml& xml, int level) {
  std::string bytes;
  for (int i = 0; i < DeepestLevel; ++i) {
    bytes = "<a>" + bytes + "</a>";
  }
  test::Load(xml, bytes);
  IXMLDOMNodePtr element = xml.GetNode(u"a");
  for (int i = 1; i < level; ++i) {
    element = xml.GetFirstChildNode(element);
  }
  return element;
}

TEST(RecordCatchAll, AWriteThatCannotAddAnElementFailsAndSaysWhere) {
  ZAMXml xml;
  IXMLDOMNodePtr deepest = LoadDeep(xml, DeepestLevel);
  const std::string place = xml.GetNodePath(deepest).utf8();
  ASSERT_EQ(place.size(), 2U * DeepestLevel - 1);
  ZAMXMLName name;
  ZAMXMLPatientInfo patient;
  ZAMXMLStatement statements;
  statements.AddStatement(u"s");
  ZAMXMLExtraQuestion questions;
  questions.AddQuestion(u"q", u"a");
  ZAMXMLStudyInfo study;
  ZAMXMLChangeItem item;
  ZAMXMLModification modification;
  ZAMXMLModificationGroup list;
  list.m_ModificationList.Add(new ZAMXMLModification);
  const auto expectFailure = [&](auto& record) {
    ZAMLog log;
    EXPECT_EQ(record.WriteToXML(xml, deepest, &log), 0);
    ASSERT_EQ(log.GetLogCount(), 1);
    const ZAMLogEntry& entry = log.GetLog(0);
    EXPECT_EQ(entry.m_Type, ZAM_LOG_TYPE_ERROR);
    EXPECT_EQ(entry.m_Category, ZAM_LOG_CATEGORY_XML);
    const std::string detail = entry.m_Detail.utf8();
    EXPECT_TRUE(detail.starts_with(place) && detail.ends_with("would be nested too deep."))
        << detail.substr(detail.size() - 50);
    EXPECT_EQ(record.WriteToXML(xml, deepest, nullptr), 0);
  };
  std::apply([&](auto&... records) { (expectFailure(records), ...); },
             std::tie(name, patient, statements, questions, study, item, modification, list));
}

TEST(RecordCatchAll, AFailingNestedRecordReportsAndDoesNotFailItsOwner) {
  ZAMXml xml;
  IXMLDOMNodePtr parent = LoadDeep(xml, DeepestLevel - 1);
  ZAMXMLOrderInfo order;
  order.m_Comment = u"written";
  ZAMLog log;
  EXPECT_EQ(order.WriteToXML(xml, parent, &log), 1);
  EXPECT_EQ(log.GetLogCount(), 1);
  _bstr_t comment;
  EXPECT_EQ(xml.GetChildNodeText(parent, u"Comment", comment), 1);
  EXPECT_EQ(comment, u"written");
}

constexpr const char* Original =
    "<R><Study><ID>1</ID><AuthorName><Full>A long name that needs memory</Full></AuthorName>"
    "<DeviceInfo><Vendor>A maker of devices that measure</Vendor></DeviceInfo>"
    "<ExtraQuestions><Extra><Question>How are you feeling today?</Question>"
    "<Answer>As well as can be expected</Answer></Extra></ExtraQuestions></Study>"
    "<List><Modification><UID>u</UID><Changes><Item><Node>Study/ID</Node>"
    "<ValueType>STRING</ValueType><OldValue>1</OldValue><NewValue>2</NewValue></Item>"
    "<Item><Node>Study/AuthorName</Node><ValueType>NAME</ValueType>"
    "<OldValue>A^^^^^</OldValue><NewValue>B^^^^^</NewValue></Item></Changes></Modification>"
    "<Modification><UID>v</UID><Changes/></Modification></List></R>";

/// Records read from one document and written into another: whatever is not there is reported by a
/// result or a log entry.
TEST(RecordMemory, NothingIsLostInSilence) {
  std::string whole;
  test::ForEachShortage([&whole](test::Shortage& shortage) {
    ZAMXml source;
    ZAMXml target;
    test::Load(source, Original);
    test::Load(target, "<R><Study/><List/></R>");
    IXMLDOMNodePtr from[] = {source.GetNode(u"R/Study"), source.GetNode(u"R/List")};
    IXMLDOMNodePtr to[] = {target.GetNode(u"R/Study"), target.GetNode(u"R/List")};
    ZAMXMLStudyInfo study;
    ZAMXMLModificationGroup list;
    ZAMLog log;
    const int results = shortage.During([&] {
      return study.ReadFromXML(source, from[0], &log) + list.ReadFromXML(source, from[1], &log) +
             study.WriteToXML(target, to[0], &log) + list.WriteToXML(target, to[1], &log);
    });
    const std::string content = test::Content(target);
    if (whole.empty()) {
      whole = content;
    }
    EXPECT_TRUE(shortage.Happened() || results == 4);
    EXPECT_TRUE(content == whole || results < 4 || log.GetLogCount() > 0 || shortage.IsLasting());
  });
  EXPECT_NE(whole.find("B^^^^^"), std::string::npos);
}

}  // namespace
