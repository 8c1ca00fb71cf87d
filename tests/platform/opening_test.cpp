#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "support/failing_calls.h"
#include "support/tree.h"

namespace {

using std::string_literals::operator""s;

std::string Nested(int depth, bool closed) {
  std::string bytes;
  for (int i = 0; i < depth; ++i) {
    bytes += "<a>";
  }
  for (int i = 0; closed && i < depth; ++i) {
    bytes += "</a>";
  }
  return bytes;
}

std::string Utf16(std::u16string_view units, bool bigEndian) {
  std::string bytes;
  for (const char16_t unit : units) {
    const char high = static_cast<char>(unit >> 8);
    const char low = static_cast<char>(unit & 0xFF);
    bytes += bigEndian ? high : low;
    bytes += bigEndian ? low : high;
  }
  return bytes;
}

/// A tree that holds a document; what cannot be opened must leave it as it is.
class OpeningTest : public testing::Test {
protected:
  OpeningTest() {
    test::WriteBytes(m_Folder.Path("held.xml"), "<R><Held>text</Held></R>");
    m_Xml.Open(m_Folder.Path("held.xml").c_str(), nullptr);
    m_Root = m_Xml.GetNode(u"R");
  }

  /// Opens a file that is refused; the reason that both logs give.
  std::string Refusal(const std::filesystem::path& path) {
    ZAMLog log;
    EXPECT_EQ(m_Xml.Open(path.c_str(), &log), 0);
    EXPECT_EQ(m_Xml.m_strFilePath, _bstr_t(m_Folder.Path("held.xml").c_str()));
    EXPECT_NE(m_Xml.IsOpened(), 0);
    _bstr_t held;
    EXPECT_EQ(m_Xml.GetChildNodeText(m_Root, u"Held", held), 1);
    EXPECT_EQ(held, _bstr_t(u"text"));
    if (log.GetLogCount() != 1 || m_Xml.GetLogCount() != 1 ||
        log.GetLog(0).m_Type != ZAM_LOG_TYPE_ERROR || log.GetLog(0).m_Code >= 0) {
      return "not logged";
    }
    EXPECT_EQ(m_Xml.GetLog(0).m_Detail, log.GetLog(0).m_Detail);
    return log.GetLog(0).m_Detail.utf8();
  }

  std::string RefusalOf(const std::string& bytes) {
    test::WriteBytes(m_Folder.Path("bad.xml"), bytes);
    return Refusal(m_Folder.Path("bad.xml"));
  }

  test::TemporaryFolder m_Folder;
  ZAMXml m_Xml;
  IXMLDOMNodePtr m_Root;
};

TEST_F(OpeningTest, BadBytesAreRefusedWithThePlace) {
  const struct {
    const char* m_What;
    std::string m_Bytes;
    const char* m_Reason;
  } rows[] = {
      {"empty", "", "line 1, column 1: "},
      {"no XML", "GIF89a", "line 1, column 1: "},
      {"white space before the declaration", " <?xml version=\"1.0\"?><a/>", "line 1, column 2: "},
      {"truncated", "<a>\n<b>text", "line 2, column "},
      {"truncated tag", "<a>\n <b x='", "line 2, column "},
      {"wrong end", "<a>\n<b></a>", "line 2, column 6: "},
      {"two roots", "<a/>\n<b/>", "line 2, column 1: "},
      {"text behind the root", "<a/>b", "line 1, column 5: "},
      {"a zero behind the root", "<a/>\0"s, "line 1, column 5: "},
      {"bad UTF-8", "<a>\xC3(</a>", "line 1, column 4: "},
      {"overlong UTF-8", "<a>\xC0\xAF</a>", "line 1, column 4: "},
      {"surrogate in UTF-8", "<a>\xED\xA0\x80</a>", "line 1, column 4: "},
      {"bad UTF-8 with a mark",
       "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>\xC3(</a>",
       "line 1, column "},
      {"undefined entity", "<a>\n\n &who; </a>", "line 3, column 2: "},
      {"document type", "<?xml version=\"1.0\"?>\n<!DOCTYPE a><a/>", "document type declaration"},
      {"entity", "<!DOCTYPE a [<!ENTITY e 'x'>]><a>&e;</a>", "document type declaration"},
      {"too deep by one", Nested(1001, true), "line 1, column 3004: "},
      {"too deep by far", Nested(100000, true), "line 1, column 3004: "},
      {"too deep and not closed", Nested(100000, false), "nested deeper than 1000"},
      {"attribute twice", "<a>\n<b x='1' x='2'/></a>", "line 2, column 10: "},
      {"control character", "<a>x\x01</a>", "line 1, column 5: "},
      {"zero", "<a>\0</a>"s, "line 1, column 4: "},
      {"control character by reference", "<a>&#1;</a>", "line 1, column 4: "},
      {"control character in an attribute", "<a x='\x02'/>", "line 1, column 7: "},
      {"U+FFFF", "<a>\xEF\xBF\xBF</a>", "line 1, column 4: "},
      {"raw < in an attribute", "<a x='<'/>", "line 1, column 7: "},
      {"]]> in a text", "<a>]]></a>", "line 1, column 6: "},
      {"other encoding", "<?xml version=\"1.0\" encoding=\"EUC-KR\"?><a/>", "unknown encoding"},
      {"other version", "<?xml version=\"1.1\"?><a/>", "line 1, column 1"},
      {"no ASCII", "<?xml version=\"1.0\" encoding=\"US-ASCII\"?><a>\xE9</a>", "column 45: "},
      {"UTF-8 that says UTF-16", "<?xml version=\"1.0\" encoding=\"UTF-16\"?><a/>", "encoding"},
      {"UTF-16 that says UTF-8",
       Utf16(u"\xFEFF<?xml version=\"1.0\" encoding=\"UTF-8\"?><a/>", true), "encoding"},
      {"lone lead", Utf16(u"\xFEFF<a>\xD83Dzz</a>", false), "line 1, column 5: "},
      {"lone lead in a comment", Utf16(u"\xFEFF<a><!--\xD83D--></a>", false), "line 1, column "},
      {"lone lead in an attribute", Utf16(u"\xFEFF<a x='\xD83D'/>", true), "line 1, column "},
      {"lone lead before an end", Utf16(u"\xFEFF<a>\xD83D</a></a>", false), "line 1, column "},
      {"lone trail", Utf16(u"\xFEFF<a>\xDE00</a>", true), "line 1, column 5: "},
      {"half a unit", Utf16(u"\xFEFF<a/>", true) + "\n", "line 1, column "},
  };
  for (const auto& row : rows) {
    const std::string reason = RefusalOf(row.m_Bytes);
    EXPECT_NE(reason.find(row.m_Reason), std::string::npos) << row.m_What << ": " << reason;
    EXPECT_NE(reason.find("bad.xml: "), std::string::npos) << reason;
  }
  test::Load(m_Xml, Nested(1000, true));
}

TEST_F(OpeningTest, WhatIsNoReadableFileIsRefused) {
  mkfifo(m_Folder.Path("pipe").c_str(), 0600);
  const struct {
    std::filesystem::path m_Path;
    const char* m_Reason;
  } rows[] = {{m_Folder.Path(""), "folder"},
              {m_Folder.Path("none.xml"), "No such file"},
              {m_Folder.Path("none/none.xml"), "No such file"},
              {m_Folder.Path("held.xml/x"), "Not a directory"},
              {m_Folder.Path("pipe"), "not a regular file"},
              {"/dev/zero", "not a regular file"},
              {"", "no path"}};
  for (const auto& row : rows) {
    const std::string reason = Refusal(row.m_Path);
    EXPECT_NE(reason.find(row.m_Reason), std::string::npos) << row.m_Path << ": " << reason;
  }
  using std::string_view_literals::operator""sv;
  const _bstr_t cut(_bstr_t(m_Folder.Path("held.xml").c_str()) + _bstr_t(u"\0.bak"sv));
  EXPECT_EQ(m_Xml.Open(cut, nullptr), 0);
}

TEST_F(OpeningTest, AFileWithoutPermissionIsRefused) {
  std::filesystem::permissions(m_Folder.Path(""), std::filesystem::perms(0755));
  test::WriteBytes(m_Folder.Path("closed.xml"), "<a/>");
  std::filesystem::permissions(m_Folder.Path("closed.xml"), std::filesystem::perms::none);
  EXPECT_EQ(test::Unprivileged([this] {
              return Refusal(m_Folder.Path("closed.xml")).find("Permission denied") !=
                             std::string::npos
                         ? 1
                         : 0;
            }),
            1);
}

TEST(Encodings, AreReadAndAlwaysWrittenAsUtf8) {
  const std::string mark = "\xEF\xBB\xBF";
  const std::string bytes = "<a x=\"\xC3\xA9\">\xC3\xBC</a>";
  const std::string wide = "<a x=\"\xC3\xA9\">\xC3\xBC\xF0\x9F\x98\x80</a>";
  const std::u16string units = u"<a x=\"\u00E9\">\u00FC\U0001F600</a>";
  const auto declared = [](const std::string& encoding) {
    return "<?xml version=\"1.0\" encoding=\"" + encoding + "\"?>";
  };
  const std::u16string declared16 = u"<?xml version=\"1.0\" encoding=\"UTF-16\"?>";
  const std::string utf8 = declared("UTF-8");
  const std::string latin = "<a x=\"\xE9\">\xFC\x85</a>";
  const struct {
    const char* m_What;
    std::string m_Bytes;
    std::string m_Saved;
  } rows[] = {
      {"plain", bytes, bytes},
      {"with a mark", mark + bytes, bytes},
      {"declared", declared("utf-8") + bytes, utf8 + bytes},
      {"declared, with a mark", mark + utf8 + bytes, utf8 + bytes},
      {"without encoding", "<?xml version='1.0' standalone='yes' ?>" + bytes,
       "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>" + bytes},
      {"a mark outranks the declaration", mark + declared("ISO-8859-1") + bytes, utf8 + bytes},
      {"little endian", Utf16(units, false), wide},
      {"big endian", Utf16(units, true), wide},
      {"little endian with a mark", Utf16(u"\xFEFF" + units, false), wide},
      {"big endian with a mark", Utf16(u"\xFEFF" + units, true), wide},
      {"little endian, declared", Utf16(declared16 + units, false), utf8 + wide},
      {"big endian with a mark, declared", Utf16(u"\xFEFF" + declared16 + units, true),
       utf8 + wide},
      {"Latin", declared("iso-8859-1") + latin, utf8 + "<a x=\"\xC3\xA9\">\xC3\xBC\xC2\x85</a>"},
      {"ASCII", declared("US-ASCII") + "<a>b</a>", utf8 + "<a>b</a>"},
      {"a reference", declared("US-ASCII") + "<a>&#128512;&#x0D;</a>",
       utf8 + "<a>\xF0\x9F\x98\x80&#13;</a>"},
  };
  for (const auto& row : rows) {
    ZAMXml xml;
    ASSERT_NO_THROW(test::Load(xml, row.m_Bytes)) << row.m_What;
    EXPECT_EQ(test::Saved(xml), row.m_Saved) << row.m_What;
  }
}

}  // namespace
