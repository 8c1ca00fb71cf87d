#include <gtest/gtest.h>

#include <string>

#include "support/tree.h"

namespace {

template <class Record>
std::string Written(Record& record, int expectedResult, const std::string& before = "") {
  ZAMXml xml;
  test::Load(xml, "<R>" + before + "</R>");
  IXMLDOMNodePtr root = xml.GetNode(u"R");
  ZAMLog log;
  EXPECT_EQ(record.WriteToXML(xml, root, &log), expectedResult);
  EXPECT_EQ(log.GetLogCount(), 0);
  return test::Content(xml);
}

template <class Record>
void ReadFrom(const std::string& content, Record& record, ZAMLog* log = nullptr) {
  ZAMXml xml;
  test::Load(xml, "<R>" + content + "</R>");
  IXMLDOMNodePtr root = xml.GetNode(u"R");
  EXPECT_EQ(record.ReadFromXML(xml, root, log), 1);
}

TEST(ChangeItem, ValueTypeWordsCountInAnyCase) {
  const struct {
    const char* m_Word;
    ZAMXML_VTYPE m_Type;
  } rows[] = {
      {"<ValueType>name</ValueType>", ZAMXML_VTYPE_NAME},
      {"<ValueType>Name</ValueType>", ZAMXML_VTYPE_NAME},
      {"<ValueType>NAME</ValueType>", ZAMXML_VTYPE_NAME},
      {"<ValueType>NAMES</ValueType>", ZAMXML_VTYPE_STRING},
      {"<ValueType>statement</ValueType>", ZAMXML_VTYPE_STATEMENT},
      {"<ValueType>String</ValueType>", ZAMXML_VTYPE_STRING},
      {"<ValueType>NONE</ValueType>", ZAMXML_VTYPE_STRING},
      {"<ValueType/>", ZAMXML_VTYPE_STRING},
      {"", ZAMXML_VTYPE_STRING},
  };
  for (const auto& row : rows) {
    ZAMXMLChangeItem item;
    ReadFrom(row.m_Word, item);
    EXPECT_EQ(item.m_ValueType, row.m_Type) << row.m_Word;
  }
}

TEST(ChangeItem, EveryTypeIsStoredUnderItsWordAndNoneIsNot) {
  ZAMXMLChangeItem item;
  item.m_Code = u"not stored";
  item.m_Node = u"A/B";
  item.m_Attribute = u"c";
  EXPECT_EQ(Written(item, 0), "<R><Node>A/B</Node><Attribute>c</Attribute></R>");
  const struct {
    int m_Type;
    const char* m_Word;
  } rows[] = {{0, "STRING"}, {1, "NAME"}, {2, "STATEMENT"}};
  for (const auto& row : rows) {
    item.m_OldValue = u"gone";
    item.SetValue(static_cast<ZAMXML_VTYPE>(row.m_Type), u"new");
    EXPECT_EQ(Written(item, 1), std::string("<R><Node>A/B</Node><Attribute>c</Attribute>") +
                                    "<ValueType>" + row.m_Word + "</ValueType><OldValue/>" +
                                    "<NewValue>new</NewValue></R>");
  }
  EXPECT_EQ(Written(item, 1, "<Code>x</Code><OldValue>y</OldValue>"),
            "<R><Code>x</Code><OldValue/><Node>A/B</Node><Attribute>c</Attribute>"
            "<ValueType>STATEMENT</ValueType><NewValue>new</NewValue></R>");
  item.SetValue(static_cast<ZAMXML_VTYPE>(3), u"new");
  EXPECT_EQ(Written(item, 0), "<R><Node>A/B</Node><Attribute>c</Attribute></R>");

  const ZAMXMLChangeItem copy(item);
  item.Clear();
  EXPECT_EQ(item.m_Code + item.m_Node + item.m_NewValue, u"");
  EXPECT_EQ(item.m_ValueType, ZAMXML_VTYPE_NONE);
  item = copy;
  EXPECT_EQ(item.m_Code, u"not stored");
  ReadFrom("<Code>k</Code>", item);
  EXPECT_EQ(item.m_Code + item.m_Node + item.m_NewValue, u"k");
}

TEST(ChangeItem, WholeRecordsAreFolded) {
  ZAMXMLName name;
  name.m_Family = u"F";
  ZAMXMLStatement list;
  list.AddStatement(u"a");
  list.AddStatement(u"b");
  ZAMXMLChangeItem item;
  item.SetValueNaem(name);
  EXPECT_EQ(item.m_ValueType, ZAMXML_VTYPE_NAME);
  EXPECT_EQ(item.m_NewValue, u"^F^^^^");
  item.SetValueStatement(list);
  EXPECT_EQ(item.m_ValueType, ZAMXML_VTYPE_STATEMENT);
  EXPECT_EQ(item.m_NewValue, u"a^b");
}

std::string Modification(const std::string& uid, const std::string& changes) {
  return "<Modification><UID>" + uid + "</UID><Date>2009-03-05</Date><Time>14:07:09</Time>" +
         "<UserID>id</UserID><UserName>name</UserName>" + changes + "</Modification>";
}

std::string Item(const std::string& node) {
  return "<Item><Node>" + node + "</Node><Attribute/><ValueType>STRING</ValueType>" +
         "<OldValue>o</OldValue><NewValue>n</NewValue></Item>";
}

TEST(ModificationGroup, WhatIsReadIsWrittenBackInOrder) {
  const std::string content =
      Modification("1", "<Changes>" + Item("A") + Item("B") + "</Changes>") +
      Modification("2", "<Changes/>");
  ZAMXMLModificationGroup list;
  ReadFrom(content, list);
  ASSERT_EQ(list.GetCount(), 2);
  EXPECT_EQ(Written(list, 1, "<Other>gone</Other>" + content), "<R>" + content + "</R>");

  ZAMXMLModification& first = *list.GetModification(0);
  ASSERT_EQ(first.GetCount(), 2);
  EXPECT_EQ(first.m_UserName, u"name");
  EXPECT_EQ(first.GetChange(1)->m_Node, u"B");
  EXPECT_EQ(first.GetChange(-1), nullptr);
  EXPECT_EQ(first.GetChange(2), nullptr);
  EXPECT_THROW(list.GetModification(-1), CInvalidArgException);
  EXPECT_THROW(list.GetModification(2), CInvalidArgException);

  ReadFrom(content, list);
  EXPECT_EQ(list.GetCount(), 4);
  list.Clear();
  EXPECT_EQ(Written(list, 1, content), "<R/>");
}

TEST(ModificationGroup, AModificationWithoutChangesIsLeftOutAndNamed) {
  ZAMXMLModificationGroup list;
  ZAMLog log;
  ReadFrom(
      Modification("1", "<Changes/>") + Modification("2", "") + Modification("3", "<Changes/>"),
      list, &log);
  ASSERT_EQ(list.GetCount(), 2);
  EXPECT_EQ(list.GetModification(0)->m_UID, u"1");
  EXPECT_EQ(list.GetModification(1)->m_UID, u"3");
  ASSERT_EQ(log.GetLogCount(), 1);
  EXPECT_EQ(log.GetLog(0).m_Code, E_POINTER);
  EXPECT_EQ(log.GetLog(0).m_Detail, u"R/Modification[1]");
}

TEST(Modification, WritingReplacesTheChangesOnlyAndKeepsAnItemThatCannotBeWritten) {
  ZAMXMLModification modification;
  EXPECT_TRUE(!modification.m_UID);
  modification.m_Changes.Add(new ZAMXMLChangeItem);
  modification.m_Changes.Add(new ZAMXMLChangeItem);
  modification.GetChange(1)->SetValue(ZAMXML_VTYPE_STRING, u"n");
  EXPECT_EQ(Written(modification, 1, "<Other/><Changes>" + Item("A") + "<Odd/></Changes>"),
            "<R><Other/><Changes><Item><Node/><Attribute/></Item><Item><Node/><Attribute/>"
            "<ValueType>STRING</ValueType><OldValue/><NewValue>n</NewValue></Item></Changes>"
            "<UID/><Date/><Time/><UserID/><UserName/></R>");
  modification.Clear();
  EXPECT_EQ(modification.GetCount(), 0);
  EXPECT_FALSE(!modification.m_UID);
}

}  // namespace
