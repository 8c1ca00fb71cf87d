#include <gtest/gtest.h>

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

TEST(Log, OldestGoFirst) {
  ZAMLog two(2);
  RecordThree(two);
  EXPECT_EQ(TextsOf(two), (std::vector<std::string>{"two", "three"}));
  ZAMXml tree;
  RecordThree(tree);
  EXPECT_EQ(TextsOf(tree), (std::vector<std::string>{"three"}));
}

TEST(Log, CopyAppendsAndNotifies) {
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

}  // namespace
