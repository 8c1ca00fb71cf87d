#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "support/tree.h"

namespace {

class Listener : public ZAMLogger {
public:
  void OnLog(const ZAMLogEntry& entry) override { m_Heard.push_back(entry.m_Text.utf8()); }
  std::vector<std::string> m_Heard;
};

std::vector<std::string> TextsOf(const ZAMLog& log) {
  std::vector<std::string> texts;
  for (int i = 0; i < log.GetLogCount(); ++i) {
    texts.push_back(log.GetLog(i).m_Text.utf8());
  }
  return texts;
}

void RecordThree(ZAMLog& log) {
  log.SetLog(ZAM_LOG_TYPE_FATAL, ZAM_LOG_CATEGORY_DOCUMENT, -2, u"one", u"detail", 1);
  log.SetLog_ZAMError(ZAM_LOG_CATEGORY_FILE, -3, u"two", u"source", u"function", 12, 0);
  log.SetLog_Warring(ZAM_LOG_CATEGORY_XML, u"three", u"more", 5);
}

TEST(Log, KeepsEveryFieldInOrder) {
  ZAMLog log;
  RecordThree(log);
  ASSERT_EQ(TextsOf(log), (std::vector<std::string>{"one", "two", "three"}));
  const ZAMLogEntry& entry = log.GetLog(0);
  EXPECT_EQ(entry.m_Type, ZAM_LOG_TYPE_FATAL);
  EXPECT_EQ(entry.m_Category, ZAM_LOG_CATEGORY_DOCUMENT);
  EXPECT_EQ(entry.m_Code, -2);
  EXPECT_EQ(entry.m_Detail, _bstr_t(u"detail"));
  EXPECT_EQ(entry.m_Flag, 1);
  const ZAMLogEntry& error = log.GetLog(1);
  EXPECT_EQ(error.m_Type, ZAM_LOG_TYPE_ERROR);
  EXPECT_EQ(error.m_Category, ZAM_LOG_CATEGORY_FILE);
  EXPECT_EQ(error.m_Code, -3);
  EXPECT_EQ(error.m_SourceFile, _bstr_t(u"source"));
  EXPECT_EQ(error.m_Function, _bstr_t(u"function"));
  EXPECT_EQ(error.m_Line, 12);
  const ZAMLogEntry& warning = log.GetLog(2);
  EXPECT_EQ(warning.m_Type, ZAM_LOG_TYPE_WARNING);
  EXPECT_EQ(warning.m_Category, ZAM_LOG_CATEGORY_XML);
  EXPECT_EQ(warning.m_Detail, _bstr_t(u"more"));
  EXPECT_EQ(warning.m_Flag, 5);
  EXPECT_THROW(log.GetLog(-1), CInvalidArgException);
  EXPECT_THROW(log.GetLog(3), CInvalidArgException);
  log.ClearLog();
  EXPECT_THROW(log.GetLog(0), CInvalidArgException);
}

TEST(Log, TheOldestEntriesGoFirst) {
  ZAMLog two(2);
  RecordThree(two);
  EXPECT_EQ(TextsOf(two), (std::vector<std::string>{"two", "three"}));
  ZAMLog usual;
  for (int i = 0; i < ZAMLog::DefaultCapacity + 5; ++i) {
    usual.SetLog_Warring(0, _bstr_t(std::to_string(i).c_str()), {}, 0);
  }
  EXPECT_EQ(usual.GetLogCount(), ZAMLog::DefaultCapacity);
  EXPECT_EQ(usual.GetLog(0).m_Text, _bstr_t(u"5"));
  ZAMXml tree;
  RecordThree(tree);
  EXPECT_EQ(TextsOf(tree), (std::vector<std::string>{"three"}));
}

TEST(Log, CopiesAppendAndReachTheTargetsLogger) {
  ZAMLog source;
  ZAMLog target(4);
  Listener listener;
  RecordThree(source);
  target.SetLog_Warring(0, u"before", {}, 0);
  target.SetLogger(&listener);
  source.SafeLogCopy(nullptr);
  source.SafeLogCopy(&source);
  EXPECT_EQ(source.GetLogCount(), 3);
  source.SafeLogCopy(&target);
  EXPECT_EQ(TextsOf(target), (std::vector<std::string>{"before", "one", "two", "three"}));
  target.SetLogger(nullptr);
  source.SafeLogCopy(&target);
  EXPECT_EQ(TextsOf(target), (std::vector<std::string>{"three", "one", "two", "three"}));
  EXPECT_EQ(listener.m_Heard, TextsOf(source));
}

TEST(ErrorString, HasASentenceForEachCodeAndNamesAnyOther) {
  std::set<std::string> sentences;
  for (const int code : {-2, -1002, -2003, -2009}) {
    const std::string sentence = ZAMGF::ZAMErrorString(code).utf8();
    EXPECT_EQ(sentence.find(std::to_string(code)), std::string::npos) << sentence;
    EXPECT_TRUE(sentence.ends_with('.')) << sentence;
    sentences.insert(sentence);
  }
  EXPECT_EQ(sentences.size(), 4U);
  for (const int code : {0, 5, -77, -2147483647 - 1}) {
    const std::string sentence = ZAMGF::ZAMErrorString(code).utf8();
    EXPECT_NE(sentence.find(std::to_string(code)), std::string::npos) << sentence;
  }
}

TEST(Errors, AreStandardExceptionsWithTheirCodes) {
  EXPECT_EQ(static_cast<unsigned int>(E_POINTER), 0x80004003U);
  EXPECT_EQ(static_cast<unsigned int>(E_OUTOFMEMORY), 0x8007000EU);
  EXPECT_EQ(static_cast<unsigned int>(E_INVALIDARG), 0x80070057U);
  EXPECT_THROW(throw _com_error(E_POINTER), std::exception);
  EXPECT_THROW(throw CInvalidArgException(), std::exception);
  EXPECT_STRNE(_com_error(E_POINTER).what(), _com_error(E_OUTOFMEMORY).what());
}

}  // namespace
