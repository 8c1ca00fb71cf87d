#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "support/tree.h"

namespace {

const std::string Long(10000, 'x');

using NameParts = std::array<std::string, 6>;
constexpr std::array<_bstr_t ZAMXMLName::*, 6> Parts = {
    &ZAMXMLName::m_Full,   &ZAMXMLName::m_Family, &ZAMXMLName::m_Given,
    &ZAMXMLName::m_Middle, &ZAMXMLName::m_Prefix, &ZAMXMLName::m_Suffix};

NameParts Unfolded(const _bstr_t& folded) {
  ZAMXMLName name;
  NameParts parts;
  for (const auto part : Parts) {
    name.*part = u"stale";
  }
  ZAMXMLChangeItem::DecodeXMLName(folded, name);
  for (std::size_t i = 0; i < parts.size(); ++i) {
    parts[i] = (name.*Parts[i]).utf8();
    EXPECT_FALSE(!(name.*Parts[i]));
  }
  return parts;
}

TEST(ValueEncoding, NameFoldsAndUnfolds) {
  const struct {
    NameParts m_Parts;
    std::string m_Folded;
    NameParts m_Unfolded;
  } rows[] = {
      {{"A B", "A", "B"}, "A B^A^B^^^", {"A B", "A", "B"}},
      {{}, "^^^^^", {}},
      {{"\xE5\xB1\xB1", " ", "\n"}, "\xE5\xB1\xB1^ ^\n^^^", {"\xE5\xB1\xB1", " ", "\n"}},
      // A part that holds the separator moves those behind it; the last ones fall off.
      {{"A^B", "C", "D", "E", "F", "G"}, "A^B^C^D^E^F^G", {"A", "B", "C", "D", "E", "F"}},
      {{Long, Long}, Long + "^" + Long + "^^^^", {Long, Long}},
  };
  for (const auto& row : rows) {
    ZAMXMLName name;
    for (std::size_t i = 0; i < Parts.size(); ++i) {
      name.*Parts[i] = row.m_Parts[i].empty() ? _bstr_t() : _bstr_t::FromUtf8(row.m_Parts[i]);
    }
    _bstr_t folded;
    ZAMXMLChangeItem::EncodeXMLName(name, folded);
    EXPECT_EQ(folded.utf8(), row.m_Folded);
    EXPECT_EQ(Unfolded(folded), row.m_Unfolded);
  }
}

TEST(ValueEncoding, NameUnfoldsFromAnyText) {
  EXPECT_EQ(Unfolded(u"^B"), (NameParts{"", "B"}));
  for (const char16_t* text : {u"", static_cast<const char16_t*>(nullptr), u"^", u"^^^^^^^"}) {
    EXPECT_EQ(Unfolded(text), NameParts{});
  }
  ZAMXMLName name;
  name.m_Full = u"A^B";
  ZAMXMLChangeItem::DecodeXMLName(name.m_Full, name);
  EXPECT_EQ(name.m_Full + u"/" + name.m_Family, u"A/B") << "the text is one of the name's own";
}

TEST(ValueEncoding, StatementFoldsAndUnfolds) {
  const struct {
    std::vector<std::string> m_Entries;
    std::string m_Folded;
    std::vector<std::string> m_Unfolded;
  } rows[] = {
      {{"a", "b", "c"}, "a^b^c", {"a", "b", "c"}},    {{}, "", {}},
      {{"", "a", "", "b", ""}, "^a^^b^", {"a", "b"}}, {{"a^b"}, "a^b", {"a", "b"}},
      {{Long, "b"}, Long + "^b", {Long, "b"}},
  };
  for (const auto& row : rows) {
    ZAMXMLStatement list;
    for (const std::string& entry : row.m_Entries) {
      list.AddStatement(entry.empty() ? _bstr_t() : _bstr_t::FromUtf8(entry));
    }
    _bstr_t folded;
    ZAMXMLChangeItem::EncodeXMLStatement(list, folded);
    EXPECT_EQ(folded.utf8(), row.m_Folded);
    EXPECT_FALSE(!folded);

    ZAMXMLChangeItem::DecodeXMLStatement(folded, list);
    std::vector<std::string> entries;
    for (_bstr_t entry; list.GetStatement(static_cast<int>(entries.size()), entry) != 0;) {
      entries.push_back(entry.utf8());
    }
    EXPECT_EQ(entries, row.m_Unfolded);
  }
}

}  // namespace
