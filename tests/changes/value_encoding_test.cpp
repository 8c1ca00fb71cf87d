#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "support/tree.h"

namespace {

using Strings = std::vector<std::string>;

const std::string Long(10000, 'x');

constexpr std::array Parts = {&ZAMXMLName::m_Full,   &ZAMXMLName::m_Family, &ZAMXMLName::m_Given,
                              &ZAMXMLName::m_Middle, &ZAMXMLName::m_Prefix, &ZAMXMLName::m_Suffix};

/// The parts of the name up to the last that holds a text.
Strings Unfolded(const _bstr_t& folded) {
  ZAMXMLName name;
  for (const auto part : Parts) {
    name.*part = u"stale";
  }
  ZAMXMLChangeItem::DecodeXMLName(folded, name);
  Strings parts;
  for (const auto part : Parts) {
    parts.push_back((name.*part).utf8());
    EXPECT_FALSE(!(name.*part));
  }
  while (!parts.empty() && parts.back().empty()) {
    parts.pop_back();
  }
  return parts;
}

struct Row {
  Strings m_Texts;
  std::string m_Folded;
  Strings m_Unfolded;
};

_bstr_t Text(const std::string& text) { return text.empty() ? _bstr_t() : _bstr_t::FromUtf8(text); }

TEST(ValueEncoding, Name) {
  const Row rows[] = {
      {{"A B", "A", "B"}, "A B^A^B^^^", {"A B", "A", "B"}},
      {{}, "^^^^^", {}},
      {{"\xE5\xB1\xB1", " ", "\n"}, "\xE5\xB1\xB1^ ^\n^^^", {"\xE5\xB1\xB1", " ", "\n"}},
      // A part that holds the separator moves those behind it; the last ones fall off.
      {{"A^B", "C", "D", "E", "F", "G"}, "A^B^C^D^E^F^G", {"A", "B", "C", "D", "E", "F"}},
      {{Long, Long}, Long + "^" + Long + "^^^^", {Long, Long}},
  };
  for (const Row& row : rows) {
    ZAMXMLName name;
    for (std::size_t i = 0; i < row.m_Texts.size(); ++i) {
      name.*Parts[i] = Text(row.m_Texts[i]);
    }
    _bstr_t folded;
    ZAMXMLChangeItem::EncodeXMLName(name, folded);
    EXPECT_EQ(folded.utf8(), row.m_Folded);
    EXPECT_EQ(Unfolded(folded), row.m_Unfolded);
  }
  for (const char16_t* text : {u"", static_cast<const char16_t*>(nullptr), u"^", u"^^^^^^^"}) {
    EXPECT_EQ(Unfolded(text), Strings{});
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
      list.AddStatement(Text(text));
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
