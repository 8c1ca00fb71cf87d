#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "support/document.h"

namespace {

/// A list as the library writes it, without and with white space between the elements.
constexpr const char* Layouts[] = {
    "<KESTRANE_ZAM><DocumentInfo/><PatientInfo/><OrderInfo/><StudyInfo/><Modifications/>"
    "</KESTRANE_ZAM>",
    "<KESTRANE_ZAM>\n  <DocumentInfo/>\n  <PatientInfo/>\n  <OrderInfo/>\n  <StudyInfo/>\n"
    "  <Modifications/>\n</KESTRANE_ZAM>",
};

/// What other writers may have made of a part of it.
constexpr struct {
  const char* m_Written;
  const char* m_Found;
} Variants[] = {
    {"", ""},
    {"<UID>2</UID>", "<UID><![CDATA[2]]></UID>"},
    {"<UID>2</UID>", "<UID>2<!--n--></UID>"},
    {"<UID>2</UID>", "<UID a=\"1\">2</UID>"},
    {"<OldValue><![CDATA[ ]]></OldValue>", "<OldValue> </OldValue>"},
    {"<Date/>", "<Date/> "},
    {"<Changes>", "<Changes> "},
    {"</Item>", " </Item>"},
    {"</Item>", "<Other/></Item>"},
    {"</Modification>", "</Modification> "},
    {"<Modification>", " <Modification>"},
    {"<ValueType>STRING", "<ValueType>string"},
    {"<ValueType>STRING</ValueType>", ""},
    {"<Node>", "<Code>k</Code><Node>"},
    {"</NewValue>", "</NewValue><Code>k</Code>"},
    {"<Item>", "<!--n--><Item>"},
    {"<Attribute/>", "<NewValue/><Attribute/>"},
};

ZAMXMLChangeItem* AddItem(ZAMXMLModification& entry) {
  auto* item = new ZAMXMLChangeItem;
  entry.m_Changes.Add(item);
  item->m_Node = u"PatientInfo/Weight";
  item->SetValue(ZAMXML_VTYPE_STRING, entry.m_UID);
  item->m_OldValue = u" ";
  return item;
}

std::string Written(const char* layout) {
  ZAMXml xml;
  test::Load(xml, layout);
  ZAMXMLModificationGroup list;
  for (const char16_t* const uid : {u"1", u"2", u"박"}) {
    list.m_ModificationList.Add(new ZAMXMLModification);
    ZAMXMLModification& entry = *list.GetModification(list.GetCount() - 1);
    entry.m_UID = uid;
    AddItem(entry);
    AddItem(entry);
  }
  IXMLDOMNodePtr section = xml.GetNode(u"KESTRANE_ZAM/Modifications");
  list.WriteToXML(xml, section, nullptr);
  return test::Saved(xml);
}

/// What may have become of an entry in memory.
void Disturb(ZAMXMLModification& entry, std::size_t how) {
  ZAMXMLChangeItem& item = *entry.GetChange(1);
  switch (how) {
    case 0:
      entry.m_UserName = nullptr;
      break;
    case 1:
      item.m_Code = u"not stored";
      break;
    case 2:
      item.m_ValueType = ZAMXML_VTYPE_NAME;
      break;
    case 3:
      item.m_NewValue = u"\xD800";
      break;
    case 4:
      AddItem(entry);
      break;
    default:
      break;
  }
}

std::string Described(const ZAMXMLModification& entry) {
  std::string text = (entry.m_UID + entry.m_Date).utf8() + (!entry.m_UserName ? "null" : "");
  for (const ZAMXMLChangeItem* const item : entry.m_Changes) {
    text += std::to_string(item->m_ValueType) + '|' + (item->m_Code + u"|" + item->m_Node).utf8() +
            '|' + (item->m_Attribute + item->m_OldValue + u"|" + item->m_NewValue).utf8() + '|';
  }
  return text;
}

/// What a move reads is what reading all of it gives, and what is right already stays.
void CompareReading(test::Document& document) {
  const ZAMXMLModificationGroup& list = document.m_Modifications;
  IXMLDOMNodePtr section = document.m_Xml.GetNode(u"KESTRANE_ZAM/Modifications");
  ZAMXMLModificationGroup fresh;
  fresh.ReadFromXML(document.m_Xml, section, nullptr);
  std::vector<std::pair<ZAMXMLModification*, std::string>> before;
  for (ZAMXMLModification* const entry : list.m_ModificationList) {
    before.emplace_back(entry, Described(*entry));
  }
  const bool read = document.SetHistoryToOriginal() != 0;
  for (int index = 0; index < list.GetCount(); ++index) {
    const auto& [entry, described] = before[static_cast<std::size_t>(index)];
    const std::string expected = read ? Described(*fresh.GetModification(index)) : described;
    EXPECT_EQ(Described(*list.GetModification(index)), expected);
    EXPECT_EQ(list.GetModification(index) == entry, described == expected);
  }
}

/// What a commit writes is what writing all of it gives. Returns whether something stayed.
bool CompareWriting(ZAMXMLModificationGroup& list, ZAMXml& xml) {
  ZAMXml anew;
  anew.Copy(xml, nullptr);
  IXMLDOMNodePtr section = anew.GetNode(u"KESTRANE_ZAM/Modifications");
  anew.RemoveChildNodeAll(section);
  list.WriteToXML(anew, section, nullptr);
  section = xml.GetNode(u"KESTRANE_ZAM/Modifications");
  const IXMLDOMNodePtr first = xml.GetFirstChildNode(section);
  list.WriteToXML(xml, section, nullptr);
  EXPECT_EQ(test::Saved(xml), test::Saved(anew));
  return static_cast<bool>(first);
}

TEST(List, KeepsWhatIsRight) {
  std::string stayed;
  for (const char* const layout : Layouts) {
    const std::string written = Written(layout);
    for (const auto& variant : Variants) {
      for (std::size_t how = 0; how < 6; ++how) {
        SCOPED_TRACE(std::string(layout) + variant.m_Found + std::to_string(how));
        std::string bytes = written;
        const std::string part = variant.m_Written;
        ZAMXml source;
        test::Load(source, bytes.replace(bytes.rfind(part), part.size(), variant.m_Found));
        test::Document document;
        ASSERT_EQ(document.OpenFromXML(source, nullptr), 1);
        Disturb(*document.m_Modifications.GetModification(1), how);
        CompareReading(document);
        document.m_Modifications.m_ModificationList.Add(new ZAMXMLModification);
        stayed += CompareWriting(document.m_Modifications, document.m_Xml) ? '1' : '0';
      }
    }
  }
  EXPECT_EQ(stayed.substr(0, 12), "111101000000") << "only the list as it was written stays";
}

}  // namespace
