#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

#include "support/document.h"

namespace {

class DocumentRecording : public testing::Test {
protected:
  DocumentRecording() {
    std::filesystem::create_directory(m_Folder.Path("tmp"));
    setenv("TMPDIR", m_Folder.Path("tmp").c_str(), 1);
  }
  ~DocumentRecording() override { unsetenv("TMPDIR"); }

  void Open(const std::string& bytes) {
    test::WriteBytes(m_Path, bytes);
    ASSERT_EQ(m_Document.Open(m_Path.c_str(), nullptr), 1);
  }

  int Count() const { return m_Document.GetHistoryCount(); }

  std::vector<std::string> TemporaryFiles() const {
    std::vector<std::string> names;
    for (const auto& entry :
         std::filesystem::directory_iterator(ZAMGF::GetSystemTempDir().utf8())) {
      names.push_back(entry.path().filename().string());
    }
    return names;
  }

  test::TemporaryFolder m_Folder;
  std::filesystem::path m_Path = m_Folder.Path("document.xml");
  test::Document m_Document;
};

TEST_F(DocumentRecording, TheWholeRoad) {
  Open(test::DocumentBytes(test::ThreeWeights()));
  ASSERT_EQ(m_Document.SetHistoryToOriginal(), 1);
  m_Document.TakeCalls();
  ASSERT_EQ(m_Document.BeginModify(u"2.25.1", u"kim", u"김 민서"), 1);
  EXPECT_EQ(m_Document.TakeCalls(), "") << "at the original nothing moves";
  EXPECT_EQ(m_Document.m_strFilePath, m_Path.u16string());

  ZAMXMLName name;
  name.m_Full = u"김민서";
  ZAMXMLStatement list;
  list.AddStatement(u"a");
  list.AddStatement(u"b");
  EXPECT_EQ(m_Document.AddChangeItemName(u"c1", u"PatientInfo/Name", name), 0);
  EXPECT_EQ(m_Document.AddChangeItem(u"c2", u"PatientInfo/Weight", u"", ZAMXML_VTYPE_STRING, u"70"),
            1);
  EXPECT_EQ(
      m_Document.AddChangeItem(u"c3", u"PatientInfo/Weight", u"Unit", ZAMXML_VTYPE_NAME, u"lb"), 2);
  EXPECT_EQ(m_Document.AddChangeItemStatement(u"c4", u"Foreign", list), 3);
  EXPECT_EQ(m_Document.AddChangeItem(u"c5", u"New/Deep", u"", ZAMXML_VTYPE_STRING, u"x"), 4);
  EXPECT_EQ(m_Document.AddChangeItem(u"c6", u"PatientInfo/Weight", u"", ZAMXML_VTYPE_STRING, u"71"),
            5);
  const std::vector<std::pair<_bstr_t, _bstr_t>> values{{u"Kim^^^^^", u"김민서^^^^^"},
                                                        {u"62", u"70"},
                                                        {u"^^^^^", u"lb"},
                                                        {u"", u"a^b"},
                                                        {u"", u"x"},
                                                        {u"62", u"71"}};
  for (std::size_t i = 0; i < values.size(); ++i) {
    const ZAMXMLChangeItem* item = m_Document.m_pModification->GetChange(static_cast<int>(i));
    EXPECT_EQ(item->m_OldValue, values[i].first) << i;
    EXPECT_EQ(item->m_NewValue, values[i].second) << i;
    EXPECT_EQ(item->m_Code, _bstr_t(u"c") + std::to_string(i + 1).c_str());
  }
  ASSERT_EQ(m_Document.CommitModify(), 1);
  EXPECT_EQ(m_Document.CommitModify(), 0) << "only once";
  EXPECT_EQ(Count(), 4);
  EXPECT_EQ(m_Document.m_nHistory, -1);
  EXPECT_EQ(m_Document.Weight(), u"58") << "nothing is shown yet";
  EXPECT_EQ(m_Document.m_CloneXml.IsOpened(), 0);

  ASSERT_EQ(m_Document.SetHistoryToLast(), 1);
  EXPECT_EQ(m_Document.Weight(), u"71");
  EXPECT_EQ(m_Document.m_PatientInfo.m_WeightUnit, u"kg") << "a name item ignores its attribute";
  EXPECT_EQ(m_Document.m_PatientInfo.m_Name.m_Full, u"김민서");
  EXPECT_EQ(m_Document.m_Modifications.GetModification(3)->m_UserName, u"김 민서");

  ASSERT_EQ(m_Document.Save(), 1);
  test::Document reopened;
  ASSERT_EQ(reopened.Open(m_Path.c_str(), nullptr), 1);
  EXPECT_EQ(reopened.Weight(), u"71");
  EXPECT_EQ(reopened.GetHistoryCount(), 4);
  ASSERT_EQ(reopened.SetHistoryToOriginal(), 1);
  EXPECT_EQ(reopened.Weight(), u"58");
}

TEST_F(DocumentRecording, WithoutAnEditNothingIsCreated) {
  Open(test::DocumentBytes());
  _bstr_t untouched = u"as it was";
  EXPECT_EQ(m_Document.GetOldValue(u"PatientInfo/ID", u"", ZAMXML_VTYPE_STRING, untouched), 0);
  EXPECT_EQ(untouched, u"as it was");
  EXPECT_EQ(m_Document.CreateChangeItem(u"", u"PatientInfo/ID", u"", ZAMXML_VTYPE_STRING), nullptr);
  EXPECT_EQ(m_Document.AddChangeItemName(u"", u"PatientInfo/Name", ZAMXMLName()), -1);
  ASSERT_EQ(m_Document.GetLogCount(), 2);
  EXPECT_EQ(m_Document.GetLog(0).m_Detail, u"Can not find XML node");
  ZAMXMLChangeItem item;
  item.m_ValueType = ZAMXML_VTYPE_STRING;
  EXPECT_EQ(m_Document.AddChangeItem(&item), -1);
  EXPECT_EQ(m_Document.CommitModify(), 0);
}

TEST_F(DocumentRecording, UnstorableItemsAreLeftOutAtCommit) {
  Open(test::DocumentBytes());
  ASSERT_EQ(m_Document.BeginModify(u"1", u"u", u"U"), 1);
  EXPECT_EQ(m_Document.AddChangeItem(nullptr), -1);
  for (const int type : {-1, 3}) {
    std::unique_ptr<ZAMXMLChangeItem> item(m_Document.CreateChangeItem(
        u"", u"PatientInfo/ID", u"", static_cast<ZAMXML_VTYPE>(type), u"x"));
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->m_OldValue, u"P1");
    EXPECT_EQ(m_Document.AddChangeItem(item.get()), type < 0 ? 0 : 1);
    item.release();
  }
  EXPECT_EQ(m_Document.CommitModify(), 1);
  EXPECT_NE(test::Entries(m_Document).find("PatientInfo/ID"), std::string::npos);
  EXPECT_EQ(Count(), 1) << "a modification without items is one like any other";
  EXPECT_EQ(m_Document.SetHistoryToLast(), 1);
  EXPECT_EQ(m_Document.m_PatientInfo.m_ID, u"P1");
}

TEST_F(DocumentRecording, AnEditEndsWithoutATrace) {
  Open(test::DocumentBytes(test::ThreeWeights()));
  m_Document.TakeCalls();
  ASSERT_EQ(m_Document.BeginModify(u"1", u"first", u"U"), 1);
  EXPECT_EQ(m_Document.m_ShownWeights, (std::vector<std::string>{"58", "62"}));
  EXPECT_EQ(TemporaryFiles(), std::vector<std::string>{"Clone.xml"});
  m_Document.AddChangeItem(u"", u"PatientInfo/ID", u"", ZAMXML_VTYPE_STRING, u"x");
  ASSERT_EQ(m_Document.BeginModify(u"2", u"second", u"U"), 1);
  EXPECT_EQ(m_Document.m_pModification->GetCount(), 0);
  EXPECT_EQ(m_Document.m_pModification->m_UserID, u"second");
  m_Document.CancelModify();
  EXPECT_EQ(m_Document.m_pModification, nullptr);
  EXPECT_TRUE(TemporaryFiles().empty());
  EXPECT_EQ(m_Document.SaveAs(m_Folder.Path("other.xml").c_str(), nullptr), 1);
  EXPECT_EQ(test::ReadBytes(m_Folder.Path("other.xml")), test::ReadBytes(m_Path));
}

TEST_F(DocumentRecording, ASnapshotThatCannotBeSavedIsReported) {
  Open(test::DocumentBytes());
  m_Document.SetDefaultDocInfo(u"other", u"", u"", u"", u"");
  m_Document.m_Failing = "write-patient";
  EXPECT_EQ(m_Document.BeginModify(u"1", u"u", u"U"), 0);
  const ZAMLogEntry& entry = m_Document.GetLog(m_Document.GetLogCount() - 1);
  EXPECT_EQ(entry.m_Code, -2003);
  EXPECT_EQ(entry.m_Detail, u"Fail to create temporary file");
  EXPECT_EQ(m_Document.m_strFilePath, m_Path.u16string());
  EXPECT_EQ(m_Document.m_CloneXml.IsOpened(), 0);
  EXPECT_TRUE(TemporaryFiles().empty());
}

TEST_F(DocumentRecording, AHostThatClosesTheDocumentMeanwhileKeepsItsFile) {
  const std::string bytes = test::DocumentBytes(test::ThreeWeights());
  for (const std::size_t call : {1U, 2U}) {
    Open(bytes);
    m_Document.m_ShownWeights.clear();
    m_Document.m_WhenChanged = [&] {
      if (m_Document.m_ShownWeights.size() + 1 == call) {
        m_Document.Close();
      }
    };
    EXPECT_EQ(m_Document.BeginModify(u"1", u"u", u"U"), 0);
    EXPECT_EQ(m_Document.IsOpened(), 0);
    EXPECT_EQ(m_Document.Save(), 0);
    EXPECT_EQ(test::ReadBytes(m_Path), bytes);
    EXPECT_TRUE(TemporaryFiles().empty());
  }
}

TEST_F(DocumentRecording, ACommitWithoutAPlaceForTheListKeepsTheModification) {
  m_Document.m_CompatibleResult = 1;
  Open(test::DocumentBytes());
  ASSERT_EQ(m_Document.BeginModify(u"1", u"u", u"U"), 1);
  test::Load(m_Document.m_Xml, "<Other/>");
  EXPECT_EQ(m_Document.CommitModify(), 0);
  EXPECT_NE(test::Entries(m_Document).find("Modifications"), std::string::npos);
  EXPECT_EQ(Count(), 1);
  EXPECT_NE(m_Document.m_CloneXml.IsOpened(), 0);
  EXPECT_EQ(m_Document.AddChangeItem(u"", u"PatientInfo/ID", u"", ZAMXML_VTYPE_STRING, u"x"), -1);
}

/// Whatever a host passes as a text: the document opens again, and shows what it showed.
TEST_F(DocumentRecording, TextsThatXmlCannotCarryNeverCostTheDocument) {
  const std::u16string zero(u"a\0b", 3);
  std::u16string steps;
  for (int i = 0; i < 5000; ++i) {
    steps += u"s/";
  }
  const std::vector<_bstr_t> texts{u"\u0001", u"\xD800", _bstr_t(zero), u"\xFFFE", u"",
                                   steps,     u" ",      u"]]>\r",      u"a/",     u"1 <>&"};
  for (std::size_t i = 0; i < texts.size(); ++i) {
    SCOPED_TRACE(i);
    const _bstr_t& text = texts[i];
    Open(test::DocumentBytes());
    ASSERT_EQ(m_Document.BeginModify(text, text, text), 1);
    EXPECT_EQ(m_Document.AddChangeItem(text, text, u"", ZAMXML_VTYPE_STRING, text), 0);
    EXPECT_EQ(m_Document.AddChangeItem(text, u"PatientInfo", text, ZAMXML_VTYPE_STRING, text), 1);
    ZAMXMLName name;
    name.m_Full = text;
    EXPECT_EQ(m_Document.AddChangeItemName(text, _bstr_t(u"n") + text, name), 2);
    ASSERT_EQ(m_Document.CommitModify(), 1);
    ASSERT_EQ(m_Document.SetHistoryToLast(), 1);
    const std::string shown = test::Saved(m_Document.m_Xml);
    ASSERT_EQ(m_Document.SetHistoryToOriginal(), 1);
    ASSERT_EQ(m_Document.Save(), 1);
    ASSERT_EQ(m_Document.Open(m_Path.c_str(), nullptr), 1);
    EXPECT_EQ(test::Saved(m_Document.m_Xml), shown);
  }
}

TEST_F(DocumentRecording, ChangesOfWholeRecordsAreUndoneWhole) {
  Open(test::DocumentBytes());
  ASSERT_EQ(m_Document.BeginModify(u"1", u"u", u"U"), 1);
  std::unique_ptr<ZAMXMLChangeItem> item(
      m_Document.CreateChangeItem(u"", u"PatientInfo/Name", u"x", ZAMXML_VTYPE_NAME, u"A^B"));
  EXPECT_EQ(item->m_OldValue, u"") << "the attribute's value, until it is added";
  ASSERT_EQ(m_Document.AddChangeItem(item.release()), 0);
  ZAMXMLName name;
  name.m_Given = u"with^sign";
  EXPECT_EQ(m_Document.AddChangeItemName(u"", u"OrderInfo/AuthorName", name), 1);
  ASSERT_EQ(m_Document.CommitModify(), 1);
  const std::string entries = test::Entries(m_Document);
  EXPECT_NE(entries.find("PatientInfo/Name@x"), std::string::npos) << entries;
  EXPECT_NE(entries.find("| OrderInfo/AuthorName"), std::string::npos) << entries;
  ASSERT_EQ(m_Document.SetHistoryToLast(), 1);
  EXPECT_EQ(m_Document.m_PatientInfo.m_Name.m_Full, u"A");
  ASSERT_EQ(m_Document.SetHistoryToOriginal(), 1);
  EXPECT_EQ(m_Document.m_PatientInfo.m_Name.m_Full, u"Kim");
}

TEST_F(DocumentRecording, TextsOfTheDocumentMayBeArguments) {
  Open(test::DocumentBytes(test::ThreeWeights()));
  m_Document.m_Modifications.GetModification(0)->m_UserName = u"not stored";
  const ZAMXMLModification& entry = *m_Document.m_Modifications.GetModification(1);
  ASSERT_EQ(m_Document.BeginModify(entry.m_UID, m_Document.m_PatientInfo.m_ID, entry.m_UserID), 1);
  ASSERT_EQ(m_Document.BeginModify(m_Document.m_pModification->m_UID,
                                   m_Document.m_pModification->m_UserID,
                                   m_Document.m_pModification->m_UserName),
            1);
  EXPECT_EQ(m_Document.m_pModification->m_UID, u"2.25.7");
  EXPECT_EQ(m_Document.m_pModification->m_UserID, u"P1");
  EXPECT_EQ(m_Document.m_pModification->m_UserName, u"u");
  _bstr_t text = u"PatientInfo/Weight";
  EXPECT_EQ(m_Document.GetOldValue(text, u"", ZAMXML_VTYPE_STRING, text), 1);
  EXPECT_EQ(text, u"62");

  m_Document.m_PatientInfo.m_ID = m_Folder.Path("copy.xml").c_str();
  ASSERT_EQ(m_Document.SaveAs(m_Document.m_PatientInfo.m_ID, nullptr), 1);
  EXPECT_EQ(m_Document.m_strFilePath, m_Folder.Path("copy.xml").u16string());
  EXPECT_TRUE(std::filesystem::exists(m_Folder.Path("copy.xml")));
  m_Document.m_PatientInfo.m_ID = m_Path.c_str();
  ASSERT_EQ(m_Document.Open(m_Document.m_PatientInfo.m_ID, nullptr), 1);
  EXPECT_EQ(m_Document.m_strFilePath, m_Path.u16string());

  const ZAMXMLDocumentInfo& header = m_Document.m_DefaultDocInfo;
  m_Document.SetDefaultDocInfo(header.m_Author, header.m_Type, header.m_Version, header.m_ID,
                               header.m_Application);
  EXPECT_EQ(header.m_ID, u"KESTRANE Co.,Ltd.");
  EXPECT_EQ(header.m_Author, u"UNKNOWN");
}

TEST_F(DocumentRecording, AnEditOfAFormerDocumentIsToldOf) {
  Open(test::DocumentBytes());
  ASSERT_EQ(m_Document.BeginModify(u"1", u"u", u"U"), 1);
  ZAMXml tree;
  test::Load(tree, test::DocumentBytes());
  for (int entries = 1; entries <= 2; ++entries) {
    ASSERT_EQ(entries == 1 ? m_Document.OpenFromXML(tree, nullptr) : m_Document.CommitModify(), 1);
    EXPECT_EQ(m_Document.GetLogCount(), entries) << test::Entries(m_Document);
  }
  ASSERT_EQ(m_Document.BeginModify(u"2", u"u", u"U"), 1);
  ASSERT_EQ(m_Document.CommitModify(), 1);
  EXPECT_EQ(m_Document.GetLogCount(), 2);
}

TEST_F(DocumentRecording, ReplacedCharactersAreToldOf) {
  Open(test::DocumentBytes());
  ASSERT_EQ(m_Document.BeginModify(u"1", u"u\x1", u"U"), 1);
  m_Document.AddChangeItem(u"", u"PatientInfo/ID", u"", ZAMXML_VTYPE_STRING, u"bell \x7");
  ASSERT_EQ(m_Document.CommitModify(), 1);
  EXPECT_EQ(m_Document.GetLogCount(), 2) << test::Entries(m_Document);
  test::Document fresh;
  fresh.New(nullptr);
  fresh.m_PatientInfo.m_ID = u"bell \x7";
  ZAMLog log;
  ASSERT_EQ(fresh.SaveAs(m_Path.c_str(), &log), 1);
  EXPECT_NE(test::Entries(log).find("PatientInfo/ID"), std::string::npos);
}

}  // namespace
