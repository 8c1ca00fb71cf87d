#include <gtest/gtest.h>

#include "support/document.h"

namespace {

const char* const AllReads = "read-header read-list read-patient read-order read-study read-own";

class DocumentLifecycle : public testing::Test {
protected:
  int Open(const std::string& bytes) {
    test::WriteBytes(m_Path, bytes);
    return m_Document.Open(m_Path.c_str(), &m_Log);
  }

  test::TemporaryFolder m_Folder;
  std::filesystem::path m_Path = m_Folder.Path("document.xml");
  test::Document m_Document;
  ZAMLog m_Log;
};

TEST_F(DocumentLifecycle, ANewDocumentHasTheDefaultHeader) {
  EXPECT_EQ(m_Document.IsOpened(), 0);
  EXPECT_EQ(m_Document.m_DocInfo.m_Type, u"NA");
  EXPECT_EQ(m_Document.m_DocInfo.m_Author, u"KESTRANE Co.,Ltd.");
  EXPECT_EQ(m_Document.m_DocInfo.m_Application, u"KESTRANE ZAM");

  m_Document.SetDefaultDocInfo(u"ERGO", u"T", u"2.1", u"A", u"B");
  EXPECT_EQ(m_Document.m_DocInfo.m_ID, u"UNKNOWN") << "the header changes at the next clearing";
  m_Document.m_PatientInfo.m_ID = u"left over";
  EXPECT_EQ(m_Document.New(&m_Log), 1);
  EXPECT_NE(m_Document.IsOpened(), 0);
  EXPECT_EQ(m_Document.m_DocInfo.m_ID, u"ERGO");
  EXPECT_EQ(m_Document.m_PatientInfo.m_ID, u"");
  EXPECT_FALSE(m_Document.m_Xml.GetNode(u"KESTRANE_ZAM"));
}

TEST_F(DocumentLifecycle, OpeningShowsTheLastStateAndTheStoredHeader) {
  auto changes = test::ThreeWeights();
  changes.push_back({"DocumentInfo/Type", "", "", "changed"});
  ASSERT_EQ(Open(test::DocumentBytes(changes)), 1) << test::Entries(m_Log);
  EXPECT_EQ(m_Document.TakeCalls(), AllReads);
  EXPECT_EQ(m_Document.GetHistoryCount(), 4);
  EXPECT_EQ(m_Document.m_nHistory, 3);
  EXPECT_EQ(m_Document.Weight(), u"62");
  EXPECT_EQ(m_Document.m_DocInfo.m_Type, u"");
  EXPECT_EQ(m_Document.SetHistory(2) + m_Document.SetHistory(3), 2);
  EXPECT_EQ(m_Document.m_DocInfo.m_Type, u"changed");

  m_Document.Close();
  EXPECT_EQ(m_Document.Weight(), u"");
  ASSERT_EQ(Open(test::DocumentBytes()), 1) << "a document is used again after Close";
  EXPECT_EQ(m_Document.GetHistoryCount(), 0);
  EXPECT_EQ(m_Document.m_nHistory, -1);
}

TEST_F(DocumentLifecycle, SectionsAreRequired) {
  const struct {
    const char* m_Dropped;
    const char* m_Calls;
  } rows[] = {
      {"DocumentInfo", "read-header"},
      {"PatientInfo", "read-header read-list read-patient"},
      {"OrderInfo", "read-header read-list read-patient read-order"},
      {"StudyInfo", "read-header read-list read-patient read-order read-study"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.m_Dropped);
    m_Log.ClearLog();
    EXPECT_EQ(Open(test::DocumentBytes({{"Foreign/Row", "", "1", "2"}}, row.m_Dropped)), 0);
    EXPECT_EQ(m_Document.TakeCalls(), row.m_Calls);
    EXPECT_NE(test::Entries(m_Log).find(row.m_Dropped), std::string::npos) << "says which";
    EXPECT_EQ(m_Document.IsOpened() + m_Document.GetHistoryCount(), 0);
    EXPECT_EQ(m_Document.m_PatientInfo.m_ID, u"") << "closed and empty";
  }
}

TEST_F(DocumentLifecycle, AForeignRootNeedsTheSubclass) {
  m_Document.m_PatientInfo.m_ID = u"as it was";
  m_Document.m_CompatibleResult = -5;
  EXPECT_EQ(Open("<OldLayout/>"), 1);
  EXPECT_EQ(m_Document.TakeCalls(), "compatible");
  EXPECT_EQ(m_Document.m_PatientInfo.m_ID, u"as it was");
  m_Document.m_CompatibleResult = 0;

  EXPECT_EQ(Open("<OldLayout/>"), 0);
  ASSERT_EQ(m_Document.GetLogCount(), 1);
  const ZAMLogEntry& entry = m_Document.GetLog(0);
  EXPECT_EQ(entry.m_Code, -2);
  EXPECT_EQ(entry.m_Text, u"Unknown XML file");
  EXPECT_EQ(entry.m_SourceFile, u"ZAMXMLFile");
  EXPECT_EQ(entry.m_Function, u"ZAMXMLFile::OnFileOpen");
  EXPECT_GT(entry.m_Line, 0);
  EXPECT_EQ(m_Log.GetLogCount(), 1) << "copied into the caller's log";

  ZAMXml tree;
  test::Load(tree, "<OldLayout/>");
  EXPECT_EQ(m_Document.OpenFromXML(tree, nullptr), 0);
  EXPECT_EQ(m_Document.GetLog(1).m_Function, u"ZAMXMLFile::OpenFromXML");
}

TEST_F(DocumentLifecycle, OpeningClosesWhatWasOpenEvenWhenItFails) {
  ASSERT_EQ(Open(test::DocumentBytes()), 1);
  ASSERT_EQ(m_Document.BeginModify(u"1", u"u", u"U"), 1);
  EXPECT_EQ(m_Document.Open(m_Folder.Path("missing").c_str(), &m_Log), 0);
  EXPECT_EQ(m_Document.IsOpened(), 0);
  EXPECT_TRUE(m_Document.m_strFilePath.IsEmpty());
  EXPECT_EQ(m_Document.m_PatientInfo.m_ID, u"");
  EXPECT_EQ(m_Document.CommitModify(), 0) << "an edit of one document cannot end in another";
}

TEST_F(DocumentLifecycle, OpenFromXmlCopiesTheTree) {
  ZAMXml tree;
  test::Load(tree, test::DocumentBytes(test::ThreeWeights()));
  ASSERT_EQ(Open(test::DocumentBytes()), 1);
  ASSERT_EQ(m_Document.BeginModify(u"1", u"u", u"U"), 1);
  ASSERT_EQ(m_Document.OpenFromXML(tree, &m_Log), 1);
  tree.Close();
  EXPECT_EQ(m_Document.Weight(), u"62");
  EXPECT_NE(m_Document.IsOpened(), 0);
  EXPECT_TRUE(m_Document.m_strFilePath.IsEmpty());
  EXPECT_NE(m_Document.m_pModification, nullptr) << "an open edit is left open";

  ZAMXml empty;
  EXPECT_EQ(m_Document.OpenFromXML(empty, &m_Log), 0);
  EXPECT_EQ(m_Document.Weight(), u"62") << "nothing was copied: the document is as it was";
  test::Load(tree, test::DocumentBytes({}, "StudyInfo"));
  EXPECT_EQ(m_Document.OpenFromXML(tree, &m_Log), 0);
  EXPECT_EQ(m_Document.IsOpened(), 0) << "a document read half-way is closed";
}

}  // namespace
