#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "support/tree.h"

namespace {

struct Change {
  const char16_t* m_Node;
  const char16_t* m_Attribute;
  ZAMXML_VTYPE m_Type;
  const char16_t* m_Old;
  const char16_t* m_New;
};

void Add(ZAMXMLModificationGroup& list, std::initializer_list<Change> changes) {
  auto* modification = new ZAMXMLModification;
  list.m_ModificationList.Add(modification);
  for (const Change& change : changes) {
    auto* item = new ZAMXMLChangeItem;
    modification->m_Changes.Add(item);
    item->m_Node = change.m_Node;
    item->m_Attribute = change.m_Attribute;
    item->SetValue(change.m_Type, change.m_New);
    item->m_OldValue = change.m_Old;
  }
}

constexpr ZAMXML_VTYPE String = ZAMXML_VTYPE_STRING;
constexpr ZAMXML_VTYPE Name = ZAMXML_VTYPE_NAME;
constexpr ZAMXML_VTYPE Statement = ZAMXML_VTYPE_STATEMENT;

/// Changes that would overwrite values of others if the order were wrong.
void FillHistory(ZAMXMLModificationGroup& list) {
  Add(list, {{u"P/ID", u"", String, u"0", u"wrong"},
             {u"P/ID", u"", String, u"0", u"1"},
             {u"P/ID", u"k", String, u"a", u"b"},
             {u"P/N", u"not looked at", Name, u"A^B^^^^", u"C^^D^^^"}});
  Add(list, {{u"P/ID", u"", String, u"1", u"2"},
             {u"P/N", u"", Name, u"C^^D^^^", u""},
             {u"P/S", u"not looked at", Statement, u"x", u"y^^z"},
             {u"P", u"", ZAMXML_VTYPE_NONE, u"none", u"none"}});
}

const std::string States[] = {
    "<R><P t=\"1\"><ID k=\"a\">0</ID><N><Full>A</Full><Family>B</Family><Given/><Middle/><Prefix/>"
    "<Suffix/><X/></N><S><Statement>x</Statement></S></P></R>",
    "<R><P t=\"1\"><ID k=\"b\">1</ID><N><Full>C</Full><Family/><Given>D</Given><Middle/><Prefix/>"
    "<Suffix/><X/></N><S><Statement>x</Statement></S></P></R>",
    "<R><P t=\"1\"><ID k=\"b\">2</ID><N><Full/><Family/><Given/><Middle/><Prefix/><Suffix/><X/></N>"
    "<S><Statement>y</Statement><Statement>z</Statement></S></P></R>",
};

const std::string& StateAt(int position) { return States[position + 1]; }

TEST(History, AnyPositionFromAnyOther) {
  ZAMXMLModificationGroup list;
  FillHistory(list);
  for (int from = -1; from <= 1; ++from) {
    for (int to = -1; to <= 1; ++to) {
      ZAMXml xml;
      test::Load(xml, StateAt(from));
      EXPECT_EQ(list.ApplyModifications(xml, u"R", from, to), from == to ? 0 : 1);
      EXPECT_EQ(test::Content(xml), StateAt(to)) << "from " << from << " to " << to;
    }
  }
}

TEST(History, RefusedMoveChangesNothing) {
  ZAMXMLModificationGroup list;
  ZAMXml xml;
  test::Load(xml, StateAt(1));
  EXPECT_EQ(list.ApplyModifications(xml, u"R", -1, 0), 0);
  FillHistory(list);
  for (const int outside : {-2, 2, INT_MIN, INT_MAX}) {
    EXPECT_EQ(list.ApplyModifications(xml, u"R", 1, outside), 0) << outside;
    EXPECT_THROW(list.ApplyModifications(xml, u"R", outside, 1), CInvalidArgException) << outside;
  }
  EXPECT_EQ(list.ApplyModifications(xml, u"Other", 1, 0), 0);
  EXPECT_EQ(list.ApplyModifications(xml, u"", 1, 0), 0);
  EXPECT_EQ(test::Content(xml), StateAt(1));
}

TEST(History, MissingElementIsAdded) {
  ZAMXMLModificationGroup list;
  Add(list, {{u"P/New/Text", u"", String, u"", u"t"},
             {u"Flag", u"on", String, u"", u"1"},
             {u"Person", u"", Name, u"", u"A"},
             {u"Untouched", u"", ZAMXML_VTYPE_NONE, u"", u"x"}});
  ZAMXml xml;
  test::Load(xml, "<R><P/></R>");
  EXPECT_EQ(list.ApplyModifications(xml, u"R", -1, 0), 1);
  EXPECT_EQ(test::Content(xml),
            "<R><P><New><Text>t</Text></New></P><Flag on=\"1\"/><Person><Full>A</Full><Family/>"
            "<Given/><Middle/><Prefix/><Suffix/></Person><Untouched/></R>");
}

}  // namespace
