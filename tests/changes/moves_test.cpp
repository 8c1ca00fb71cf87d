#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "support/document.h"
#include "support/shortage.h"
#include "support/tree.h"

namespace {

constexpr const char* Documents[] = {
    "<R><A><B>1</B><N><Full>a</Full></N><S><Statement>s</Statement></S></A></R>",
    ("<R>\n <A>\n  <B k=\"1\">1<C/></B>\n  <N>\n   <Given/>\n  </N>\n  <S>\n   "
     "<Statement>s</Statement>\n"
     "   <Statement/>\n  </S>\n </A>\n <M/>\n</R>\n"),
    "<R>\n\t<A> <B/>t<B><C>2</C></B><!--n--></A>\n\t<A><N/><S>\n\t</S></A>\n</R>",
    "<R><A><B><!--n--></B><N>t</N><S>u<!--n--> <Statement><X/></Statement></S></A><M>  </M></R>",
    "<R>\n <A><B><![CDATA[ ]]>x<?p?></B><S> <Y/> <Statement>1</Statement> v</S></A>\n</R>",
};

/// Neighbours overlap.
constexpr const char16_t* Nodes[] = {
    u"A/N/Given", u"A/N",           u"A/N/Full", u"A",         u"A/B/C", u"A/B", u"A/S/Statement/X",
    u"A/S",       u"A/S/Statement", u"x y",      u"x_x0020_y", u"M/P",   u"M",   u"M/P/Q",
    u"",
};
constexpr const char16_t* Attributes[] = {u"", u"", u"", u"", u"k", u"x y", u"x_x0020_y"};
constexpr const char16_t* Values[] = {
    u"",  u"a",   u"bc",     u" ",    u"\n ",    u"\r\nz", u"]]>", u"1^2", u"^^q^ ^r^s^t",
    u"^", u"1^2", u"\u0001", nullptr, u"\xD800", u"박",    u"a",   u"1",
};

using Random = std::mt19937;

int Below(Random& random, int bound) {
  return static_cast<int>(random() % static_cast<unsigned int>(bound));
}

template <class Entry, std::size_t Size>
Entry Any(Random& random, const Entry (&entries)[Size]) {
  return entries[random() % Size];
}

ZAMXMLChangeItem AnyPlace(Random& random, std::size_t node) {
  ZAMXMLChangeItem item;
  item.m_Node = Nodes[node % std::size(Nodes)];
  item.m_Attribute = Any(random, Attributes);
  item.m_ValueType = Any(random, {ZAMXML_VTYPE_STRING, ZAMXML_VTYPE_STRING, ZAMXML_VTYPE_NAME,
                                  ZAMXML_VTYPE_STATEMENT, ZAMXML_VTYPE_NONE});
  return item;
}

/// Changes of the places, a few in each modification.
void Fill(ZAMXMLModificationGroup& list, const std::vector<ZAMXMLChangeItem>& places,
          Random& random) {
  for (int count = 1 + Below(random, 9); count > 0; --count) {
    auto* modification = new ZAMXMLModification;
    list.m_ModificationList.Add(modification);
    for (int items = Below(random, 5); items > 0; --items) {
      auto* item = new ZAMXMLChangeItem(places[random() % places.size()]);
      modification->m_Changes.Add(item);
      item->m_OldValue = Any(random, Values);
      item->m_NewValue = Any(random, Values);
    }
  }
}

void WriteStep(ZAMXml& xml, const ZAMXMLChangeItem& item, const _bstr_t& value) {
  const IXMLDOMNodePtr root = xml.GetNode(u"R");
  IXMLDOMNodePtr target = xml.GetChildNode(root, item.m_Node);
  if (!target) {
    target = xml.AddChildNode(root, item.m_Node, nullptr);
  }
  if (item.m_ValueType == ZAMXML_VTYPE_NAME) {
    ZAMXMLName name;
    ZAMXMLChangeItem::DecodeXMLName(value, name);
    name.WriteToXML(xml, target, nullptr);
  } else if (item.m_ValueType == ZAMXML_VTYPE_STATEMENT) {
    ZAMXMLStatement statements;
    ZAMXMLChangeItem::DecodeXMLStatement(value, statements);
    statements.WriteToXML(xml, target, nullptr);
  } else if (item.m_ValueType == ZAMXML_VTYPE_STRING && item.m_Attribute.length() > 0) {
    xml.SetNodeAttribute(target, item.m_Attribute, value);
  } else if (item.m_ValueType == ZAMXML_VTYPE_STRING) {
    xml.SetNodeText(target, value);
  }
  target.Release();
}

void MoveStepByStep(const ZAMXMLModificationGroup& list, ZAMXml& xml, int from, int to) {
  while (from != to) {
    const bool redo = from < to;
    const ZAMXMLModification& modification = *list.GetModification(redo ? from + 1 : from);
    for (int index = 0; index < modification.GetCount(); ++index) {
      const ZAMXMLChangeItem& item = *modification.GetChange(index);
      WriteStep(xml, item, redo ? item.m_NewValue : item.m_OldValue);
    }
    from += redo ? 1 : -1;
  }
}

class Collected : public ZAMLogger {
public:
  void OnLog(const ZAMLogEntry& entry) override {
    m_Entries += entry.m_Text.utf8() + " | " + entry.m_Detail.utf8() + "\n";
  }
  std::string m_Entries;
};

/// A tree with all that it reports.
struct Watched {
  explicit Watched(ZAMXml& source) {
    m_Xml.Copy(source, nullptr);
    m_Xml.SetLogger(&m_Log);
  }
  std::string State() { return test::Saved(m_Xml) + "\n" + m_Log.m_Entries; }

  Collected m_Log;
  ZAMXml m_Xml;
};

void CompareMoves(ZAMXml& source, const std::vector<ZAMXMLChangeItem>& places, Random& random) {
  ZAMXMLModificationGroup list;
  Fill(list, places, random);
  Watched jumping(source);
  Watched stepping(source);
  int position = -1;
  for (const int target : {list.GetCount() - 1, Below(random, list.GetCount() + 1) - 1, -1}) {
    if (target != position) {
      ASSERT_EQ(list.ApplyModifications(jumping.m_Xml, u"R", position, target), 1);
      MoveStepByStep(list, stepping.m_Xml, position, target);
      ASSERT_EQ(jumping.State(), stepping.State()) << "from " << position << " to " << target;
    }
    position = target;
  }
}

TEST(Moves, JumpEndsAsSingleSteps) {
  ZAMXml sources[std::size(Documents)];
  for (std::size_t index = 0; index < std::size(Documents); ++index) {
    test::Load(sources[index], Documents[index]);
  }
  for (unsigned int seed = 0; seed < 2000 && !HasFatalFailure(); ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    const std::size_t node = random();
    std::vector<ZAMXMLChangeItem> places;
    for (int count = 1 + Below(random, 4); count > 0; --count) {
      places.push_back(AnyPlace(random, node + random() % 3));
    }
    CompareMoves(sources[seed % std::size(Documents)], places, random);
  }
}

/// An attribute that finds no room is refused, and reported, each time.
TEST(Moves, ARefusedWriteIsTriedAgain) {
  std::string element = "<R><A";
  for (int number = 0; number < 1000; ++number) {
    element += " a" + std::to_string(number) + "=\"\"";
  }
  ZAMXml source;
  test::Load(source, element + "/></R>");
  ZAMXMLChangeItem place;
  place.m_Node = u"A";
  place.m_Attribute = u"b";
  place.m_ValueType = ZAMXML_VTYPE_STRING;
  Random random(1);
  CompareMoves(source, {place}, random);
}

/// Numbers from 1 on in one place, but for one of them, whose place has to be made.
void FillNumbers(ZAMXMLModificationGroup& list, int other) {
  for (int number = 1; number <= 12; ++number) {
    auto* modification = new ZAMXMLModification;
    list.m_ModificationList.Add(modification);
    auto* item = new ZAMXMLChangeItem;
    modification->m_Changes.Add(item);
    item->m_Node = number == other ? u"P/With/Many/Steps" : u"A";
    item->SetValue(ZAMXML_VTYPE_STRING, std::to_string(number));
  }
}

TEST(Moves, InterruptedMoveWritesNothingFromBehind) {
  ZAMXMLModificationGroup list;
  FillNumbers(list, 6);
  test::ForEachShortage([&](test::Shortage& shortage) {
    ZAMXml xml;
    test::Load(xml, "<R><A>0</A></R>");
    if (shortage.During([&] { return list.ApplyModifications(xml, u"R", -1, 11); }) == 0) {
      const std::string saved = test::Saved(xml);
      ASSERT_TRUE(saved.find("Steps") != saved.npos || saved.find("12") == saved.npos) << saved;
    }
  });
}

// The former entries must not be looked for where they were: the address sanitizer sees that.
TEST(Moves, ListMayGrowMeanwhile) {
  class Growing : public ZAMLogger {
  public:
    explicit Growing(ZAMXMLModificationGroup& list) : m_List(list) {}
    void OnLog(const ZAMLogEntry& /*entry*/) override {
      m_List.m_ModificationList.Add(new ZAMXMLModification);
    }
    ZAMXMLModificationGroup& m_List;
  };
  ZAMXMLModificationGroup list;
  FillNumbers(list, 0);
  list.GetModification(3)->GetChange(0)->m_NewValue = u"\x01";
  Growing logger(list);
  ZAMXml xml;
  test::Load(xml, "<R><A>0</A></R>");
  xml.SetLogger(&logger);
  EXPECT_EQ(list.ApplyModifications(xml, u"R", -1, 11), 1);
  EXPECT_EQ(test::Saved(xml), "<R><A>12</A></R>");
  EXPECT_GT(list.GetCount(), 12);
}

}  // namespace
