#include <gtest/gtest.h>

#include <string>

#include "support/record.h"

namespace {

using test::ReadFrom;
using test::Written;

TEST(ChangeItem, ValueTypeWordsCountInAnyCase) {
  const struct {
    const char* m_Word;
    ZAMXML_VTYPE m_Type;
  } rows[] = {
      {"name", ZAMXML_VTYPE_NAME},           {"Name", ZAMXML_VTYPE_NAME},
      {"NAME", ZAMXML_VTYPE_NAME},           {"NAMES", ZAMXML_VTYPE_STRING},
      {"statement", ZAMXML_VTYPE_STATEMENT}, {"String", ZAMXML_VTYPE_STRING},
      {"NONE", ZAMXML_VTYPE_STRING},         {"", ZAMXML_VTYPE_STRING},
  };
  ZAMXMLChangeItem item;
  for (const auto& row : rows) {
    ReadFrom(std::string("<ValueType>") + row.m_Word + "</ValueType>", item);
    EXPECT_EQ(item.m_ValueType, row.m_Type) << row.m_Word;
  }
  item.Clear();
  ReadFrom("<Code>k</Code>", item);
  EXPECT_EQ(item.m_ValueType, ZAMXML_VTYPE_STRING);
  EXPECT_EQ(item.m_Code, u"k");
}

TEST(ChangeItem, EveryTypeIsStoredUnderItsWordAndNoOtherIs) {
  const std::string place = "<Node>A/B</Node><Attribute>c</Attribute>";
  ZAMXMLChangeItem item;
  item.m_Code = u"not stored";
  item.m_Node = u"A/B";
  item.m_Attribute = u"c";
  EXPECT_EQ(Written(item, "", 0), "<Other/>" + place);
  const char* words[] = {"STRING", "NAME", "STATEMENT"};
  for (int type = 0; type < 3; ++type) {
    item.m_OldValue = u"gone";
    item.SetValue(static_cast<ZAMXML_VTYPE>(type), u"new");
    const std::string values = std::string("<ValueType>") + words[type] + "</ValueType>" +
                               "<OldValue/><NewValue>new</NewValue>";
    EXPECT_EQ(Written(item), "<Other/>" + place + values);
    EXPECT_EQ(Written(item, place + values), place + values + "<Other/>");
  }
  item.SetValue(static_cast<ZAMXML_VTYPE>(3), u"new");
  EXPECT_EQ(Written(item, "", 0), "<Other/>" + place);

  const ZAMXMLChangeItem copy(item);
  item.Clear();
  EXPECT_EQ(item.m_Code + item.m_Node + item.m_Attribute + item.m_NewValue, u"");
  EXPECT_EQ(item.m_ValueType, ZAMXML_VTYPE_NONE);
  item = copy;
  EXPECT_EQ(item.m_Code + item.m_NewValue, u"not storednew");
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
  EXPECT_EQ(Written(list, "<Stale/>" + content), content);

  const ZAMXMLModification& first = *list.GetModification(0);
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
  EXPECT_EQ(Written(list, content), "");
}

/// A host's own kind of modification, which looks at the list when it is deleted.
class Watching : public ZAMXMLModification {
public:
  explicit Watching(ZAMXMLModificationGroup& list) : m_List(list) {}
  ~Watching() override {
    for (int i = 0; i < m_List.GetCount(); ++i) {
      EXPECT_NE(m_List.GetModification(i), this);
    }
    m_Left += std::to_string(m_List.GetCount()) + ' ';
  }

  static inline std::string m_Left;

private:
  ZAMXMLModificationGroup& m_List;
};

TEST(ModificationGroup, ClearDeletesEntryByEntry) {
  ZAMXMLModificationGroup list;
  for (int i = 0; i < 4; ++i) {
    list.m_ModificationList.Add(new Watching(list));
  }
  list.Clear();
  EXPECT_EQ(Watching::m_Left, "3 2 1 0 ");
}

TEST(ModificationGroup, AModificationWithoutChangesIsLeftOutAndNamed) {
  ZAMXMLModificationGroup list;
  ZAMLog log;
  ReadFrom(
      Modification("1", "<Changes/>") + Modification("2", "") + Modification("3", "<Changes/>"),
      list, &log);
  ASSERT_EQ(list.GetCount(), 2);
  EXPECT_EQ(list.GetModification(0)->m_UID + list.GetModification(1)->m_UID, u"13");
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
  EXPECT_EQ(Written(modification, "<Changes>" + Item("A") + "<Odd/></Changes>"),
            "<Changes><Item><Node/><Attribute/></Item><Item><Node/><Attribute/>"
            "<ValueType>STRING</ValueType><OldValue/><NewValue>n</NewValue></Item></Changes>"
            "<Other/><UID/><Date/><Time/><UserID/><UserName/>");
  modification.Clear();
  EXPECT_EQ(modification.GetCount(), 0);
  EXPECT_FALSE(!modification.m_UID);
}

}  // namespace
