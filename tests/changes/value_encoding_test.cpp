#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "support/tree.h"

namespace {

const std::string Long(10000, 'x');

_bstr_t Utf8(const std::string& text) { return _bstr_t::FromUtf8(text); }

using NameParts = std::array<std::string, 6>;

ZAMXMLName MakeName(const NameParts& parts) {
  ZAMXMLName name;
  name.m_Full = Utf8(parts[0]);
  name.m_Family = Utf8(parts[1]);
  name.m_Given = Utf8(parts[2]);
  name.m_Middle = Utf8(parts[3]);
  name.m_Prefix = Utf8(parts[4]);
  name.m_Suffix = Utf8(parts[5]);
  return name;
}

NameParts PartsOf(const ZAMXMLName& name) {
  return {name.m_Full.utf8(),   name.m_Family.utf8(), name.m_Given.utf8(),
          name.m_Middle.utf8(), name.m_Prefix.utf8(), name.m_Suffix.utf8()};
}

struct NameCase {
  NameParts m_Parts;
  std::string m_Folded;
  NameParts m_Unfolded;
};

TEST(ValueEncoding, NameFoldsAndUnfolds) {
  const NameCase rows[] = {
      {{"A B", "A", "B"}, "A B^A^B^^^", {"A B", "A", "B"}},
      {{}, "^^^^^", {}},
      {{"", "", "", "", "", "F"}, "^^^^^F", {"", "", "", "", "", "F"}},
      {{"\xE5\xB1\xB1", " ", "\n"}, "\xE5\xB1\xB1^ ^\n^^^", {"\xE5\xB1\xB1", " ", "\n"}},
      // A part that holds the separator moves those behind it; the last ones fall off.
      {{"A^B", "C", "D", "E", "F", "G"}, "A^B^C^D^E^F^G", {"A", "B", "C", "D", "E", "F"}},
      {{Long, Long, "", "", "", Long},
       Long + "^" + Long + "^^^^" + Long,
       {Long, Long, "", "", "", Long}},
  };
  for (const NameCase& row : rows) {
    _bstr_t folded;
    ZAMXMLChangeItem::EncodeXMLName(MakeName(row.m_Parts), folded);
    EXPECT_EQ(folded.utf8(), row.m_Folded);
    ZAMXMLName name = MakeName({"stale", "stale", "stale", "stale", "stale", "stale"});
    ZAMXMLChangeItem::DecodeXMLName(folded, name);
    EXPECT_EQ(PartsOf(name), row.m_Unfolded);
  }
}

TEST(ValueEncoding, NameUnfoldsFromAnyText) {
  const struct {
    _bstr_t m_Folded;
    NameParts m_Unfolded;
  } rows[] = {
      {u"A^B", {"A", "B"}}, {u"^B", {"", "B"}}, {u"A", {"A"}},    {u"", {}},
      {nullptr, {}},        {u"^", {}},         {u"^^^^^^^", {}},
  };
  for (const auto& row : rows) {
    ZAMXMLName name = MakeName({"stale", "stale", "stale", "stale", "stale", "stale"});
    ZAMXMLChangeItem::DecodeXMLName(row.m_Folded, name);
    EXPECT_EQ(PartsOf(name), row.m_Unfolded) << row.m_Folded.utf8();
    EXPECT_FALSE(!name.m_Suffix);
  }
  ZAMXMLName name;
  name.m_Full = u"A^B";
  ZAMXMLChangeItem::DecodeXMLName(name.m_Full, name);
  EXPECT_EQ(PartsOf(name), (NameParts{"A", "B"})) << "the text is one of the name's own";
}

TEST(ValueEncoding, StatementFoldsAndUnfolds) {
  const struct {
    std::vector<std::string> m_Entries;
    std::string m_Folded;
    std::vector<std::string> m_Unfolded;
  } rows[] = {
      {{"a", "b", "c"}, "a^b^c", {"a", "b", "c"}},
      {{}, "", {}},
      {{"a", "", "b"}, "a^^b", {"a", "b"}},
      {{"", "a", "", "b", ""}, "^a^^b^", {"a", "b"}},
      {{"", ""}, "^", {}},
      {{"a^b"}, "a^b", {"a", "b"}},
      {{Long, "b"}, Long + "^b", {Long, "b"}},
  };
  for (const auto& row : rows) {
    ZAMXMLStatement list;
    for (const std::string& entry : row.m_Entries) {
      list.AddStatement(entry.empty() ? _bstr_t() : Utf8(entry));
    }
    _bstr_t folded;
    ZAMXMLChangeItem::EncodeXMLStatement(list, folded);
    EXPECT_EQ(folded.utf8(), row.m_Folded);
    EXPECT_FALSE(!folded);

    ZAMXMLChangeItem::DecodeXMLStatement(folded, list);
    std::vector<std::string> entries;
    for (int index = 0; index < list.GetCount(); ++index) {
      _bstr_t entry;
      list.GetStatement(index, entry);
      entries.push_back(entry.utf8());
    }
    EXPECT_EQ(entries, row.m_Unfolded);
  }
}

}  // namespace
