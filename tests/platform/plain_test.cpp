#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string>

#include "support/tree.h"

namespace {

/// What opening gives: the bytes as which the document is saved, or why it is refused.
std::string Outcome(const std::filesystem::path& path, std::string_view bytes) {
  test::WriteBytes(path, bytes);
  ZAMXml xml;
  ZAMLog log;
  if (xml.Open(path.c_str(), &log) != 0) {
    return test::Saved(xml);
  }
  return log.GetLog(0).m_Detail.utf8();
}

std::string Document(std::mt19937& random) {
  static const std::string pieces[] = {"<b>",
                                       "<b>",
                                       "<b>",
                                       "</b>",
                                       "</b >",
                                       "</b>",
                                       "<c/>",
                                       "<_-.1 />",
                                       "<d\ny = '\"\t\n&#10;>]]>'/>",
                                       "<d y=\"&lt;'\" z=''/>",
                                       "text",
                                       " ",
                                       "\n\t",
                                       "\n",
                                       "\"quoted'",
                                       "&amp;&#9;",
                                       "&#13;",
                                       "&gt;",
                                       "]]",
                                       std::string(70, '>'),
                                       std::string(150, 'x'),
                                       "\xEA\xB0\x80",
                                       "\xEF\xBC\xA1",
                                       "<![CDATA[ <b>&]] ]]>",
                                       "<![CDATA[]]>",
                                       "<!-- a-b > -->",
                                       "<!---->"};
  static const std::string seldom[] = {"]]>",
                                       "<?p q?>",
                                       "\r\n",
                                       "\r",
                                       "&#65;",
                                       "&unknown;",
                                       "&",
                                       "\xEF\xBF\xBE",
                                       "\x01",
                                       "<d y='<'/>",
                                       "<d y='1' y='2'/>",
                                       "<d y/>",
                                       "<d y='1'z='2'/>",
                                       "<!-- a--b -->",
                                       "<e:f e:g=''/>",
                                       "</c>",
                                       "<\xEA\xB0\x80/>",
                                       "<1/>",
                                       "<",
                                       "<!DOCTYPE b>",
                                       "\x7F",
                                       "<d y='\r'/>",
                                       "<d y='\xEF\xBF\xBF'/>",
                                       "<d a='' b='' c='' d='' e='' f='' g='' h='' i=''/>",
                                       "<![CDATA[\x02]]>",
                                       "<!--\xEF\xBF\xBF-->"};
  std::string bytes = random() % 2 != 0 ? "<?xml version='1.0'?>\n<!-- c -->\n<a>" : "<a>";
  int open = 0;
  for (auto count = random() % 30; count > 0; --count) {
    const std::string& piece = random() % 50 == 0 ? seldom[random() % std::size(seldom)]
                                                  : pieces[random() % std::size(pieces)];
    open += piece == "<b>" ? 1 : piece.starts_with("</b") ? -1 : 0;
    bytes += open < 0 ? "" : piece;
    open = std::max(open, 0);
  }
  for (; open > 0; --open) {
    bytes += "</b>";
  }
  return bytes + (random() % 40 == 0 ? "</x>" : "</a>") +
         (random() % 2 != 0 ? "\n <!-- d -->\n" : "");
}

// UTF-16 is never read on the short way.
TEST(PlainDocuments, AreReadLikeAllOthers) {
  const test::TemporaryFolder folder(test::TemporaryFolder::Medium::Memory);
  const auto path = folder.Path("document.xml");
  std::mt19937 random(1);
  int opened = 0;
  constexpr int Count = 3000;
  for (int i = 0; i < Count; ++i) {
    const std::string bytes = Document(random);
    const std::string outcome = Outcome(path, bytes);
    ASSERT_EQ(outcome, Outcome(path, test::Utf16(u"\xFEFF" + _bstr_t(bytes)))) << bytes;
    opened += outcome.starts_with('<') ? 1 : 0;
  }
  EXPECT_GT(opened, Count / 2);
  EXPECT_LT(opened, Count - Count / 10);
}

}  // namespace
