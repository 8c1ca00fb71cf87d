#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "support/shortage.h"
#include "support/tree.h"

namespace {

using std::string_literals::operator""s;
using std::string_view_literals::operator""sv;

TEST(Text, NullAndEmpty) {
  const _bstr_t null;
  const _bstr_t empty(u"");
  EXPECT_EQ(null.GetBSTR(), nullptr);
  EXPECT_EQ(empty.GetBSTR()[0], u'\0');
  EXPECT_EQ(null, empty);
  for (const auto& made : {_bstr_t(static_cast<const char16_t*>(nullptr)),
                           _bstr_t(static_cast<const wchar_t*>(nullptr)),
                           _bstr_t(static_cast<const char*>(nullptr)), _bstr_t(ZAMTextView())}) {
    EXPECT_TRUE(!made);
  }
  for (const auto& made : {_bstr_t(std::u16string_view()), _bstr_t(std::u16string()), _bstr_t(L""),
                           _bstr_t(""), _bstr_t(CString()), _bstr_t::FromUtf8({})}) {
    EXPECT_FALSE(!made);
  }
  EXPECT_TRUE(!(null + null));
  EXPECT_FALSE(!(null + empty));
}

TEST(Text, CopiesShareNoChange) {
  _bstr_t text(u"a\0b"sv);
  const _bstr_t copy(text);
  text += text;
  EXPECT_EQ(text.view(), u"a\0ba\0b"sv);
  EXPECT_EQ(copy.view(), u"a\0b"sv);
  CString string(copy);
  string += string;
  EXPECT_EQ(string.view(), text.view());
}

TEST(Text, BadUnitsAreReplaced) {
  const struct {
    std::string m_Bytes;
    std::u16string m_Units;
  } fromBytes[] = {{"\xE2\x82\xAC\xF0\x9F\x98\x80", u"\u20AC\U0001F600"},
                   {"a\0b"s, u"a\0b"s},
                   {"a\xFF", u"a\uFFFD"},
                   {"\xE2\x82", u"\uFFFD"},
                   {"\xC0\xAF/", u"\uFFFD/"},
                   {"\xED\xA0\x80", u"\uFFFD"},
                   {"\xF4\x90\x80\x80|", u"\uFFFD|"}};
  for (const auto& row : fromBytes) {
    EXPECT_EQ(_bstr_t::FromUtf8(row.m_Bytes).view(), row.m_Units) << row.m_Bytes;
  }
  const struct {
    std::u16string m_Units;
    const char* m_Bytes;
  } toBytes[] = {{u"\xD83D\xDE00", "\xF0\x9F\x98\x80"},
                 {u"a\xD83D", "a\xEF\xBF\xBD"},
                 {u"\xDE00z", "\xEF\xBF\xBDz"},
                 {u"\xD83D\xD83D\xDE00", "\xEF\xBF\xBD\xF0\x9F\x98\x80"},
                 {u"\x7F\x80\x7FF\x800\xFFFF", "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"}};
  for (const auto& row : toBytes) {
    EXPECT_EQ(_bstr_t(row.m_Units).utf8(), row.m_Bytes);
  }
  EXPECT_EQ(_bstr_t(L"\U0001F600\u00E9").view(), u"\U0001F600\u00E9");
  EXPECT_EQ(_bstr_t("\xC3\xA9").view(), u"\u00E9");
}

TEST(Text, ThreadsShareCopies) {
  const _bstr_t shared(u"shared by all");
  std::vector<std::thread> threads;
  std::vector<std::size_t> wrong(4);
  for (std::size_t i = 0; i < wrong.size(); ++i) {
    threads.emplace_back([copy = shared, &failures = wrong[i]] {
      for (int round = 0; round < 2000; ++round) {
        const _bstr_t other(copy);
        failures += other.length() == 13 ? 0 : 1;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrong, std::vector<std::size_t>(4));
}

TEST(Memory, TextsStay) {
  struct Texts {
    _bstr_t m_Text = u"kept";
    CString m_String = u"kept";
    ZAMArray<std::u16string> m_Array;
  };
  static const std::u16string longer(100, u'x');
  static const std::string bytes(100, '\xC3');
  void (*const steps[])(Texts&) = {[](Texts& texts) { texts.m_Text = _bstr_t(longer); },
                                   [](Texts& texts) { texts.m_Text += texts.m_Text; },
                                   [](Texts& texts) { texts.m_Text = bytes.c_str(); },
                                   [](Texts& texts) { texts.m_String += ZAMTextView(longer); },
                                   [](Texts& texts) { texts.m_Array.Add({}); }};
  for (const auto step : steps) {
    test::ForEachShortage([step](test::Shortage& shortage) {
      Texts texts;
      const int done = shortage.During([&] { return step(texts), 1; });
      EXPECT_NE(done == 1, shortage.Happened());
      EXPECT_TRUE(done == 1 || (texts.m_Text == u"kept" && texts.m_String == u"kept" &&
                                texts.m_Array.GetCount() == 0));
    });
  }
}

TEST(Array, RefusesBadIndexes) {
  ZAMArray<int> array;
  EXPECT_THROW(array.GetAt(0), CInvalidArgException);
  array.Add(7);
  for (const int index : {-1, 1, 1 << 30}) {
    EXPECT_THROW(array[index], CInvalidArgException);
    EXPECT_THROW(std::as_const(array).GetAt(index), CInvalidArgException);
    EXPECT_THROW(array.RemoveAt(index), CInvalidArgException);
  }
}

TEST(Array, RemovesAnywhere) {
  ZAMArray<std::string> array;
  std::vector<std::string> model;
  for (unsigned int step = 0; step < 3000; ++step) {
    const unsigned int choice = step * 2654435761U >> 16;
    if (model.empty() || choice % 5 < (step < 1500 ? 3U : 2U)) {
      model.push_back(std::to_string(step));
      EXPECT_EQ(array.Add(model.back()), static_cast<int>(model.size()) - 1);
    } else {
      const std::size_t index = choice % 3 == 0 ? choice % model.size() : 0;
      model.erase(model.begin() + static_cast<std::ptrdiff_t>(index));
      array.RemoveAt(static_cast<int>(index));
    }
    ASSERT_TRUE(std::equal(array.begin(), array.end(), model.begin(), model.end()));
    ASSERT_TRUE(model.empty() || array[array.GetCount() - 1] == model.back());
  }
}

}  // namespace
