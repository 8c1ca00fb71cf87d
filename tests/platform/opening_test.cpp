#include <gtest/gtest.h>
#include <sys/stat.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

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

std::string WithAttributes(int count) {
  std::string bytes = "<e";
  for (int i = 0; i < count; ++i) {
    bytes += " a" + std::to_string(i) + "=''";
  }
  return bytes + "/>";
}

/// A tree that holds a document; what cannot be opened must leave it as it is.
class Opening : public testing::Test {
protected:
  Opening() {
    test::WriteBytes(m_Folder.Path("held.xml"), "<R><Held>text</Held></R>");
    EXPECT_EQ(m_Xml.Open(m_Folder.Path("held.xml").c_str(), nullptr), 1);
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

TEST_F(Opening, BadBytesAreRefused) {
  const std::string mark = "\xEF\xBB\xBF";
  const std::string cdata = "<a><![CDATA[" + std::string(5000, 'x');
  const struct {
    std::string m_Bytes;
    const char* m_Reason;
  } rows[] = {
      {"", "line 1, column 1: "},
      {"GIF89a", "line 1, column 1: "},
      {"<!-- only --> ", "line 1, column 15: "},
      // The end comes too early.
      {"<", "line 1, column 2: "},
      {"<a>\n<b>text", "line 2, column 8: "},
      {"<a>\r\n <b x='", "line 2, column 8: "},
      {"<a></a", "line 1, column 7: "},
      {cdata, "line 1, column "},
      {"<a/><!-- ", "line 1, column "},
      {"<?xml version=\"1.0\"", "line 1, column 20: "},
      // Tags.
      {"<a>\n<b></a>", "line 2, column 4: "},
      {"<a></a></b>", "line 1, column 8: "},
      {"<a b=c/>", "line 1, column 6: "},
      {"<a b='1'c='2'/>", "line 1, column 9: "},
      {"<a b=\"<\"/>", "line 1, column 7: "},
      {"<a>\n<b x='1' x='2'/></a>", "line 2, column 1: "},
      {"<1/>", "line 1, column 2: "},
      {"<a 1='2'/>", "line 1, column 4: "},
      {"< a/>", "line 1, column 2: "},
      // Outside the root element.
      {"<a/>\n<b/>", "line 2, column 1: "},
      {"<a/>b", "line 1, column 5: "},
      {"<a/>&#32;", "line 1, column 5: "},
      {"<a/>\0"s, "line 1, column 5: "},
      {"<!DOCTYPE a><a/>", "line 1, column 1: a document type"},
      {"<?p?>\n<!DOCTYPE a [<!ENTITY e 'x'>]><a>&e;</a>", "line 2, column 1: a document type"},
      {"<!DOCTYPE a SYSTEM 'file:///etc/hostname'><a/>", "a document type"},
      {"<a/><!DOCTYPE a>", "line 1, column 5: "},
      // Comments, instructions, sections, texts.
      {"<a><!-- -- --></a>", "line 1, column "},
      {"<a><!-- ---></a>", "line 1, column "},
      {"<a><?xml version='1.0'?></a>", "line 1, column 4: "},
      {"<a>text]]></a>", "line 1, column 8: "},
      {"<![CDATA[]]><a/>", "line 1, column 2: "},
      // References.
      {"<a>\n\n &who; </a>", "line 3, column 2: "},
      {"<a>x & y</a>", "line 1, column "},
      {"<a>&lt</a>", "line 1, column 4: "},
      {"<a b='&who;'/>", "line 1, column 7: "},
      {"<a>&#1;</a>", "line 1, column 4: "},
      {"<a>&#xD800;</a>", "line 1, column 4: "},
      {"<a>&#x110000;</a>", "line 1, column 4: "},
      {"<a>&#4294967361;</a>", "line 1, column 4: "},
      // Characters.
      {"<a>x\x01</a>", "line 1, column 5: "},
      {"<a>\0</a>"s, "line 1, column 4: a zero"},
      {"<a x='\x02'/>", "line 1, column 7: "},
      {"<a>\xEF\xBF\xBF</a>", "line 1, column 4: "},
      {"<a><![CDATA[\x0B]]></a>", "line 1, column 13: "},
      {"<a>\xC3(</a>", "line 1, column 4: "},
      {"<a>\xE4\xB8\xAD\xC0\xAF</a>", "line 1, column 5: "},
      {"<a>\xED\xA0\x80</a>", "line 1, column 4: "},
      {"<a>\xF4\x90\x80\x80</a>", "line 1, column 4: "},
      {"<a><!--\xFF--></a>", "line 1, column 8: "},
      {"<a/>\xE4\xB8", "line 1, column 5: "},
      {mark + mark + "<a/>", "line 1, column 1: "},
      {mark + "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>\xE9</a>", "line 1, column 47: "},
      // Declarations.
      {" <?xml version=\"1.0\"?><a/>", "line 1, column 2: "},
      {"<?xml version=\"1.1\"?><a/>", "line 1, column 7: only XML 1.0"},
      {"<?xml encoding=\"UTF-8\"?><a/>", "line 1, column 7: only XML 1.0"},
      {"<?xml version=\"1.0\" encoding=\"\"?><a/>", "line 1, column 21: "},
      {"<?xml version=\"1.0\" encoding=\"UTF-8\"standalone=\"yes\"?><a/>", "line 1, column 37: "},
      {"<?xml version=\"1.0\" standalone=\"y\"?><a/>", "line 1, column 21: "},
      {"<?xml version=\"1.0\"?><?xml version=\"1.0\"?><a/>", "line 1, column 22: "},
      // Encodings.
      {"<?xml version=\"1.0\" encoding=\"x-none\"?><a/>",
       "column 31: the encoding x-none is unknown"},
      {"<?xml version=\"1.0\" encoding=\"UTF-8//IGNORE\"?><a/>", "line 1, column 21: "},
      {"<?xml version=\"1.0\" encoding=\"UTF-16\"?><a/>", "line 1, column 1: "},
      {"<?xml version=\"1.0\" encoding=\"IBM037\"?><a/>", "line 1, column 1: "},
      {"<?xml version=\"1.0\" encoding=\"US-ASCII\"?><a>\xE9</a>", "line 1, column 45: "},
      {"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><\xAA/>", "line 1, column 45: "},
      {"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a\xB5\xBA/>", "line 1, column "},
      {"<?xml version=\"1.0\" encoding=\"EUC-KR\"?>\n<a>\xB1\xE8\xFF</a>", "line 2, column 5: "},
      {"<?xml version=\"1.0\" encoding=\"Shift_JIS\"?><a/>\x8E", "line 1, column 47: "},
      {test::Utf16(u"\xFEFF<a>\xD83Dzz</a>", false), "line 1, column 4: "},
      {test::Utf16(u"\xFEFF<a><!--\xD83D--></a>", false), "line 1, column 8: "},
      {test::Utf16(u"\xFEFF<a x='\xD83D'/>", true), "line 1, column 7: "},
      {test::Utf16(u"<a>\n\xDE00</a>", true), "line 2, column 1: "},
      {test::Utf16(u"\xFEFF<a/>", true) + "\n", "line 1, column 5: "},
      {test::Utf16(u"<a/>\0"s, true), "line 1, column 5: a zero"},
      // Bounds.
      {Nested(1001, true), "line 1, column 3001: "},
      {Nested(100000, false), "line 1, column 3001: "},
      {"<a>\n" + WithAttributes(1001) + "</a>", "line 2, column 1: "},
      {WithAttributes(200000), "line 1, column 1: "},
      {"<a b='" + std::string(6000, 'x'), "line 1, column "},
      {"<a b='" + std::string(6000, 'x') + "<c/></a>", "line 1, column 6007: "},
  };
  for (const auto& row : rows) {
    const std::string reason = RefusalOf(row.m_Bytes);
    EXPECT_NE(reason.find("bad.xml: line "), std::string::npos) << reason;
    EXPECT_NE(reason.find(row.m_Reason), std::string::npos) << row.m_Bytes << ": " << reason;
    EXPECT_EQ(reason.find_first_of("\r\n"), std::string::npos) << reason;
  }
  ZAMXml largest;
  test::Load(largest, Nested(999, true).insert(3 * 999, WithAttributes(1000)));
  EXPECT_EQ(largest.SetNodeAttribute(largest.GetNode(u"a"), u"x", u""), 1);
  const std::string tags = WithAttributes(1001) + WithAttributes(1001);
  test::Load(largest, "<a><!--" + tags + "--><?p " + tags + "?><![CDATA[" + tags + "]]></a>");
}

TEST_F(Opening, UnreadableFilesAreRefused) {
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

TEST_F(Opening, PermissionIsRefused) {
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

TEST(Encodings, SavedAsUtf8) {
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
      {"little endian", test::Utf16(units, false), wide},
      {"big endian", test::Utf16(units, true), wide},
      {"little endian with a mark", test::Utf16(u"\xFEFF" + units, false), wide},
      {"big endian with a mark", test::Utf16(u"\xFEFF" + units, true), wide},
      {"little endian, declared", test::Utf16(declared16 + units, false), utf8 + wide},
      {"big endian with a mark, declared", test::Utf16(u"\xFEFF" + declared16 + units, true),
       utf8 + wide},
      {"UTF-16 that says UTF-8",
       test::Utf16(u"\xFEFF<?xml version='1.0' encoding='UTF-8'?><a/>", true), utf8 + "<a/>"},
      {"Latin", declared("iso-8859-1") + latin, utf8 + "<a x=\"\xC3\xA9\">\xC3\xBC\xC2\x85</a>"},
      {"ASCII", declared("US-ASCII") + "<a>b</a>", utf8 + "<a>b</a>"},
      {"Latin names", declared("ISO-8859-1") + "<\xD8\xB7 \xD8\xB7='\xD7\xAA'/>",
       utf8 + "<\xC3\x98\xC2\xB7 \xC3\x98\xC2\xB7=\"\xC3\x97\xC2\xAA\"/>"},
      {"names of the fifth edition", "<\xC4\xB2\xE2\xB0\x80\xF0\x90\x80\x80 \xE2\x81\xB0=''/>",
       "<\xC4\xB2\xE2\xB0\x80\xF0\x90\x80\x80 \xE2\x81\xB0=\"\"/>"},
      {"Korean", declared("EUC-KR") + "<\xB1\xE8>\xB9\xCE\xC1\xD8</\xB1\xE8>",
       utf8 + "<\xEA\xB9\x80>\xEB\xAF\xBC\xEC\xA4\x80</\xEA\xB9\x80>"},
      {"Japanese", declared("Shift_JIS") + "<a>\x8E\x52\xB1</a>",
       utf8 + "<a>\xE5\xB1\xB1\xEF\xBD\xB1</a>"},
      {"Chinese", declared("gb18030") + "<a>\xD6\xD0\x94\x39\xFC\x36</a>",
       utf8 + "<a>\xE4\xB8\xAD\xF0\x9F\x98\x80</a>"},
      {"Windows", declared("windows-1252") + "<a>\x80\x85\xE9</a>",
       utf8 + "<a>\xE2\x82\xAC\xE2\x80\xA6\xC3\xA9</a>"},
      {"blanks by reference",
       declared("KOI8-R") + "<a b='&#9;&#10;&#13; \t\r\n'>&#13;&#38;#13;</a>",
       utf8 + "<a b=\"&#9;&#10;&#13;   \">&#13;&amp;#13;</a>"},
      {"a reference", declared("US-ASCII") + "<a>&#128512;&#x0D;</a>",
       utf8 + "<a>\xF0\x9F\x98\x80&#13;</a>"},
  };
  for (const auto& row : rows) {
    ZAMXml xml;
    ASSERT_NO_THROW(test::Load(xml, row.m_Bytes)) << row.m_What;
    EXPECT_EQ(test::Saved(xml), row.m_Saved) << row.m_What;
    ASSERT_NO_THROW(test::Load(xml, row.m_Saved)) << row.m_What;
    EXPECT_EQ(test::Saved(xml), row.m_Saved) << row.m_What;
  }
}

TEST_F(Opening, ManyThreads) {
  const std::string good = "<R a='1'>" + std::string(3000, 'x') + "<b/>&amp;</R>";
  const auto open = [&good] {
    for (int i = 0; i < 50; ++i) {
      ZAMXml xml;
      test::Load(xml, good);
      EXPECT_EQ(xml.GetNodeCount(xml.GetNode(u"R"), u"b"), 1);
      EXPECT_THROW(test::Load(xml, good + '<'), std::runtime_error);
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back(open);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

}  // namespace
