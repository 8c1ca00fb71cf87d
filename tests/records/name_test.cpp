#include <gtest/gtest.h>

#include <tuple>

#include "support/tree.h"

namespace {

TEST(Name, FullNameJoinsParts) {
  constexpr ZAM_NAME_STYLE Family = ZAM_NAME_STYLE_FAMILY_FIRST;
  constexpr ZAM_NAME_STYLE Given = ZAM_NAME_STYLE_GIVEN_FIRST;
  constexpr ZAM_NAME_STYLE Other = static_cast<ZAM_NAME_STYLE>(2);
  const struct {
    _bstr_t m_Full, m_Family, m_Given, m_Middle, m_Prefix, m_Suffix;
    ZAM_NAME_STYLE m_Style;
    int m_PreferFull;
    _bstr_t m_Expected;
  } rows[] = {
      {u"J. Smith", u"Smith", u"John", u"", u"", u"", Given, 0, u"John Smith"},
      {u"J. Smith", u"Smith", u"John", u"", u"", u"", Given, 1, u"J. Smith"},
      {u"J. Smith", u"Smith", u"John", u"", u"", u"", Family, 0, u"Smith John"},
      {u"J. Smith", u"Smith", u"John", u"", u"", u"", Other, 0, u"J. Smith"},
      {nullptr, u"Smith", u"John", u"", u"", u"", Other, 1, nullptr},
      {u"", u"Lee", u"Ann", u"B", u"Dr.", u"Jr.", Family, 0, u"Dr. Lee B Ann Jr."},
      {u"", u"Lee", u"Ann", u"B", u"Dr.", u"Jr.", Given, 1, u"Dr. Ann B Lee Jr."},
      {u"J. Smith", u"", nullptr, u"", u"", u"", Family, 0, u"J. Smith"},
      {u"", u"van der  Lee", u" ", u"", u"", u"", Given, 0, u"  van der  Lee"},
      {u"", u"", u"", u"", u"", u"", Family, 1, nullptr},
      {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, Other, 1, nullptr},
  };
  for (const auto& row : rows) {
    ZAMXMLName name;
    std::tie(name.m_Full, name.m_Family, name.m_Given, name.m_Middle, name.m_Prefix,
             name.m_Suffix) =
        std::tie(row.m_Full, row.m_Family, row.m_Given, row.m_Middle, row.m_Prefix, row.m_Suffix);
    const _bstr_t joined = name.GetFullName(row.m_Style, row.m_PreferFull);
    EXPECT_EQ(joined, row.m_Expected) << "row " << &row - rows;
    EXPECT_EQ(!joined, !row.m_Expected) << "row " << &row - rows;
  }
}

}  // namespace
