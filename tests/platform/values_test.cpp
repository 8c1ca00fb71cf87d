#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/tree.h"

namespace {

using std::string_literals::operator""s;

const char Holders[] =
    "<R><leaf/><plain>old</plain><blank> </blank><section>\n  "
    "<child/>\n</section><mixed>old<child/>"
    "<!-- c -->tail</mixed><data><![CDATA[old]]><!-- c --></data></R>";
const char16_t* const HolderNames[] = {u"leaf", u"plain", u"blank", u"section", u"mixed", u"data"};

_bstr_t TextOf(ZAMXml& xml, const char16_t* name) {
  _bstr_t text;
  EXPECT_EQ(xml.GetChildNodeText(xml.GetNode(u"R"), name, text), 1);
  return text;
}

_bstr_t AttributeOf(ZAMXml& xml, const char16_t* name, ZAMTextView attribute) {
  _bstr_t value;
  EXPECT_EQ(xml.GetChildNodeAttribute(xml.GetNode(u"R"), name, attribute, value), 1);
  return value;
}

void ExpectEverywhere(ZAMXml& xml, const _bstr_t& text, const char* when) {
  for (const char16_t* name : HolderNames) {
    EXPECT_TRUE(TextOf(xml, name) == text)
        << when << ": " << _bstr_t(name).utf8() << " holds "
        << TextOf(xml, name).utf8().substr(0, 80) << " instead of " << text.utf8().substr(0, 80);
    EXPECT_TRUE(AttributeOf(xml, name, u"x") == text) << when << ": " << _bstr_t(name).utf8();
  }
}

TEST(Values, RoundTrip) {
  const std::vector<std::u16string> texts = {u"",
                                             u" ",
                                             u"\n",
                                             u"\t",
                                             u"\r",
                                             u"\r\n",
                                             u"\n\r",
                                             u" \r ",
                                             u"  lead",
                                             u"trail \n",
                                             u"\r a \r",
                                             u"a\r\nb\tc",
                                             u"]]>",
                                             u"a]]>\r]]>b",
                                             u"\r]]>\r",
                                             u"]]>]]>",
                                             u"]]",
                                             u">",
                                             u"<&>\"'",
                                             u"&amp;",
                                             u"&#13;",
                                             u"<!-- -->",
                                             u"\u00E9\uAE40\u4E2D\U0001F600",
                                             u"\u0085\u2028\u007F\uFFFD"};
  for (const std::u16string& text : texts) {
    ZAMXml xml;
    test::Load(xml, Holders);
    const IXMLDOMNodePtr root = xml.GetNode(u"R");
    for (const char16_t* name : HolderNames) {
      EXPECT_EQ(xml.SetChildNodeText(root, name, text), 1);
      EXPECT_EQ(xml.SetChildNodeAttribute(root, name, u"x", text), 1);
    }
    EXPECT_EQ(xml.GetLogCount(), 0);
    ExpectEverywhere(xml, text, "set");
    ZAMXml reopened;
    test::Load(reopened, test::Saved(xml));
    ExpectEverywhere(reopened, text, "saved");
    for (ZAMXml* tree : {&xml, &reopened}) {
      for (const char16_t* name : HolderNames) {
        const IXMLDOMNodePtr holder = tree->GetNode(u"R/" + std::u16string(name));
        tree->AddChildNode(holder, u"late", u"own");
      }
    }
    ExpectEverywhere(xml, text, "with children");
    test::Load(reopened, test::Saved(xml));
    ExpectEverywhere(reopened, text, "with children, saved");
    for (const char16_t* name : HolderNames) {
      const IXMLDOMNodePtr holder = reopened.GetNode(u"R/" + std::u16string(name));
      EXPECT_EQ(reopened.RemoveChildNodeAll(holder, u"late"), 1);
      EXPECT_EQ(reopened.RemoveChildNodeAll(holder, u"child"), 1);
    }
    ExpectEverywhere(reopened, text, "children removed");
  }
}

TEST(Values, ManyMegabytes) {
  const std::u16string text = u"\r]]>\U0001F600 " + std::u16string(5 << 20, u'x') + u"]]>\r";
  ZAMXml xml;
  test::Load(xml, Holders);
  const IXMLDOMNodePtr root = xml.GetNode(u"R");
  xml.SetChildNodeText(root, u"leaf", text);
  xml.SetChildNodeText(root, u"section", text);
  xml.SetChildNodeAttribute(root, u"leaf", u"x", text);
  test::Load(xml, test::Saved(xml));
  EXPECT_TRUE(TextOf(xml, u"leaf").view() == text);
  EXPECT_TRUE(TextOf(xml, u"section").view() == text);
  EXPECT_TRUE(AttributeOf(xml, u"leaf", u"x").view() == text);
}

TEST(Values, RestoredTextKeepsBytes) {
  for (const char* original :
       {"<R><p>a<b/>c<!-- x --><![CDATA[d]]></p></R>", "<R><p><![CDATA[d]]></p></R>",
        "<R><p>a<!-- x -->b</p></R>", "<R><p>see <b>x</b> <i>y</i></p></R>", "<R><p/></R>",
        "<R>\n  <p>\n    <b/>\n    own\n    <c/>\n  </p>\n</R>", "<R><p><?i x?> a </p></R>",
        "<R><p><![CDATA[]]></p></R>", "<R><p><b/></p></R>", "<R><p> <b/><![CDATA[ ]]></p></R>"}) {
    ZAMXml xml;
    test::Load(xml, original);
    const IXMLDOMNodePtr root = xml.GetNode(u"R");
    const _bstr_t text = TextOf(xml, u"p");
    const int children = xml.GetNodeCount(root, u"p/b");
    for (const char16_t* other : {u"NEW", u"", u" ", u"again"}) {
      xml.SetChildNodeText(root, u"p", other);
      EXPECT_EQ(TextOf(xml, u"p"), _bstr_t(other)) << original;
      EXPECT_EQ(xml.GetNodeCount(root, u"p/b"), children) << original;
    }
    xml.SetChildNodeText(root, u"p", text);
    EXPECT_EQ(test::Saved(xml), original);
  }
}

TEST(Values, SurviveRemovedNeighbours) {
  const struct {
    const char* m_Document;
    const char16_t* m_Removed;
    const char* m_Saved;
  } rows[] = {
      {"<R><p><b/>a<b/>\n<c/></p></R>", u"b", "<R><p>a<c/></p></R>"},
      {"<R><p>a<b/>\n</p></R>", u"b", "<R><p>a</p></R>"},
      {"<R><p><![CDATA[a]]>\n <b/>\n</p></R>", u"b", "<R><p><![CDATA[a]]></p></R>"},
      {"<R><p>\n <b/>\n</p></R>", u"b", "<R><p/></R>"},
      {"<R><p>a<b/> b</p></R>", u"b", "<R><p>a b</p></R>"},
  };
  for (const auto& row : rows) {
    ZAMXml xml;
    test::Load(xml, row.m_Document);
    const _bstr_t text = TextOf(xml, u"p");
    xml.RemoveChildNodeAll(xml.GetNode(u"R/p"), row.m_Removed);
    EXPECT_EQ(TextOf(xml, u"p"), text) << row.m_Document;
    EXPECT_EQ(test::Saved(xml), row.m_Saved);
    xml.SetNodeText(xml.GetNode(u"R/p"), u"x");
    xml.AddChildNode(xml.GetNode(u"R/p"), row.m_Removed, nullptr);
    test::Load(xml, test::Saved(xml));
    EXPECT_EQ(TextOf(xml, u"p"), _bstr_t(u"x")) << row.m_Document;
  }
}

TEST(Values, RestoredTextTakesNoWhiteSpace) {
  ZAMXml xml;
  test::Load(xml, "<R><p><b/>a<c/>\n<d/></p></R>");
  const IXMLDOMNodePtr holder = xml.GetNode(u"R/p");
  xml.SetNodeText(holder, u"NEW");
  xml.RemoveChildNodeAll(holder, u"b");
  xml.RemoveChildNodeAll(holder, u"c");
  xml.AddChildNode(holder, u"e", nullptr);
  xml.SetNodeText(holder, u"a");
  test::Load(xml, test::Saved(xml));
  EXPECT_EQ(TextOf(xml, u"p"), _bstr_t(u"a"));
}

/// Of the texts on the way, only what could not be stored anew is remembered.
TEST(Values, RestoredTextForgetsBlanks) {
  for (const bool blankFirst : {true, false}) {
    ZAMXml xml;
    test::Load(xml, blankFirst ? "<R><p><![CDATA[ ]]></p></R>" : "<R><p/></R>");
    const IXMLDOMNodePtr holder = xml.GetNode(u"R/p");
    xml.SetNodeText(holder, u"a");
    xml.AddChildNode(holder, u"b", nullptr);
    xml.SetNodeText(holder, u"NEW");
    xml.SetNodeText(holder, u"a");
    EXPECT_EQ(test::Saved(xml), "<R><p>a<b/></p></R>");
  }
}

TEST(Values, MissingAndNull) {
  ZAMXml xml;
  test::Load(xml, "<R a=\"\"/>");
  const IXMLDOMNodePtr root = xml.GetNode(u"R");
  _bstr_t text(u"before");
  CString string(u"before");
  EXPECT_EQ(xml.GetChildNodeText(root, u"x", text), 0);
  EXPECT_EQ(xml.GetChildNodeText(root, u"x", string), 0);
  EXPECT_EQ(text.length() + string.view().size(), 0U);
  text = u"before";
  EXPECT_EQ(xml.GetNodeAttribute(root, u"x", text), 0);
  EXPECT_EQ(text.length(), 0U);
  EXPECT_EQ(xml.GetChildNodeAttribute(root, u"x", u"a", text), 0);
  EXPECT_EQ(xml.GetNodeAttribute(root, u"a", text), 1);
  EXPECT_EQ(xml.SetNodeAttribute(root, u"a", nullptr), 1);
  EXPECT_TRUE(xml.AddChildNode(root, u"null", nullptr));
  EXPECT_EQ(xml.SetChildNodeText(root, u"made/deep", u"t"), 1);
  EXPECT_EQ(xml.SetChildNodeAttribute(root, u"with", u"a", u"v"), 1);
  EXPECT_EQ(test::Saved(xml), "<R a=\"\"><null/><made><deep>t</deep></made><with a=\"v\"/></R>");
}

TEST(Values, UnstorableUnitsAreReplaced) {
  const struct {
    std::u16string m_Text;
    std::u16string m_Stored;
  } rows[] = {{u"a\x01z", u"a\uFFFDz"},          {u"\0"s, u"\uFFFD"},
              {u"\x0B\x1F", u"\uFFFD\uFFFD"},    {u"\xD83D", u"\uFFFD"},
              {u"\xDE00 ", u"\uFFFD "},          {u"\xD83D\xD83D\xDE00", u"\uFFFD\xD83D\xDE00"},
              {u"\xFFFE\xFFFF", u"\uFFFD\uFFFD"}};
  for (const auto& row : rows) {
    ZAMXml xml;
    test::Load(xml, Holders);
    const IXMLDOMNodePtr root = xml.GetNode(u"R");
    const std::function<int()> steps[] = {
        [&] { return xml.SetChildNodeText(root, u"section", row.m_Text); },
        [&] { return xml.SetChildNodeAttribute(root, u"section", u"x", row.m_Text); },
        [&] { return xml.AddChildNode(root, u"added", row.m_Text) ? 1 : 0; }};
    for (const auto& step : steps) {
      xml.ClearLog();
      EXPECT_EQ(step(), 1);
      ASSERT_EQ(xml.GetLogCount(), 1);
      EXPECT_EQ(xml.GetLog(0).m_Type, ZAM_LOG_TYPE_WARNING);
      EXPECT_EQ(xml.GetLog(0).m_Detail.utf8().find("R/"), 0U);
    }
    test::Load(xml, test::Saved(xml));
    EXPECT_EQ(TextOf(xml, u"section"), _bstr_t(row.m_Stored));
    EXPECT_EQ(TextOf(xml, u"added"), _bstr_t(row.m_Stored));
    EXPECT_EQ(AttributeOf(xml, u"section", u"x"), _bstr_t(row.m_Stored));
  }
}

TEST(Names, EscapedAndFoundAgain) {
  const struct {
    std::u16string m_Name;
    const char* m_Stored;
  } rows[] = {{u"Name", "Name"},
              {u"\uC774\uB984", "\xEC\x9D\xB4\xEB\xA6\x84"},
              {u"ns:name", "ns:name"},
              {u"_x0041_", "_x0041_"},
              {u"my_xray", "my_xray"},
              {u"", "_x_"},
              {u" ", "_x0020_"},
              {u"a b", "a_x0020_b"},
              {u"1st", "_x0031_st"},
              {u"-", "_x002D_"},
              {u"b[1]", "b_x005B_1_x005D_"},
              {u"<&>\"", "_x003C__x0026__x003E__x0022_"},
              {u"a_x b", "a_x005F_x_x0020_b"},
              {u"\U0001F600", "\xF0\x9F\x98\x80"},
              {u"\U0001F600 ", "\xF0\x9F\x98\x80_x0020_"},
              {u"\u00D7", "_x00D7_"},
              {u"a\x01", "a\xEF\xBF\xBD"},
              {u"n\0"s, "n\xEF\xBF\xBD"},
              {u"m\xD83D", "m\xEF\xBF\xBD"},
              {u"o\uFFFE ", "o\xEF\xBF\xBD_x0020_"}};
  ZAMXml xml;
  test::Load(xml, "<R><attributes/></R>");
  const IXMLDOMNodePtr root = xml.GetNode(u"R");
  int value = 0;
  for (const auto& row : rows) {
    const _bstr_t text(std::to_string(value++).c_str());
    const IXMLDOMNodePtr added = xml.AddChildNode(root, row.m_Name + u"/step", text);
    EXPECT_EQ(xml.GetNodeName(xml.GetChildNode(root, row.m_Name)).utf8(), row.m_Stored);
    EXPECT_EQ(xml.SetChildNodeAttribute(root, u"attributes", row.m_Name, text), 1);
    EXPECT_TRUE(xml.GetChildNode(root, row.m_Name + u"/step") == added) << row.m_Stored;
  }
  for (const bool reopened : {false, true}) {
    if (reopened) {
      test::Load(xml, test::Saved(xml));
    }
    value = 0;
    for (const auto& row : rows) {
      const _bstr_t text(std::to_string(value++).c_str());
      _bstr_t found;
      xml.GetChildNodeText(xml.GetNode(u"R"), row.m_Name + u"/step", found);
      EXPECT_EQ(found, text) << row.m_Stored;
      EXPECT_EQ(AttributeOf(xml, u"attributes", row.m_Name), text) << row.m_Stored;
    }
  }
}

TEST(Names, AgreeWithTheParser) {
  const auto tag = [](char32_t point, const char16_t* before) {
    const std::u16string pair = {static_cast<char16_t>(0xD7C0 + (point >> 10)),
                                 static_cast<char16_t>(0xDC00 + (point & 0x3FF))};
    return before + (point < 0x10000 ? std::u16string(1, static_cast<char16_t>(point)) : pair);
  };
  const auto document = [](const std::u16string& names) {
    return "<R>" + _bstr_t(names.c_str()).utf8() + "</R>";
  };
  for (const char16_t* before : {u"", u"n"}) {
    std::u16string names;
    std::vector<std::u16string> others;
    bool wasName = false;
    for (char32_t point = 0x21; point < 0x110000; point += point < 0xFFFF ? 1 : 0xFFF) {
      const bool isName = ZAMXml::IsName(tag(point, before)) != 0;
      const bool nextToNames = wasName || ZAMXml::IsName(tag(point + 1, before)) != 0;
      if (isName) {
        names += u'<' + tag(point, before) + u"/>";
      } else if ((nextToNames || point % 64 == 0) && (point < 0xD800 || point > 0xDFFF)) {
        others.push_back(u'<' + tag(point, before) + u"/>");
      }
      wasName = isName;
    }
    ZAMXml xml;
    EXPECT_NO_THROW(test::Load(xml, document(names)));
    for (const std::u16string& other : others) {
      EXPECT_THROW(test::Load(xml, document(other)), std::runtime_error) << document(other);
    }
  }
  for (const auto& none : {u""s, u"a b"s, u"a\xD83D"s, u"a\0"s, u"1"s}) {
    EXPECT_EQ(ZAMXml::IsName(none), 0);
  }
  EXPECT_EQ(ZAMXml::IsName(nullptr), 0);
}

TEST(Names, LongPathsStayOpenable) {
  const auto repeated = [](const std::u16string& step, int count) {
    std::u16string path = step;
    for (int i = 1; i < count; ++i) {
      path += u'/' + step;
    }
    return path;
  };
  for (const std::u16string& path : {repeated(u"s", 5000), repeated(u"", 5000), repeated(u"s", 256),
                                     repeated(u"a b", 257), u"a//b"s, u"/"s, u"control\x01/x"s}) {
    ZAMXml xml;
    test::Load(xml, "<R/>");
    EXPECT_TRUE(xml.AddChildNode(xml.GetNode(u"R"), path, u"v"));
    EXPECT_EQ(xml.SetChildNodeText(xml.GetNode(u"R"), path, u"w"), 1);
    test::Load(xml, test::Saved(xml));
    _bstr_t text;
    EXPECT_EQ(xml.GetChildNodeText(xml.GetNode(u"R"), path, text), 1);
    EXPECT_EQ(text, _bstr_t(u"w"));
    EXPECT_EQ(xml.GetNodeCount(xml.GetNode(u"R"), path), 1);
  }
}

TEST(Names, DepthIsBounded) {
  ZAMXml xml;
  test::Load(xml, "<R/>");
  IXMLDOMNodePtr node = xml.GetNode(u"R");
  for (int depth = 1; depth < 1000; ++depth) {
    node = xml.AddChildNode(node, u"d", nullptr);
    ASSERT_TRUE(node) << depth;
  }
  const std::string before = test::Saved(xml);
  EXPECT_FALSE(xml.AddChildNode(node, u"d", nullptr));
  EXPECT_EQ(xml.SetChildNodeText(node, u"d", u"text"), 0);
  ASSERT_EQ(xml.GetLogCount(), 1);
  EXPECT_NE(xml.GetLog(0).m_Detail.utf8().find("too deep"), std::string::npos);
  EXPECT_EQ(test::Saved(xml), before);
  EXPECT_NO_THROW(test::Load(xml, before));
}

}  // namespace
