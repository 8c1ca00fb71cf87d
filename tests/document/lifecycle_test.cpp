#include "support/document.h"

namespace {

using Lifecycle = test::DocumentTest;

TEST_F(Lifecycle, NewHasDefaultHeader) {
  const ZAMXMLDocumentInfo& header = m_Document.m_DocInfo;
  EXPECT_EQ(m_Document.IsOpened(), 0);
  EXPECT_EQ(header.m_Type + header.m_Author + header.m_Application,
            u"NAKESTRANE Co.,Ltd.KESTRANE ZAM");
  m_Document.SetDefaultDocInfo(u"ERGO", u"T", u"2.1", u"A", u"B");
  EXPECT_EQ(header.m_ID, u"UNKNOWN") << "the header changes at the next clearing";
  m_Document.m_PatientInfo.m_ID = u"left over";
  EXPECT_EQ(m_Document.New(&m_Log), 1);
  EXPECT_EQ(header.m_ID + m_Document.m_PatientInfo.m_ID, u"ERGO");
  EXPECT_FALSE(m_Document.m_Xml.GetNode(u"KESTRANE_ZAM"));
}

TEST_F(Lifecycle, OpenShowsLastStateAndStoredHeader) {
  auto changes = test::ThreeWeights();
  changes.push_back({"DocumentInfo/Type", "", "", "changed"});
  ASSERT_EQ(Open(test::DocumentBytes(changes)), 1) << test::Entries(m_Log);
  EXPECT_EQ(m_Document.TakeCalls(),
            "read-header read-list read-patient read-order read-study read-own");
  EXPECT_EQ(m_Document.GetHistoryCount(), 4);
  EXPECT_EQ(m_Document.m_nHistory, 3);
  EXPECT_EQ(m_Document.Weight() + m_Document.m_DocInfo.m_Type, u"62");
  EXPECT_EQ(m_Document.SetHistory(2) + m_Document.SetHistory(3), 2);
  EXPECT_EQ(m_Document.m_DocInfo.m_Type, u"changed");

  m_Document.Close();
  EXPECT_EQ(m_Document.Weight() + m_Document.m_StudyInfo.m_ID, u"");
  ASSERT_EQ(Open(test::DocumentBytes()), 1) << "a document is used again after Close";
  EXPECT_EQ(m_Document.GetHistoryCount() + m_Document.m_nHistory, -1);
}

TEST_F(Lifecycle, ForeignRootNeedsSubclass) {
  m_Document.m_PatientInfo.m_ID = u"as it was";
  m_Document.m_CompatibleResult = -5;
  EXPECT_EQ(Open("<OldLayout/>"), 1);
  EXPECT_EQ(m_Document.TakeCalls(), "compatible");
  EXPECT_EQ(m_Document.m_PatientInfo.m_ID, u"as it was");
  m_Document.m_CompatibleResult = 0;

  EXPECT_EQ(Open("<OldLayout/>"), 0);
  ASSERT_EQ(m_Document.GetLogCount(), 1);
  const ZAMLogEntry& entry = m_Document.GetLog(0);
  EXPECT_EQ(entry.m_Text + u" " + entry.m_SourceFile + u" " + entry.m_Function,
            u"Unknown XML file ZAMXMLFile ZAMXMLFile::OnFileOpen");
  EXPECT_EQ(entry.m_Code, -2);
  EXPECT_GT(entry.m_Line, 0);
  EXPECT_EQ(m_Log.GetLogCount(), 1) << "copied into the caller's log";

  ZAMXml tree;
  test::Load(tree, "<OldLayout/>");
  EXPECT_EQ(m_Document.OpenFromXML(tree, nullptr), 0);
  EXPECT_EQ(m_Document.GetLog(1).m_Function, u"ZAMXMLFile::OpenFromXML");
}

TEST_F(Lifecycle, MissingSectionIsNamed) {
  for (const std::string section : {"DocumentInfo", "PatientInfo", "OrderInfo", "StudyInfo"}) {
    const std::string told = "there is no element \"KESTRANE_ZAM/" + section + '"';
    m_Log.ClearLog();
    EXPECT_EQ(Open(test::DocumentBytes({}, section)), 0);
    ASSERT_EQ(m_Log.GetLogCount(), 1) << section;
    EXPECT_EQ(m_Log.GetLog(0).m_Detail.utf8(), m_Path.string() + ": " + told);
    ZAMXml tree;
    test::Load(tree, test::DocumentBytes({}, section));
    EXPECT_EQ(m_Document.OpenFromXML(tree, &m_Log), 0);
    EXPECT_EQ(m_Log.GetLog(1).m_Detail.utf8(), told);
  }
}

TEST_F(Lifecycle, FailedOpenCloses) {
  ASSERT_EQ(Open(test::DocumentBytes()), 1);
  ASSERT_EQ(m_Document.Begin(), 1);
  EXPECT_EQ(m_Document.Open(m_Folder.Path("missing").c_str(), &m_Log), 0);
  EXPECT_EQ(m_Document.IsOpened(), 0);
  EXPECT_TRUE(m_Document.m_strFilePath.IsEmpty());
  ASSERT_EQ(Open(test::DocumentBytes()), 1);
  EXPECT_EQ(m_Document.CommitModify(), 0) << "an edit of one document cannot end in another";
}

TEST_F(Lifecycle, OpenFromXmlCopies) {
  ZAMXml tree;
  test::Load(tree, test::DocumentBytes(test::ThreeWeights()));
  ASSERT_EQ(Open(test::DocumentBytes()), 1);
  ASSERT_EQ(m_Document.Begin(), 1);
  ASSERT_EQ(m_Document.OpenFromXML(tree, &m_Log), 1);
  tree.Close();
  EXPECT_EQ(m_Document.Weight(), u"62");
  EXPECT_TRUE(m_Document.m_strFilePath.IsEmpty());
  EXPECT_EQ(m_Document.CommitModify(), 1) << "an open edit is left open";
  EXPECT_EQ(m_Document.GetLogCount(), 2) << "and told of, each time";
  EXPECT_EQ(m_Document.Begin() + m_Document.CommitModify(), 2);
  EXPECT_EQ(m_Document.GetLogCount(), 2);

  ZAMXml empty;
  EXPECT_EQ(m_Document.OpenFromXML(empty, &m_Log), 0);
  EXPECT_EQ(m_Document.Weight(), u"62") << "nothing was copied: the document is as it was";
  test::Load(tree, test::DocumentBytes({}, "StudyInfo"));
  EXPECT_EQ(m_Document.OpenFromXML(tree, &m_Log), 0);
  EXPECT_EQ(m_Document.IsOpened(), 0) << "a document read half-way is closed";
}

TEST_F(Lifecycle, FailedReadingKeepsHistory) {
  ASSERT_EQ(Open(test::DocumentBytes(test::ThreeWeights())), 1);
  for (const int position : {-2, 3}) {
    EXPECT_EQ(m_Document._SetHistory(m_Document.m_Xml, position), 0);
  }
  for (const char* failing : {"read-header", "read-list", "read-patient", "read-own"}) {
    SCOPED_TRACE(failing);
    m_Document.m_Failing = failing;
    m_Document.ClearLog();
    m_Document.m_ShownWeights.clear();
    EXPECT_EQ(m_Document.SetHistory(0), 0);
    EXPECT_TRUE(m_Document.m_ShownWeights.empty());
    ASSERT_EQ(m_Document.GetLogCount(), 1);
    EXPECT_EQ(m_Document.GetLog(0).m_Code, -2009);

    EXPECT_EQ(m_Document.Save(), 1);
    EXPECT_EQ(Stored(u"PatientInfo/Weight"), "58");
    m_Document.m_Failing.clear();
    test::Document reopened;
    ASSERT_EQ(reopened.Open(m_Path.c_str(), nullptr), 1);
    EXPECT_EQ(reopened.GetHistoryCount(), 3);
    ASSERT_EQ(m_Document.SetHistory(0), 1);
    EXPECT_EQ(m_Document.Weight(), u"60");
    EXPECT_EQ(m_Document.SetHistory(2), 1);
  }
}

}  // namespace
