#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

#include "support/tree.h"

namespace {

/// The canonical form that an independent program gives of a document.
std::string Canonical(const std::string& bytes) {
  const test::TemporaryFolder folder;
  test::WriteBytes(folder.Path("document.xml"), bytes);
  const std::string command = "xmllint --c14n " + folder.Path("document.xml").string();
  const std::unique_ptr<FILE, int (*)(FILE*)> output(popen(command.c_str(), "r"), &pclose);
  std::string canonical;
  for (int byte = std::fgetc(output.get()); byte != EOF; byte = std::fgetc(output.get())) {
    canonical += static_cast<char>(byte);
  }
  EXPECT_FALSE(canonical.empty()) << command;
  return canonical;
}

/// Comments, instructions, CDATA, other namespaces, mixed content and odd white space.
const char Rich[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- before -->\n<?style href=\"a\"?>\n"
    "<R b=\"2\" a=\"1\" xmlns:h=\"urn:h\">\n\n   <!--a-->\t<P>see <b>x</b> <i>y</i></P>  \n"
    "<h:S h:t=\"&lt;&#10;&#9;\"><![CDATA[<raw>]]><?pi?></h:S>\n\t<E/>\n    <E> </E>\n"
    "  <L>\n    <I>1</I>\n    <I>2</I>\n  </L>\n<T>&amp;&lt;&gt;&#13;\n \xF0\x9F\x98\x80</T>\n"
    "</R>\n<!-- behind -->\n\n";

TEST(Preservation, OpenAndSave) {
  for (const std::string original :
       {Rich, "<R/>", "<R/>\n", "<R> </R>", "<R>\n</R>", "<R><!----><a/><?x?></R>",
        "\n<R>a<b/>c<!-- x --><![CDATA[d]]></R>", "<R><![CDATA[]]></R>"}) {
    ZAMXml xml;
    ZAMXml copy;
    test::Load(xml, original);
    EXPECT_EQ(test::Saved(xml), original);
    EXPECT_EQ(copy.Copy(xml, nullptr), 1);
    EXPECT_EQ(test::Saved(copy), original);
  }
  for (const char* otherSpelling :
       {"<R  b = '2'\n a='\"'></R>", "<R>a > b\r\n\"c\" &apos;&#x41;</R>", "<R a='x\r\ny\tz'/>",
        "<R><?pi   some  data ?><a></a ></R >", "<R><![CDATA[a\r\nb]]><!-- \r\n --></R>",
        "<?xml version='1.0' ?>\r\n<R>\r\n\t<a/>\r\n</R>\r\n"}) {
    ZAMXml xml;
    test::Load(xml, otherSpelling);
    EXPECT_EQ(Canonical(test::Saved(xml)), Canonical(otherSpelling)) << otherSpelling;
  }
}

TEST(Preservation, AddAndRemove) {
  const char16_t* const places[] = {u"R", u"R/P", u"R/h:S", u"R/E", u"R/L", u"R/L/I", u"R/T"};
  for (const std::string original :
       {Rich, "<R/>", "<R>\n</R>", "<R> </R>", "<R>\n  <L/>\n</R>", "<R>\n\t<L>\n\t</L>\n</R>",
        "<R><E/><L><I>1</I></L></R>", "<R>text</R>", "<R>\n  <!-- only --></R>",
        "<R>\n  <L><!-- c --></L></R>", "<R><L> <!-- c --> </L></R>", "<R>a<E/>\n</R>"}) {
    ZAMXml xml;
    test::Load(xml, original);
    const std::string before = test::Saved(xml);
    for (const char16_t* place : places) {
      if (const IXMLDOMNodePtr node = xml.GetNode(place)) {
        xml.AddChildNode(node, u"New/Part", u"1");
        xml.AddChildNode(node, u"New", u"2");
        xml.AddChildNode(node, u"Other", nullptr);
        EXPECT_NE(test::Saved(xml), before);
        xml.RemoveChildNodeAll(node, u"New");
        xml.RemoveChildNodeAll(node, u"Other");
        EXPECT_EQ(test::Saved(xml), before) << _bstr_t(place).utf8();
      }
    }
    EXPECT_EQ(Canonical(test::Saved(xml)), Canonical(original));
  }
}

TEST(Preservation, RewrittenList) {
  for (const char* original :
       {"<R>\n  <L>\n    <I>1</I>\n    <I>2</I>\n  </L>\n</R>\n", "<R><L><I>1</I><I>2</I></L></R>",
        "<R>\n<L>\n\t\t\t<I>1</I>\n\t\t\t<I>2</I>\n</L></R>",
        "<R><L>\n  <!-- list -->\n  <I>1</I>\n  <I>2</I>\n</L></R>"}) {
    ZAMXml xml;
    test::Load(xml, original);
    const IXMLDOMNodePtr list = xml.GetNode(u"R/L");
    EXPECT_EQ(xml.RemoveChildNodeAll(list, u"I"), 1);
    xml.AddChildNode(list, u"I", u"1", 0);
    xml.AddChildNode(list, u"I", u"2", 5);
    EXPECT_EQ(test::Saved(xml), original);
  }
}

TEST(Preservation, AdditionsAreIndented) {
  const auto with = [](const std::string& line, const std::string& unit) {
    return "<R>" + line + unit + "<Old/>" + line + unit + "<New>" + line + unit + unit +
           "<A>1</A>" + line + unit + unit + "<B/>" + line + unit + "</New>" + line + "</R>";
  };
  const struct {
    std::string m_Original;
    std::string m_Saved;
  } rows[] = {{"<R>\n\t<Old/>\n</R>", with("\n", "\t")},
              {"<R>\n  <Old/>\n</R>", with("\n", "  ")},
              {"<R>\n    <Old/>\n</R>", with("\n", "    ")},
              {"<R><Old/></R>", with("", "")},
              {"", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + with("\n", "\t") + "\n"}};
  for (const auto& row : rows) {
    ZAMXml xml;
    if (row.m_Original.empty()) {
      xml.New(nullptr);
      xml.CreateRoot(u"R");
      xml.AddNode(u"R/Old", nullptr);
    } else {
      test::Load(xml, row.m_Original);
    }
    xml.AddChildNode(xml.GetNode(u"R"), u"New/A", u"1");
    xml.AddNode(u"R/New/B", nullptr);
    EXPECT_EQ(test::Saved(xml), row.m_Saved);
  }
}

}  // namespace
