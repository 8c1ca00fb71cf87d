#include <gtest/gtest.h>

#include "support/tree.h"

namespace {

constexpr ZAM_NAME_STYLE FamilyFirst = ZAM_NAME_STYLE_FAMILY_FIRST;
constexpr ZAM_NAME_STYLE GivenFirst = ZAM_NAME_STYLE_GIVEN_FIRST;
constexpr ZAM_NAME_STYLE OtherStyle = static_cast<ZAM_NAME_STYLE>(2);

struct NameCase {
  const char16_t* m_Full;
  const char16_t* m_Family;
  const char16_t* m_Given;
  const char16_t* m_Middle;
  const char16_t* m_Prefix;
  const char16_t* m_Suffix;
  ZAM_NAME_STYLE m_Style;
  int m_PreferFull;
  const char16_t* m_Expected;
};

constexpr NameCase NameCases[] = {
    {u"J. Smith", u"Smith", u"John", u"", u"", u"", GivenFirst, 0, u"John Smith"},
    {u"J. Smith", u"Smith", u"John", u"", u"", u"", GivenFirst, 1, u"J. Smith"},
    {u"J. Smith", u"Smith", u"John", u"", u"", u"", FamilyFirst, 0, u"Smith John"},
    {u"", u"Lee", u"Ann", u"B", u"Dr.", u"Jr.", FamilyFirst, 0, u"Dr. Lee B Ann Jr."},
    {u"", u"Lee", u"Ann", u"B", u"Dr.", u"Jr.", GivenFirst, 1, u"Dr. Ann B Lee Jr."},
    {u"J. Smith", u"", nullptr, u"", u"", u"", FamilyFirst, 0, u"J. Smith"},
    {u"J. Smith", u"", u"", u"", u"", nullptr, GivenFirst, 1, u"J. Smith"},
    {u"J. Smith", u"Smith", u"John", u"", u"", u"", OtherStyle, 0, u"J. Smith"},
    {nullptr, u"Smith", u"John", u"", u"", u"", OtherStyle, 0, nullptr},
    {nullptr, u"Smith", u"", u"", u"", u"", OtherStyle, 1, nullptr},
    {u"", u"Lee", u" ", u"", u"", u"", GivenFirst, 0, u"  Lee"},
    {u"", u"van der  Lee", u"", u"", u"", u"Jr.", FamilyFirst, 0, u"van der  Lee Jr."},
    {u"", u"", u"", u"", u"", u"", FamilyFirst, 1, nullptr},
    {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, OtherStyle, 1, nullptr},
};

TEST(Name, FullNameJoinsTheParts) {
  for (const NameCase& row : NameCases) {
    ZAMXMLName name;
    name.m_Full = row.m_Full;
    name.m_Family = row.m_Family;
    name.m_Given = row.m_Given;
    name.m_Middle = row.m_Middle;
    name.m_Prefix = row.m_Prefix;
    name.m_Suffix = row.m_Suffix;
    const _bstr_t joined = name.GetFullName(row.m_Style, row.m_PreferFull);
    EXPECT_EQ(joined, _bstr_t(row.m_Expected)) << "row " << &row - NameCases;
    EXPECT_EQ(!joined, row.m_Expected == nullptr) << "row " << &row - NameCases;
  }
}

TEST(Name, AnyOneTextMakesItNotEmpty) {
  EXPECT_EQ(ZAMXMLName().IsEmpty(), 1);
  for (const auto part : {&ZAMXMLName::m_Full, &ZAMXMLName::m_Family, &ZAMXMLName::m_Given,
                          &ZAMXMLName::m_Middle, &ZAMXMLName::m_Prefix, &ZAMXMLName::m_Suffix}) {
    ZAMXMLName name;
    name.*part = u" ";
    EXPECT_EQ(name.IsEmpty(), 0);
    name.Clear();
    EXPECT_EQ(name.IsEmpty(), 1);
    EXPECT_FALSE(!(name.*part));
  }
}

}  // namespace
