#include "support/document.h"

namespace {

using DocumentHistory = test::DocumentTest;

TEST_F(DocumentHistory, FailedReadingKeepsTheList) {
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
