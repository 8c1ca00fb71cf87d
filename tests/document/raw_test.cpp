#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <string>

#include "support/document.h"

namespace {

using Random = std::mt19937;

/// What a history consists of, as the library writes it; each may be replaced by others below.
struct Variant {
  const char* m_Written;
  std::vector<const char*> m_Found;
};
const Variant Variants[] = {
    {"<UID>1</UID>",
     {"<UID/>", "<UID></UID>", "<UID ></UID>", "", "<UID>1</UID><UID>2</UID>", "<UID> </UID>",
      "<UID><![CDATA[ ]]></UID>", "<UID>a<![CDATA[b]]>&lt;</UID>", "<UID><![CDATA[]]></UID>",
      "<UID>&#13;&amp;&gt;&lt;박</UID>", "<UID>&quot;></UID>", "<UID a=\"1\">1</UID>",
      "<UID>1<!--n--></UID>", "<UID>1</UID >", "<UID><![CDATA[&amp;]]></UID>"}},
    {"<Date/>", {"<Date />", "<Date>2024-03-05</Date>", "<Time/>", "x<Date/>", "<!--n--><Date/>"}},
    {"<Changes>", {"<Changes>\n", "<Changes><!--n-->", "<Changes>t", "<Other/><Changes>"}},
    {"<Code/>", {"", "", "", "<Code>k</Code>"}},
    {"<ValueType>STRING", {"<ValueType>string", "<ValueType>NAME", "<ValueType>?"}},
    {"<OldValue/>", {"<OldValue>58</OldValue>", "<OldValue>\n</OldValue>"}},
    {"</Modification>",
     {"</Modification> ", "\n</Modification>", "</Modification>\xEF\xBB\xBF",
      "</Modification><Other/>", "</Modification><Modification/>", "<Changes/></Modification>"}},
    {"<Modifications>",
     {"<Modifications>\xEF\xBB\xBF", "<Modifications a=\"1\">",
      "<Modifications></Modifications><Modifications>", "<Modifications>text"}},
    {"</Modifications>",
     {"</Modifications>\xEF\xBB\xBFtext", "</Modifications><Own>1</Own>",
      "<!--n--></Modifications>"}},
};

std::string DocumentOf(Random& random) {
  const bool lines = random() % 2 != 0;
  const bool inLines = !lines && random() % 2 != 0;
  const auto line = [lines](int depth) {
    return lines ? "\n" + std::string(static_cast<std::size_t>(depth), '\t') : std::string();
  };
  std::string bytes = "<KESTRANE_ZAM>";
  bytes += line(1) + "<DocumentInfo><ID>UNKNOWN</ID></DocumentInfo>" + line(1) + "<OrderInfo/>" +
           line(1) + "<StudyInfo/>";
  bytes += line(1) + "<PatientInfo>" + line(2) + "<Weight>58</Weight>" + line(1) +
           "</PatientInfo>" + line(1) + "<Modifications>";
  // Some of one part are different, so that nothing else hides what comes of that.
  const Variant& variant = Variants[random() % std::size(Variants)];
  const char* const found = variant.m_Found[random() % variant.m_Found.size()];
  const auto part = [&](const char* written) {
    return variant.m_Written == std::string(written) && random() % 3 == 0 ? found : written;
  };
  for (auto count = random() % 8; count > 0; --count) {
    bytes += (inLines ? "\n" : line(2)) + "<Modification>" + line(3) + part("<UID>1</UID>") +
             line(3) + part("<Date/>") + line(3) + "<Time/>" + line(3) + "<UserID/>" + line(3) +
             "<UserName/>" + line(3) + part("<Changes>");
    for (auto items = random() % 3; items > 0; --items) {
      bytes += line(4) + "<Item>" + line(5) + "<Node>PatientInfo/Weight</Node>" + line(5) +
               "<Attribute/>" + line(5) + part("<ValueType>STRING") + "</ValueType>" + line(5) +
               part("<OldValue/>") + line(5) + "<NewValue>" + std::to_string(random() % 100) +
               "</NewValue>" + line(4) + "</Item>";
    }
    bytes += line(3) + "</Changes>" + line(2) + part("</Modification>");
  }
  bytes += line(1) + part("</Modifications>") + line(0) + "</KESTRANE_ZAM>";
  const std::string section = part("<Modifications>");
  return bytes.replace(bytes.find("<Modifications>"), 15, section);
}

std::string Described(test::Document& document) {
  std::string text = std::to_string(document.m_nHistory) + document.Weight().utf8();
  for (const ZAMXMLModification* const entry : document.m_Modifications.m_ModificationList) {
    text += "\n" + (entry->m_UID + u"|" + entry->m_Date + u"|" + entry->m_UserID).utf8();
    for (const ZAMXMLChangeItem* const item : entry->m_Changes) {
      text += "\n " + std::to_string(item->m_ValueType) +
              (item->m_Code + u"|" + item->m_Node).utf8() +
              (u"|" + item->m_Attribute + u"|" + item->m_OldValue + u"|" + item->m_NewValue).utf8();
    }
  }
  for (int index = 0; index < document.GetLogCount(); ++index) {
    text += "\n" + (document.GetLog(index).m_Text + u"|" + document.GetLog(index).m_Detail).utf8();
  }
  document.ClearLog();
  return text;
}

/// The bytes of a file, without the time of a commit.
std::string Stored(const std::filesystem::path& path) {
  std::string bytes = test::ReadBytes(path);
  for (auto time = bytes.find("<Time>"); time != bytes.npos; time = bytes.find("<Time>", time)) {
    bytes.replace(time, bytes.find("</Time>", time) + 7 - time, "<Time/>");
  }
  return bytes;
}

/// What a host does; returns what comes of it.
std::string Do(test::Document& document, unsigned int what, const std::filesystem::path& path) {
  ZAMXml& xml = document.m_Xml;
  const IXMLDOMNodePtr root = xml.GetRootNode();
  const IXMLDOMNodePtr section = xml.GetChildNode(root, u"Modifications");
  const int number = static_cast<int>(what / 16 % 5);
  _bstr_t text;
  switch (what % 16) {
    case 0:
      return std::to_string(document.SetHistoryToOriginal());
    case 1:
    case 2:
      return std::to_string(document.SetHistory(number));
    case 3:
      return std::to_string(document.SetHistoryToLast());
    case 4:
    case 5:
    case 6:
      document.Begin();
      document.Set(u"PatientInfo/Weight", number == 0 ? "\x01" : std::to_string(what % 100));
      document.m_pModification->m_UID = u"2";
      return std::to_string(document.CommitModify());
    case 7:
      static_cast<void>(document.Save());
      return Stored(path);
    case 8:
      if (ZAMXMLModificationGroup& list = document.m_Modifications; list.GetCount() > 0) {
        list.GetModification(0)->m_UID = u"changed";
      }
      return "";
    case 9:
      return std::to_string(xml.GetNodeCount(root, u"Modifications/Modification/Changes/Item"));
    case 10:
      return std::to_string(xml.SetChildNodeText(root, u"Modifications/Modification/UID", u"3"));
    case 11:
      return xml.GetNodePath(xml.GetFirstChildNode(section)).utf8();
    case 12:
      return number == 0
                 ? std::to_string(xml.RemoveChildNodeAll(root, u"Modifications/Modification"))
                 : "";
    case 13:
      xml.GetChildNodeText(root, u"Modifications", text);
      return text.utf8();
    case 14:
      xml.GetChildNodeText(root, u"Modifications/Modification/UID", text, number);
      return text.utf8();
    default:
      return xml
          .GetNodePath(xml.AddNode(number == 0 ? u"KESTRANE_ZAM/Modifications/Other"
                                               : u"KESTRANE_ZAM/Modifications/Modification",
                                   nullptr))
          .utf8();
  }
}

TEST(RawHistory, IsLikeOneMadeOfNodes) {
  const test::TemporaryFolder folder(test::TemporaryFolder::Medium::Memory);
  const auto rawPath = folder.Path("raw.xml");
  const auto strictPath = folder.Path("strict.xml");
  Random random(1);
  for (int round = 0; round < 2500; ++round) {
    const std::string bytes = DocumentOf(random);
    SCOPED_TRACE(bytes);
    test::WriteBytes(rawPath, bytes);
    test::WriteBytes(strictPath, test::Utf16(u"\xFEFF" + _bstr_t(bytes)));
    test::Document raw;
    test::Document strict;
    raw.m_Xml.SetDurable(0);
    strict.m_Xml.SetDurable(0);
    ASSERT_EQ(raw.Open(rawPath, nullptr), strict.Open(strictPath, nullptr));
    if (raw.IsOpened() == 0) {
      continue;
    }
    // Entries that a host has got are compared, others are not.
    const bool looks = random() % 2 != 0;
    for (int step = 0; step < 6; ++step) {
      const unsigned int what = static_cast<unsigned int>(random());
      SCOPED_TRACE(what % 16);
      ASSERT_EQ(Do(raw, what, rawPath), Do(strict, what, strictPath));
      ASSERT_EQ(raw.Weight(), strict.Weight());
      if (looks) {
        ASSERT_EQ(Described(raw), Described(strict));
      }
    }
    ASSERT_EQ(Described(raw), Described(strict));
    static_cast<void>(raw.Save());
    static_cast<void>(strict.Save());
    ASSERT_EQ(Stored(rawPath), Stored(strictPath));
  }
}

// Entries on lines in a document without lines: the end tags of those that stay raw have lines,
// too.
TEST(RawHistory, LinesOfEndTagsAreWrittenAnew) {
  const test::TemporaryFolder folder(test::TemporaryFolder::Medium::Memory);
  const auto path = folder.Path("document.xml");
  const std::string entry =
      "\n<Modification><UID/><Date/><Time/><UserID/><UserName/><Changes/></Modification>";
  std::string lined = entry;
  lined.insert(lined.rfind("</"), "\n");
  const std::string head =
      "<KESTRANE_ZAM><DocumentInfo><ID>UNKNOWN</ID></DocumentInfo><OrderInfo/><StudyInfo/>"
      "<PatientInfo><Weight>0</Weight></PatientInfo><Modifications>";
  test::WriteBytes(path, head + lined + lined + entry + "\n</Modifications></KESTRANE_ZAM>");
  test::Document document;
  ASSERT_EQ(document.Open(path, nullptr), 1);
  ASSERT_EQ(document.Begin() + document.CommitModify() + document.Save(), 3);
  EXPECT_TRUE(test::ReadBytes(path).starts_with(head + entry + entry + entry));
}

}  // namespace
