#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "support/tree.h"

namespace {

/// Notes which hooks are called, and does as it is told.
class Recorder : public ZAMFile, public ZAMLog {
public:
  std::string m_Calls;
  int m_nResult = 1;
  bool m_Throws = false;

protected:
  void OnFileClose() override { m_Calls += "close "; }
  int OnFileNew(ZAMLog*) override { return Step("new "); }
  int OnFileOpen(const _bstr_t& path, ZAMLog*) override {
    return Step("open:" + path.utf8() + ' ');
  }
  int OnFileSave(const _bstr_t& path, ZAMLog*) override {
    return Step("save:" + path.utf8() + ' ');
  }

private:
  int Step(const std::string& call) {
    m_Calls += call;
    if (m_Throws) {
      throw _com_error(E_OUTOFMEMORY);
    }
    return m_nResult;
  }
};

TEST(File, FailedOpenCloses) {
  for (const bool throws : {false, true}) {
    Recorder file;
    EXPECT_EQ(file.Open(u"a", nullptr), 1);
    file.m_Calls.clear();
    file.m_nResult = 0;
    file.m_Throws = throws;
    if (throws) {
      EXPECT_THROW(std::ignore = file.Open(u"b", nullptr), _com_error);
    } else {
      EXPECT_EQ(file.Open(u"b", nullptr), 0);
    }
    EXPECT_EQ(file.m_Calls, "close open:b close ");
    EXPECT_EQ(file.IsOpened(), 0);
    EXPECT_TRUE(file.m_strFilePath.IsEmpty());
  }
}

TEST(File, HandsOnHookResults) {
  for (const int result : {7, -3}) {
    Recorder file;
    file.m_nResult = result;
    EXPECT_EQ(file.New(nullptr), result);
    EXPECT_EQ(file.Open(u"a", nullptr), result);
    EXPECT_EQ(file.Save(), result);
    EXPECT_EQ(file.SaveAs(u"b", nullptr), result);
    EXPECT_EQ(file.IsOpened(), 1);
    EXPECT_EQ(file.m_strFilePath, u"b");
  }
}

TEST(File, SuccessfulSaveAsSetsPath) {
  Recorder file;
  EXPECT_EQ(file.New(nullptr), 1);
  EXPECT_EQ(file.Save(), 0);
  EXPECT_EQ(file.m_Calls, "new ");
  ASSERT_EQ(file.GetLogCount(), 1);
  EXPECT_EQ(file.GetLog(0).m_Type, ZAM_LOG_TYPE_ERROR);
  EXPECT_EQ(file.SaveAs(u"a", nullptr), 1);
  file.m_nResult = 0;
  EXPECT_EQ(file.SaveAs(u"b", nullptr), 0);
  file.m_Throws = true;
  EXPECT_THROW(std::ignore = file.SaveAs(u"c", nullptr), _com_error);
  EXPECT_EQ(file.m_strFilePath, u"a");
  EXPECT_NE(file.IsOpened(), 0);
  file.m_Throws = false;
  file.m_nResult = 1;
  EXPECT_EQ(file.Save(), 1);
  EXPECT_TRUE(file.m_Calls.ends_with("save:a ")) << file.m_Calls;
  file.New(nullptr);
  EXPECT_TRUE(file.m_strFilePath.IsEmpty());
}

}  // namespace
