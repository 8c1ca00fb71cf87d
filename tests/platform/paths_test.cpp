#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "support/tree.h"

namespace {

/// Texts of all matches of a path, found by walking the tree element by element.
void Collect(ZAMXml& xml, const IXMLDOMNodePtr& node, std::u16string_view path,
             std::vector<std::string>& texts) {
  const auto separator = path.find(u'/');
  for (IXMLDOMNodePtr child = xml.GetFirstChildNode(node); child; child = xml.GetNextNode(child)) {
    if (xml.GetNodeName(child).view() != path.substr(0, separator)) {
      continue;
    }
    if (separator != std::u16string_view::npos) {
      Collect(xml, child, path.substr(separator + 1), texts);
      continue;
    }
    _bstr_t text;
    xml.GetNodeText(child, text);
    texts.push_back(text.utf8());
  }
}

void ExpectMatches(ZAMXml& xml, const IXMLDOMNodePtr& root, const char16_t* path,
                   std::mt19937& random) {
  std::vector<std::string> texts;
  Collect(xml, root, path, texts);
  const int count = static_cast<int>(texts.size());
  EXPECT_EQ(xml.GetNodeCount(root, path), count) << _bstr_t(path).utf8();
  std::vector<int> order(texts.size());
  std::iota(order.begin(), order.end(), 0);
  for (int round = 0; round < 2; ++round, std::shuffle(order.begin(), order.end(), random)) {
    for (const int i : order) {
      _bstr_t text;
      ASSERT_EQ(xml.GetChildNodeText(root, path, text, i), 1) << i;
      ASSERT_EQ(text.utf8(), texts[static_cast<std::size_t>(i)]) << i;
    }
  }
  for (const int outside : {-1, count, count + 1, 1 << 30}) {
    EXPECT_FALSE(xml.GetChildNode(root, path, outside)) << outside;
  }
}

TEST(Paths, IndexCountsWholePath) {
  std::mt19937 random(1);
  for (const int size : {3, 40, 100}) {
    std::string bytes = "<R><?a x?>";
    int value = 0;
    for (int i = 0; i < size; ++i) {
      bytes += "<a>";
      for (auto parts = random() % 3; parts > 0; --parts) {
        bytes += "<b>" + std::to_string(value) + "<!--b--><c>" + std::to_string(value + 1) +
                 "</c></b><other/>";
        value += 2;
      }
      bytes += "</a> <a/><!-- a --><x>" + std::to_string(value++) + "</x>";
    }
    ZAMXml xml;
    test::Load(xml, bytes + "</R>");
    const IXMLDOMNodePtr root = xml.GetNode(u"R");
    for (int round = 0; round < 3; ++round) {
      for (const char16_t* path :
           {u"a", u"x", u"a/b", u"a/b/c", u"a/other", u"a/none", u"none/b"}) {
        ExpectMatches(xml, root, path, random);
      }
      xml.AddChildNode(root, u"a", u"added");
      xml.AddChildNode(xml.GetChildNode(root, u"a", size / 2), u"b/c", u"added too");
      xml.RemoveChildNodeAll(xml.GetChildNode(root, u"a", round), u"b");
      xml.RemoveChildNodeAll(root, round == 1 ? u"x" : u"none");
      xml.AddChildNode(root, u"x", u"again");
    }
  }
}

TEST(Paths, AbsoluteBeginsWithRoot) {
  ZAMXml xml;
  EXPECT_FALSE(xml.GetNode(u"R"));
  EXPECT_FALSE(xml.AddNode(u"R/a", nullptr));
  EXPECT_EQ(xml.CreateRoot(u"R"), 0);
  xml.New(nullptr);
  EXPECT_EQ(xml.CreateRoot(u"R"), 1);
  EXPECT_EQ(xml.CreateRoot(u"R"), 0);
  EXPECT_TRUE(xml.AddNode(u"R/a", u"0"));
  EXPECT_TRUE(xml.AddNode(u"R/a", u"1", 7));
  EXPECT_TRUE(xml.AddNode(u"R/a/b", u"in the first"));
  for (const char16_t* path : {u"R", u"X/a", u"R/none/b", u"a", u""}) {
    EXPECT_FALSE(xml.AddNode(path, nullptr)) << _bstr_t(path).utf8();
  }
  EXPECT_EQ(xml.GetNodePath(xml.GetNode(u"R/a", 1)), _bstr_t(u"R/a[1]"));
  EXPECT_EQ(xml.GetNodePath(xml.GetNode(u"R/a/b")), _bstr_t(u"R/a/b"));
  for (const char16_t* path : {u"R/none", u"X", u"a", u"R/a/b/c", u""}) {
    xml.ClearLog();
    EXPECT_FALSE(xml.GetNode(path)) << _bstr_t(path).utf8();
    ASSERT_EQ(xml.GetLogCount(), 1);
    EXPECT_NE(xml.GetLog(0).m_Detail.utf8().find(_bstr_t(path).utf8()), std::string::npos);
  }
  EXPECT_FALSE(xml.GetNode(u"R", 1));
}

TEST(Attributes, KeepTheirOrder) {
  ZAMXml xml;
  test::Load(xml, "<R b='1' a='2'/>");
  const IXMLDOMNodePtr root = xml.GetNode(u"R");
  xml.SetNodeAttribute(root, u"c", u"3");
  xml.SetNodeAttribute(root, u"b", u"4");
  EXPECT_EQ(test::Saved(xml), "<R b=\"4\" a=\"2\" c=\"3\"/>");
  _bstr_t name(u"n");
  _bstr_t value(u"v");
  EXPECT_EQ(xml.GetAttributeCount(root), 3);
  EXPECT_EQ(xml.GetAttribute(root, 3, name, value) + xml.GetAttribute(root, -1, name, value), 0);
  EXPECT_EQ(name + value, _bstr_t(u"nv"));
  EXPECT_EQ(xml.GetAttribute(root, 2, name, value), 1);
  EXPECT_EQ(name + value, _bstr_t(u"c3"));
}

}  // namespace
