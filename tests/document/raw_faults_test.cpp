#include <gtest/gtest.h>

#include <string>

#include "support/document.h"
#include "support/shortage.h"

namespace {

constexpr int Count = 12;

/// A modification that changes the weight from `value` to the next number.
std::string Modification(int value) {
  return "<Modification><UID>1</UID><Date/><Time/><UserID/><UserName/><Changes><Item>"
         "<Node>PatientInfo/Weight</Node><Attribute/><ValueType>STRING</ValueType><OldValue>" +
         std::to_string(value) + "</OldValue><NewValue>" + std::to_string(value + 1) +
         "</NewValue></Item></Changes></Modification>";
}

std::string Modifications() {
  std::string list;
  for (int value = 0; value < Count; ++value) {
    list += Modification(value);
  }
  return list;
}

std::string Whole(const std::string& list) {
  return "<KESTRANE_ZAM><DocumentInfo><ID>UNKNOWN</ID></DocumentInfo><OrderInfo/><StudyInfo/>"
         "<PatientInfo><Weight>0</Weight></PatientInfo><Modifications>" +
         list + "</Modifications></KESTRANE_ZAM>";
}

class RawFaults : public test::DocumentTest {
protected:
  void SetUp() override {
    ASSERT_EQ(Open(Whole(Modifications())), 1);
    m_Document.m_Xml.SetDurable(0);
  }

  int Commit(const _bstr_t& weight) {
    m_Document.Begin();
    m_Document.Set(u"PatientInfo/Weight", weight);
    return m_Document.CommitModify();
  }
  /// Commits to the document of that list and gives what the file has up to its first entry's text.
  std::string Committed(const std::string& list, const std::string& upTo) {
    Open(Whole(list));
    m_Document.m_Xml.SetDurable(0);
    Commit(u"5");
    static_cast<void>(m_Document.Save());
    const std::string bytes = test::ReadBytes(m_Path);
    const auto begin = bytes.find("<Modification>");
    return bytes.substr(begin, bytes.find(upTo, begin) - begin);
  }
};

// The search goes on with a walk that making the nodes has thrown away.
TEST_F(RawFaults, FirstLookIsAtALaterMatch) {
  ZAMXml& xml = m_Document.m_Xml;
  _bstr_t text;
  EXPECT_EQ(xml.GetChildNodeText(xml.GetRootNode(),
                                 u"Modifications/Modification/Changes/Item/NewValue", text, 7),
            1);
  EXPECT_EQ(text, u"8");
}

// The entries in front are not counted while they are raw.
TEST_F(RawFaults, PathOfAddedEntry) {
  ZAMXml& xml = m_Document.m_Xml;
  const auto added = xml.AddNode(u"KESTRANE_ZAM/Modifications/Modification", nullptr);
  EXPECT_EQ(xml.GetNodePath(added), u"KESTRANE_ZAM/Modifications/Modification[12]");
}

TEST_F(RawFaults, PlaceInWarning) {
  Commit(u"\x01");
  EXPECT_NE(test::Entries(m_Document).find("Modification[12]/Changes"), std::string::npos)
      << test::Entries(m_Document);
}

// What a new list would write otherwise is written anew by a commit.
TEST_F(RawFaults, EmptyCdataIsWrittenAnew) {
  std::string list = Modifications();
  list.replace(list.find("1</UID>"), 1, "<![CDATA[]]>");
  EXPECT_EQ(Committed(list, "<Date/>"), "<Modification><UID/>");
}

// The end tags have lines of their own, except the last one.
TEST_F(RawFaults, LineIsWrittenAnew) {
  std::string list;
  for (int value = 0; value < 3; ++value) {
    std::string entry = Modification(value);
    list += "\n" + entry.insert(entry.rfind("</Modification>"), value < 2 ? "\n" : "");
  }
  EXPECT_EQ(Committed(list + "\n", "\n"), Modification(0));
}

// Only the address sanitizer sees this one: the list grows, and its former places are read.
TEST_F(RawFaults, ListGrowsDuringAMove) {
  class Adding : public ZAMLogger {
  public:
    explicit Adding(ZAMXMLModificationGroup& list) : m_List(list) {}
    void OnLog(const ZAMLogEntry& /*entry*/) override {
      m_List.m_ModificationList.Add(new ZAMXMLModification);
    }
    ZAMXMLModificationGroup& m_List;
  };
  m_Document.SetHistoryToOriginal();
  m_Document.m_Modifications.GetModification(3)->GetChange(0)->m_NewValue = u"\x01";
  Adding logger(m_Document.m_Modifications);
  m_Document.SetLogger(&logger);
  ZAMXml& xml = m_Document.m_Xml;
  xml.SetWarningLog(&m_Document);
  EXPECT_EQ(m_Document.m_Modifications.ApplyModifications(xml, u"KESTRANE_ZAM", -1, Count - 1), 1);
  m_Document.SetLogger(nullptr);
}

// Values from behind the place where a move ended must not be in the tree.
TEST_F(RawFaults, InterruptedMove) {
  test::ForEachShortage([&](test::Shortage& shortage) {
    test::Document document;
    ASSERT_EQ(document.Open(m_Path, nullptr), 1);
    ASSERT_EQ(document.SetHistoryToOriginal(), 1);
    ZAMXMLModificationGroup& list = document.m_Modifications;
    const _bstr_t place = u"PatientInfo/Other/Place/With/Many/Steps";
    list.GetModification(6)->GetChange(0)->m_Node = place;
    ZAMXml& xml = document.m_Xml;
    if (shortage.During(
            [&] { return list.ApplyModifications(xml, u"KESTRANE_ZAM", -1, Count - 1); }) == 0) {
      _bstr_t weight;
      xml.GetChildNodeText(xml.GetRootNode(), u"PatientInfo/Weight", weight);
      ASSERT_TRUE(xml.GetChildNode(xml.GetRootNode(), place) || !(weight == u"12"));
    }
  });
}

// A name in the folder for temporary files needs memory while the folder is read.
TEST_F(RawFaults, BeginBesideAnotherEdit) {
  ASSERT_EQ(m_Document.Begin(), 1);
  test::ForEachShortage([&](test::Shortage& shortage) {
    test::Document document;
    ASSERT_EQ(document.Open(m_Path, nullptr), 1);
    shortage.During([&] { return document.Begin(); });
  });
}

}  // namespace
