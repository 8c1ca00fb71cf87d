#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "support/record.h"

namespace {

using test::ReadFrom;
using test::Written;

TEST(ChangeItem, TypeIsReadInAnyCase) {
  const std::pair<const char*, ZAMXML_VTYPE> rows[] = {
      {"name", ZAMXML_VTYPE_NAME},           {"Name", ZAMXML_VTYPE_NAME},
      {"NAMES", ZAMXML_VTYPE_STRING},        {"NONE", ZAMXML_VTYPE_STRING},
      {"statement", ZAMXML_VTYPE_STATEMENT}, {"", ZAMXML_VTYPE_STRING},
  };
  ZAMXMLChangeItem item;
  EXPECT_EQ(item.m_ValueType, ZAMXML_VTYPE_NONE);
  for (const auto& [word, type] : rows) {
    ReadFrom(std::string("<ValueType>") + word + "</ValueType><Code>k</Code>", item);
    EXPECT_EQ(item.m_ValueType, type) << word;
    EXPECT_EQ(item.m_Code, u"k");
  }
}

TEST(ChangeItem, TypeIsWrittenAsWord) {
  ZAMXMLChangeItem item;
  item.m_Code = u"not stored";
  item.m_Node = u"A/B";
  item.m_Attribute = u"c";
  const char* const words[] = {"", "STRING", "NAME", "STATEMENT", ""};
  for (int type = -1; type <= 3; ++type) {
    const std::string word = words[type + 1];
    item.m_OldValue = u"gone";
    item.SetValue(static_cast<ZAMXML_VTYPE>(type), u"new");
    std::string content = "<Node>A/B</Node><Attribute>c</Attribute>";
    if (!word.empty()) {
      content += "<ValueType>" + word + "</ValueType><OldValue/><NewValue>new</NewValue>";
    }
    EXPECT_EQ(Written(item, "", word.empty() ? 0 : 1), "<Other/>" + content);
    EXPECT_EQ(Written(item, content, word.empty() ? 0 : 1), content + "<Other/>");
  }
  const ZAMXMLChangeItem copy(item);
  item.Clear();
  EXPECT_EQ(item.m_Code + item.m_Node + item.m_Attribute + item.m_NewValue, u"");
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

TEST(ModificationGroup, ComesBackInOrder) {
  const std::string content =
      Modification("1", "<Changes>" + Item("A") + Item("B") + "</Changes>") +
      Modification("2", "<Changes/>");
  ZAMXMLModificationGroup list;
  ReadFrom(content, list);
  EXPECT_EQ(Written(list, "<Stale/>" + content), content);
  const ZAMXMLModification& first = *list.GetModification(0);
  EXPECT_EQ(first.m_UserName + first.GetChange(1)->m_Node, u"nameB");
  EXPECT_TRUE(first.GetChange(-1) == nullptr && first.GetChange(2) == nullptr);
  EXPECT_THROW(list.GetModification(-1), CInvalidArgException);
  EXPECT_THROW(list.GetModification(2), CInvalidArgException);
  ReadFrom(content, list);
  EXPECT_EQ(Written(list), content + content) << "reading adds";
  list.Clear();
  EXPECT_EQ(Written(list, content), "");
}

/// A host's own kind of modification, which looks at the list when it is deleted.
struct Watching : public ZAMXMLModification {
  explicit Watching(ZAMXMLModificationGroup& list) : m_List(list) {}
  ~Watching() override {
    const auto& left = m_List.m_ModificationList;
    EXPECT_EQ(std::find(left.begin(), left.end(), this), left.end());
    m_Left += std::to_string(m_List.GetCount()) + ' ';
  }

  static inline std::string m_Left;
  ZAMXMLModificationGroup& m_List;
};

TEST(ModificationGroup, ClearDeletesOneByOne) {
  ZAMXMLModificationGroup list;
  for (int i = 0; i < 4; ++i) {
    list.m_ModificationList.Add(new Watching(list));
  }
  list.Clear();
  EXPECT_EQ(Watching::m_Left, "3 2 1 0 ");
}

TEST(ModificationGroup, ModificationWithoutChangesIsLeftOut) {
  ZAMXMLModificationGroup list;
  ZAMLog log;
  const std::string first = Modification("1", "<Changes/>");
  const std::string third = Modification("3", "<Changes/>");
  ReadFrom(first + Modification("2", "") + third, list, &log);
  EXPECT_EQ(Written(list), first + third);
  ASSERT_EQ(log.GetLogCount(), 1);
  EXPECT_EQ(log.GetLog(0).m_Code, E_POINTER);
  EXPECT_EQ(log.GetLog(0).m_Detail, u"R/Modification[1]");
}

TEST(Modification, WriteReplacesChanges) {
  ZAMXMLModification modification;
  EXPECT_TRUE(!modification.m_UID);
  modification.m_Changes.Add(new ZAMXMLChangeItem);  // cannot be written: it stays incomplete
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

using Strings = std::vector<std::string>;

const std::string Long(10000, 'x');

struct Row {
  Strings m_Texts;
  std::string m_Folded;
  Strings m_Unfolded;
};

std::vector<_bstr_t*> PartsOf(ZAMXMLName& name) {
  return {&name.m_Full,   &name.m_Family, &name.m_Given,
          &name.m_Middle, &name.m_Prefix, &name.m_Suffix};
}

TEST(ValueEncoding, Name) {
  const Row rows[] = {
      {{"A B", "A", "B"}, "A B^A^B^^^", {"A B", "A", "B", "", "", ""}},
      {{"\xE5\xB1\xB1", " ", "\n", Long, "", "e"},
       "\xE5\xB1\xB1^ ^\n^" + Long + "^^e",
       {"\xE5\xB1\xB1", " ", "\n", Long, "", "e"}},
      // A part that holds the separator moves those behind it; the last ones fall off.
      {{"A^B", "C", "D", "E", "F", "G"}, "A^B^C^D^E^F^G", {"A", "B", "C", "D", "E", "F"}},
      {{"", "", "", "", "", ""}, "^^^^^", {"", "", "", "", "", ""}},
      // Not folded from any name.
      {{}, "^B", {"", "B", "", "", "", ""}},
      {{}, "", {"", "", "", "", "", ""}},
      {{}, "^^^^^^^", {"", "", "", "", "", ""}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.m_Folded.substr(0, 20));
    ZAMXMLName name;
    _bstr_t folded = _bstr_t::FromUtf8(row.m_Folded);
    for (std::size_t i = 0; i < row.m_Texts.size(); ++i) {
      *PartsOf(name)[i] = _bstr_t::FromUtf8(row.m_Texts[i]);
    }
    if (!row.m_Texts.empty()) {
      ZAMXMLChangeItem::EncodeXMLName(name, folded);
      EXPECT_EQ(folded.utf8(), row.m_Folded);
    }
    name.m_Suffix = u"stale";
    ZAMXMLChangeItem::DecodeXMLName(folded, name);
    Strings parts;
    for (const _bstr_t* part : PartsOf(name)) {
      parts.push_back(!*part ? "null" : part->utf8());
    }
    EXPECT_EQ(parts, row.m_Unfolded);
  }
  ZAMXMLName name;
  name.m_Full = u"A^B";
  ZAMXMLChangeItem::DecodeXMLName(name.m_Full, name);
  EXPECT_EQ(name.m_Full + u"/" + name.m_Family, u"A/B") << "the text is one of the name's own";
}

TEST(ValueEncoding, Statements) {
  const Row rows[] = {
      {{"a", "b", "c"}, "a^b^c", {"a", "b", "c"}},    {{}, "", {}},
      {{"", "a", "", "b", ""}, "^a^^b^", {"a", "b"}}, {{"a^b"}, "a^b", {"a", "b"}},
      {{Long, "b"}, Long + "^b", {Long, "b"}},
  };
  for (const Row& row : rows) {
    ZAMXMLStatement list;
    for (const std::string& text : row.m_Texts) {
      list.AddStatement(text.empty() ? _bstr_t() : _bstr_t::FromUtf8(text));
    }
    _bstr_t folded;
    ZAMXMLChangeItem::EncodeXMLStatement(list, folded);
    EXPECT_EQ(folded.utf8(), row.m_Folded);
    EXPECT_FALSE(!folded);

    ZAMXMLChangeItem::DecodeXMLStatement(folded, list);
    Strings texts;
    for (_bstr_t text; list.GetStatement(static_cast<int>(texts.size()), text) != 0;) {
      texts.push_back(text.utf8());
    }
    EXPECT_EQ(texts, row.m_Unfolded);
  }
}

}  // namespace
