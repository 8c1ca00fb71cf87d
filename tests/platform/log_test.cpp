#include <gtest/gtest.h>

#include <set>
#include <sstream>
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
  const char* const expected[] = {"4 3 -2 one detail   0 1", "3 1 -3 two  source function 12 0",
                                  "2 2 0 three more   0 5"};
  ASSERT_EQ(log.GetLogCount(), 3);
  for (int i = 0; i < 3; ++i) {
    const ZAMLogEntry& entry = log.GetLog(i);
    std::ostringstream fields;
    fields << entry.m_Type << ' ' << entry.m_Category << ' ' << entry.m_Code << ' '
           << entry.m_Text.utf8() << ' ' << entry.m_Detail.utf8() << ' '
           << entry.m_SourceFile.utf8() << ' ' << entry.m_Function.utf8() << ' ' << entry.m_Line
           << ' ' << entry.m_Flag;
    EXPECT_EQ(fields.str(), expected[i]);
  }
  EXPECT_THROW(log.GetLog(-1), CInvalidArgException);
  EXPECT_THROW(log.GetLog(3), CInvalidArgException);
  log.ClearLog();
  EXPECT_EQ(log.GetLogCount(), 0);
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

TEST(Errors, HaveTheCodesThatHostsKnow) {
  EXPECT_EQ(static_cast<unsigned int>(E_POINTER), 0x80004003U);
  EXPECT_EQ(static_cast<unsigned int>(E_OUTOFMEMORY), 0x8007000EU);
  EXPECT_EQ(static_cast<unsigned int>(E_INVALIDARG), 0x80070057U);
}

}  // namespace
