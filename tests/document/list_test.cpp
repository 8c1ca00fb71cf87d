#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "support/document.h"

/// The list of modifications is read again with every move, and written again with every commit.
/// What is right already stays; the outcome is that of reading and writing all of it.

namespace {

using Random = std::mt19937;

template <class Entry, std::size_t Size>
Entry Any(Random& random, const Entry (&entries)[Size]) {
  return entries[random() % Size];
}

constexpr const char16_t* Names[] = {u"UID",      u"Code",  u"Item",         u"Changes",
                                     u"NewValue", u"Other", u"Modification", u"ValueType"};
constexpr const char16_t* Texts[] = {u"", u" ", u"박", u"STRING", u"name", u"\r", u"60"};

/// An edit by hand somewhere below an element.
void Disturb(ZAMXml& xml, IXMLDOMNodePtr node, Random& random) {
  while (random() % 5 != 0) {
    IXMLDOMNodePtr child = xml.GetFirstChildNode(node);
    for (auto skipped = random() % 3; skipped > 0 && xml.GetNextNode(child); --skipped) {
      child = xml.GetNextNode(child);
    }
    node = child ? child : node;
  }
  switch (random() % 4) {
    case 0:
      xml.SetNodeText(node, Any(random, Texts));
      break;
    case 1:
      xml.AddChildNode(node, Any(random, Names), Any(random, Texts));
      break;
    case 2:
      xml.RemoveChildNodeAll(node, Any(random, Names));
      break;
    default:
      xml.SetNodeAttribute(node, u"a", Any(random, Texts));
  }
}

/// An edit of an entry in memory.
void Disturb(ZAMXMLModification& entry, Random& random) {
  ZAMXMLChangeItem& item = *entry.GetChange(0);
  switch (random() % 5) {
    case 0:
      entry.m_UserName = nullptr;
      break;
    case 1:
      item.m_Code = u"k";
      break;
    case 2:
      item.m_ValueType = ZAMXML_VTYPE_NAME;
      break;
    default:
      item.m_NewValue = Any(random, Texts);
  }
}

std::string Described(const ZAMXMLModificationGroup& list) {
  std::string text;
  const auto add = [&text](const _bstr_t& field) {
    text += !field ? "(null)|" : field.utf8() + '|';
  };
  for (const ZAMXMLModification* const entry : list.m_ModificationList) {
    text += "\n" + std::to_string(entry->GetCount()) + ": ";
    add(entry->m_UID + entry->m_Date + entry->m_Time + entry->m_UserID);
    add(entry->m_UserName);
    for (const ZAMXMLChangeItem* const item : entry->m_Changes) {
      text += std::to_string(item->m_ValueType) + '|';
      add(item->m_Code);
      add(item->m_Node + u"@" + item->m_Attribute);
      add(item->m_OldValue);
      add(item->m_NewValue);
    }
  }
  return text;
}

std::vector<ZAMXMLModification*> Entries(const ZAMXMLModificationGroup& list) {
  return {list.m_ModificationList.begin(), list.m_ModificationList.end()};
}

IXMLDOMNodePtr Section(ZAMXml& xml) { return xml.GetNode(u"KESTRANE_ZAM/Modifications"); }

/// A tree that holds three modifications of two changes as the library writes them, in the layout
/// of an empty document.
void MakeSource(ZAMXml& xml, const char* layout) {
  test::Load(xml, layout);
  ZAMXMLModificationGroup list;
  for (const char16_t* const uid : {u"1", u"2", u"박"}) {
    auto* entry = new ZAMXMLModification;
    list.m_ModificationList.Add(entry);
    entry->m_UID = uid;
    for (const char16_t* const node : {u"PatientInfo/Weight", u"PatientInfo/ID"}) {
      auto* item = new ZAMXMLChangeItem;
      entry->m_Changes.Add(item);
      item->m_Node = node;
      item->SetValue(ZAMXML_VTYPE_STRING, uid);
      item->m_OldValue = u" ";
    }
  }
  IXMLDOMNodePtr section = Section(xml);
  ASSERT_EQ(list.WriteToXML(xml, section, nullptr), 1);
}

constexpr const char* Layouts[] = {
    "<KESTRANE_ZAM><DocumentInfo/><PatientInfo/><OrderInfo/><StudyInfo/><Modifications/>"
    "</KESTRANE_ZAM>",
    "<KESTRANE_ZAM>\n  <DocumentInfo/>\n  <PatientInfo/>\n  <OrderInfo/>\n  <StudyInfo/>\n"
    "  <Modifications/>\n</KESTRANE_ZAM>",
};

/// Moves and looks at the list. Returns whether it could be read.
bool CompareReading(test::Document& document) {
  const ZAMXMLModificationGroup& list = document.m_Modifications;
  const std::vector<ZAMXMLModification*> before = Entries(list);
  const std::string described = Described(list);
  ZAMXMLModificationGroup fresh;
  IXMLDOMNodePtr section = Section(document.m_Xml);
  fresh.ReadFromXML(document.m_Xml, section, nullptr);
  const bool read = document.SetHistoryToOriginal() != 0;
  EXPECT_EQ(Described(list), read ? Described(fresh) : described);
  if (!read || Described(fresh) == described) {
    EXPECT_EQ(Entries(list), before) << "an entry that is right stays where it is";
  }
  return read;
}

/// Writes the list into a tree and into a copy of it that holds none any more.
void CompareWriting(ZAMXMLModificationGroup& list, ZAMXml& xml) {
  ZAMXml anew;
  anew.Copy(xml, nullptr);
  IXMLDOMNodePtr section = Section(anew);
  anew.RemoveChildNodeAll(section);
  list.WriteToXML(anew, section, nullptr);
  section = Section(xml);
  list.WriteToXML(xml, section, nullptr);
  EXPECT_EQ(test::Saved(xml), test::Saved(anew));
}

TEST(List, DisturbedItIsReadAndWrittenLikeAnew) {
  int kept = 0;
  for (unsigned int seed = 0; seed < 1200 && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    ZAMXml source;
    MakeSource(source, Layouts[seed % std::size(Layouts)]);
    test::Document document;
    ASSERT_EQ(document.OpenFromXML(source, nullptr), 1);
    if (random() % 3 == 0) {
      Disturb(*document.m_Modifications.GetModification(static_cast<int>(random() % 3)), random);
    }
    for (auto edits = random() % 3; edits > 0; --edits) {
      Disturb(document.m_Xml, Section(document.m_Xml), random);
    }
    if (CompareReading(document)) {
      const IXMLDOMNodePtr first = document.m_Xml.GetFirstChildNode(Section(document.m_Xml));
      document.m_Modifications.m_ModificationList.Add(new ZAMXMLModification);
      CompareWriting(document.m_Modifications, document.m_Xml);
      kept += first ? 1 : 0;
    }
  }
  EXPECT_GT(kept, 100);
}

}  // namespace
