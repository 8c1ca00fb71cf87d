#include "support/document.h"

namespace {

using DocumentHistory = test::DocumentTest;

TEST_F(DocumentHistory, MoveIsToldOnce) {
  ASSERT_EQ(Open(test::DocumentBytes(test::ThreeWeights())), 1);
  const std::string last = test::Saved(m_Document.m_Xml);
  for (const auto& [position, result] : {std::pair(-2, 0), {3, 0}, {2, 1}}) {
    EXPECT_EQ(m_Document._SetHistory(m_Document.m_Xml, position), result);
  }
  EXPECT_EQ(test::Saved(m_Document.m_Xml), last);
  for (const int position : {2, -2, 3, 0, 0, 2, 2, -1, 1, -1, 2}) {
    const bool there = position >= -1 && position < 3;
    EXPECT_EQ(m_Document.SetHistory(position), there ? 1 : 0);
    EXPECT_TRUE(!there || m_Document.m_nHistory == position);
  }
  EXPECT_EQ(m_Document.m_ShownWeights,
            (std::vector<std::string>{"60", "62", "58", "61", "58", "62"}));
  EXPECT_EQ(test::Saved(m_Document.m_Xml) + test::Entries(m_Document), last);
}

TEST_F(DocumentHistory, FailedReadingKeepsTheList) {
  ASSERT_EQ(Open(test::DocumentBytes(test::ThreeWeights())), 1);
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
