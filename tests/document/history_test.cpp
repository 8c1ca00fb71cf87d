#include <gtest/gtest.h>

#include "support/document.h"

namespace {

class DocumentHistory : public testing::Test {
protected:
  void Open(const std::string& bytes) {
    test::Load(m_Tree, bytes);
    ASSERT_EQ(m_Document.OpenFromXML(m_Tree, nullptr), 1);
    m_Document.TakeCalls();
  }

  ZAMXml m_Tree;
  test::Document m_Document;
};

TEST_F(DocumentHistory, EveryPositionIsShownOnceAndTold) {
  Open(test::DocumentBytes(test::ThreeWeights()));
  for (const int position : {0, 2, -1, 1, -1, 2}) {
    EXPECT_EQ(m_Document.SetHistory(position), 1);
    EXPECT_EQ(m_Document.m_nHistory, position);
    EXPECT_EQ(m_Document.GetHistoryCount(), 3);
  }
  EXPECT_EQ(m_Document.m_ShownWeights,
            (std::vector<std::string>{"60", "62", "58", "61", "58", "62"}));
}

TEST_F(DocumentHistory, RefusedAndShownPositionsTouchNothing) {
  Open(test::DocumentBytes(test::ThreeWeights()));
  const std::string before = test::Saved(m_Document.m_Xml);
  EXPECT_EQ(m_Document.SetHistory(-2), 0);
  EXPECT_EQ(m_Document.SetHistory(3), 0);
  EXPECT_EQ(m_Document.SetHistory(2), 1);
  EXPECT_EQ(m_Document.SetHistoryToLast(), 1);
  EXPECT_EQ(m_Document._SetHistory(m_Document.m_Xml, -2), 0);
  EXPECT_EQ(m_Document._SetHistory(m_Document.m_Xml, 3), 0);
  EXPECT_EQ(m_Document._SetHistory(m_Document.m_Xml, 2), 1);
  EXPECT_EQ(test::Saved(m_Document.m_Xml), before);
  EXPECT_EQ(m_Document.TakeCalls() + test::Entries(m_Document), "");

  Open(test::DocumentBytes());
  EXPECT_EQ(m_Document.SetHistoryToLast() + m_Document.SetHistoryToOriginal(), 2);
  EXPECT_EQ(m_Document.SetHistory(0), 0);
  EXPECT_EQ(m_Document.TakeCalls(), "");
}

TEST_F(DocumentHistory, AReadingThatFailsKeepsTheListAndTheNextMoveRepairs) {
  Open(test::DocumentBytes(test::ThreeWeights()));
  for (const char* failing : {"read-header", "read-list", "read-patient", "read-own"}) {
    SCOPED_TRACE(failing);
    m_Document.m_Failing = failing;
    m_Document.ClearLog();
    m_Document.TakeCalls();
    EXPECT_EQ(m_Document.SetHistory(0), 0);
    EXPECT_EQ(m_Document.TakeCalls().find("changed"), std::string::npos);
    ASSERT_EQ(m_Document.GetLogCount(), 1);
    EXPECT_EQ(m_Document.GetLog(0).m_Code, -2009);

    test::TemporaryFolder folder;
    const auto path = folder.Path("saved.xml");
    EXPECT_EQ(m_Document.SaveAs(path.c_str(), nullptr), 1);
    m_Document.m_Failing.clear();
    test::Document reopened;
    ASSERT_EQ(reopened.Open(path.c_str(), nullptr), 1);
    EXPECT_EQ(reopened.GetHistoryCount(), 3) << "nothing of the history is lost";
    EXPECT_EQ(reopened.SetHistoryToOriginal(), 1);
    EXPECT_EQ(reopened.Weight(), u"58") << "the file holds the original content";
    ASSERT_EQ(m_Document.SetHistory(0), 1);
    EXPECT_EQ(m_Document.Weight(), u"60");
    EXPECT_EQ(m_Document.SetHistory(2), 1);
  }
}

}  // namespace
