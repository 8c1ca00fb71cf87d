#include <gtest/gtest.h>

#include <string>

#include "support/document.h"
#include "support/shortage.h"

namespace {

/// Hands a record of each kind to the check; the lists among them have an entry.
template <class Check>
void ForEachRecord(Check check) {
  ZAMXMLStatement statements;
  statements.AddStatement(u"s");
  ZAMXMLExtraQuestion questions;
  questions.AddQuestion(u"q", u"a");
  ZAMXMLModificationGroup list;
  list.m_ModificationList.Add(new ZAMXMLModification);
  const auto checkAll = [&check](auto&&... records) { (check(records), ...); };
  checkAll(statements, questions, list, ZAMXMLName(), ZAMXMLDocumentInfo(), ZAMXMLPatientInfo(),
           ZAMXMLOrderInfo(), ZAMXMLDeviceInfo(), ZAMXMLStudyInfo(), ZAMXMLChangeItem(),
           ZAMXMLModification());
}

TEST(Records, NeedDocumentAndElement) {
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
  ZAMLog log;
  ForEachRecord([&](auto& record) {
    SCOPED_TRACE(typeid(record).name());
    EXPECT_EQ(record.ReadFromXML(closed, root, &log) + record.WriteToXML(closed, root, &log), 0);
    for (IXMLDOMNodePtr* element : {&none, &dead, &foreign}) {
      EXPECT_EQ(record.ReadFromXML(xml, *element, &log), 0);
      EXPECT_EQ(record.WriteToXML(xml, *element, &log), 0);
    }
  });
  EXPECT_EQ(log.GetLogCount() + xml.GetLogCount() + closed.GetLogCount(), 0);
  EXPECT_EQ(test::Content(xml), "<R/>");
}

TEST(Records, FailedWriteSaysWhere) {
  std::string bytes;
  for (int i = 0; i < 1000; ++i) {
    bytes = "<a>" + bytes + "</a>";
  }
  ZAMXml xml;
  test::Load(xml, bytes);
  IXMLDOMNodePtr parent;
  IXMLDOMNodePtr deepest = xml.GetNode(u"a");
  for (auto child = deepest; child; child = xml.GetFirstChildNode(deepest)) {
    parent = deepest;
    deepest = child;
  }
  const std::string place = xml.GetNodePath(deepest).utf8();
  ASSERT_EQ(place.size(), 1999U);
  ForEachRecord([&](auto& record) {
    SCOPED_TRACE(typeid(record).name());
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
  });

  // A nested record that cannot be written does not fail its owner.
  ZAMXMLOrderInfo order;
  order.m_Comment = u"written";
  ZAMLog log;
  EXPECT_EQ(order.WriteToXML(xml, parent, &log), 1);
  EXPECT_EQ(log.GetLogCount(), 1);
  order.m_Comment = u"";
  EXPECT_EQ(order.ReadFromXML(xml, parent, &log), 1);
  EXPECT_EQ(order.m_Comment, u"written");
}

/// Records read from one document and written into another: whatever is not there is reported by a
/// result or a log entry.
TEST(Memory, RecordsReportLosses) {
  std::string whole;
  test::ForEachShortage([&whole](test::Shortage& shortage) {
    ZAMXml source;
    ZAMXml target;
    test::Load(source, test::DocumentBytes({{"PatientInfo/ID", "", "P1", "2"},
                                            {"PatientInfo/Name", "", "A^^^^^", "B^^^^^", "NAME"}}));
    test::Load(target, "<R><Patient/><List/></R>");
    IXMLDOMNodePtr from[] = {source.GetNode(u"KESTRANE_ZAM/PatientInfo"),
                             source.GetNode(u"KESTRANE_ZAM/Modifications")};
    IXMLDOMNodePtr to[] = {target.GetNode(u"R/Patient"), target.GetNode(u"R/List")};
    ZAMXMLPatientInfo patient;
    ZAMXMLModificationGroup list;
    ZAMLog log;
    const int results = shortage.During([&] {
      return patient.ReadFromXML(source, from[0], &log) + list.ReadFromXML(source, from[1], &log) +
             patient.WriteToXML(target, to[0], &log) + list.WriteToXML(target, to[1], &log);
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
