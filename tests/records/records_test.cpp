#include <string>
#include <tuple>
#include <type_traits>

#include "support/document.h"
#include "support/record.h"
#include "support/shortage.h"

namespace {

using test::ReadFrom;
using test::Written;

/// The record stores what it has read, numbered texts, as that content; empty and missing values
/// are stored, and read, as empty ones. Copies are whole and their own.
template <class Record>
void ExpectLayout(const std::string& content) {
  const std::string empty =
      test::Replaced(content, R"(<(\w+)( \w+=")?[0-9]*("?)>[0-9]+</\1>)", "<$1$2$3/>");
  Record record;
  EXPECT_EQ(Written(record), "<Other/>" + empty);
  ReadFrom(content + empty, record);
  EXPECT_EQ(Written(record), "<Other/>" + content);
  EXPECT_EQ(Written(record, empty), content + "<Other/>") << "not updated in place";
  if constexpr (std::is_copy_constructible_v<Record>) {
    const Record copy(record);
    record.Clear();
    record = copy;
    const Record& itself = record;
    record = itself;
    EXPECT_EQ(Written(record), "<Other/>" + content);
  }
  record.Clear();
  EXPECT_EQ(Written(record), "<Other/>" + empty);
}

TEST(Layout, Sections) {
  const std::string head =
      "<ID>1</ID><Date>2</Date><Time>3</Time><Department>4</Department><RoomNumber>5</RoomNumber>"
      "<AuthorName><Full>6</Full><Family>7</Family><Given>8</Given><Middle>9</Middle>"
      "<Prefix>10</Prefix><Suffix>11</Suffix></AuthorName>";
  ExpectLayout<ZAMXMLDocumentInfo>(
      "<ID>1</ID><Type>2</Type><Version>3</Version><Author>4</Author><Application>5</Application>"
      "<InstitutionName>6</InstitutionName><MatchingUID>7</MatchingUID>");
  ExpectLayout<ZAMXMLPatientInfo>(
      "<ID>1</ID><Name><Full>2</Full><Family>3</Family><Given>4</Given><Middle>5</Middle>"
      "<Prefix>6</Prefix><Suffix>7</Suffix></Name><BirthDate>8</BirthDate>"
      "<Gender code=\"9\">10</Gender><Age Unit=\"11\">12</Age><Race>13</Race>"
      "<Height Unit=\"14\">15</Height><Weight Unit=\"16\">17</Weight><BackupID>18</BackupID>");
  ExpectLayout<ZAMXMLOrderInfo>(head + "<Comment>12</Comment>");
  ExpectLayout<ZAMXMLStudyInfo>(
      head +
      "<DeviceInfo><Vendor>12</Vendor><Model>13</Model><Modality>14</Modality><Code>15</Code>"
      "<SerialNo>16</SerialNo></DeviceInfo><ExtraQuestions/><Status>17</Status>"
      "<Comment>18</Comment>");
}

/// The list replaces that stale entry, and is read back as it was written; reading adds to a list.
template <class List>
void ExpectList(List& list, const std::string& stale, const std::string& content) {
  EXPECT_EQ(Written(list, stale), "<Other/>" + content);
  List read;
  ReadFrom(content + "<Other>" + stale + "</Other>", read);
  EXPECT_EQ(Written(read), "<Other/>" + content);
  ReadFrom(content, read);
  EXPECT_EQ(Written(read), "<Other/>" + content + content);
  read.Clear();
  EXPECT_EQ(Written(read, content), "<Other/>");
}

TEST(Layout, Statements) {
  ZAMXMLStatement list;
  for (const char16_t* text : {u"a^b", u"", u" ", static_cast<const char16_t*>(nullptr), u"c"}) {
    list.AddStatement(text);
  }
  ExpectList(
      list, "<Statement>stale</Statement>",
      "<Statement>a^b</Statement><Statement><![CDATA[ ]]></Statement><Statement>c</Statement>");
  _bstr_t text = u"unchanged";
  EXPECT_EQ(list.GetStatement(-1, text) + list.GetStatement(5, text), 0);
  EXPECT_EQ(text, u"unchanged");
  EXPECT_EQ(list.GetStatement(3, text), 1);
  EXPECT_TRUE(!text);
}

TEST(Layout, ExtraQuestions) {
  ZAMXMLExtraQuestion list;
  list.AddQuestion(u"q1", u"a1");
  list.AddQuestion(u"", nullptr);
  list.AddQuestion(u"q3", u"");
  ExpectList(list, "<Extra>stale</Extra>",
             "<Extra><Question>q1</Question><Answer>a1</Answer></Extra>"
             "<Extra><Question/><Answer/></Extra><Extra><Question>q3</Question><Answer/></Extra>");
  _bstr_t question = u"un";
  _bstr_t answer = u"changed";
  EXPECT_EQ(list.GetQuestion(-1, question, answer) + list.GetQuestion(3, question, answer), 0);
  EXPECT_EQ(question + answer, u"unchanged");
  EXPECT_EQ(list.GetQuestion(1, question, answer), 1);
  EXPECT_TRUE(!answer);
}

TEST(Name, FullNameJoinsParts) {
  constexpr ZAM_NAME_STYLE Family = ZAM_NAME_STYLE_FAMILY_FIRST;
  constexpr ZAM_NAME_STYLE Given = ZAM_NAME_STYLE_GIVEN_FIRST;
  constexpr ZAM_NAME_STYLE Other = static_cast<ZAM_NAME_STYLE>(2);
  const struct {
    _bstr_t m_Full, m_Family, m_Given, m_Middle, m_Prefix, m_Suffix;
    ZAM_NAME_STYLE m_Style;
    int m_PreferFull;
    _bstr_t m_Expected;
  } rows[] = {
      {u"J. Smith", u"Smith", u"John", u"", u"", u"", Given, 0, u"John Smith"},
      {u"J. Smith", u"Smith", u"John", u"", u"", u"", Given, 1, u"J. Smith"},
      {u"J. Smith", u"Smith", u"John", u"", u"", u"", Family, 0, u"Smith John"},
      {u"J. Smith", u"Smith", u"John", u"", u"", u"", Other, 0, u"J. Smith"},
      {nullptr, u"Smith", u"John", u"", u"", u"", Other, 1, nullptr},
      {u"", u"Lee", u"Ann", u"B", u"Dr.", u"Jr.", Family, 0, u"Dr. Lee B Ann Jr."},
      {u"", u"Lee", u"Ann", u"B", u"Dr.", u"Jr.", Given, 1, u"Dr. Ann B Lee Jr."},
      {u"J. Smith", u"", nullptr, u"", u"", u"", Family, 0, u"J. Smith"},
      {u"", u"van der  Lee", u" ", u"", u"", u"", Given, 0, u"  van der  Lee"},
      {u"", u"", u"", u"", u"", u"", Family, 1, nullptr},
      {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, Other, 1, nullptr},
  };
  for (const auto& row : rows) {
    ZAMXMLName name;
    std::tie(name.m_Full, name.m_Family, name.m_Given, name.m_Middle, name.m_Prefix,
             name.m_Suffix) =
        std::tie(row.m_Full, row.m_Family, row.m_Given, row.m_Middle, row.m_Prefix, row.m_Suffix);
    const _bstr_t joined = name.GetFullName(row.m_Style, row.m_PreferFull);
    EXPECT_EQ(joined, row.m_Expected) << "row " << &row - rows;
    EXPECT_EQ(!joined, !row.m_Expected) << "row " << &row - rows;
  }
}

/// Hands a record of each kind to the check; the lists among them have an entry.
template <class Check>
void ForEachRecord(Check check) {
  ZAMXMLStatement statements;
  statements.AddStatement(u"s");
  ZAMXMLExtraQuestion questions;
  questions.AddQuestion(u"q", u"a");
  ZAMXMLModificationGroup list;
  list.m_ModificationList.Add(new ZAMXMLModification);
  const auto checkAll = [&check](auto&&... records) { (check(records), ...); };
  checkAll(statements, questions, list, ZAMXMLName(), ZAMXMLDocumentInfo(), ZAMXMLPatientInfo(),
           ZAMXMLOrderInfo(), ZAMXMLDeviceInfo(), ZAMXMLStudyInfo(), ZAMXMLChangeItem(),
           ZAMXMLModification());
}

TEST(Records, NeedDocumentAndElement) {
  ZAMXml closed;
  ZAMXml xml;
  test::Load(xml, "<R><Gone/></R>");
  IXMLDOMNodePtr root = xml.GetNode(u"R");
  IXMLDOMNodePtr none;
  IXMLDOMNodePtr dead = xml.GetChildNode(root, u"Gone");
  xml.RemoveChildNodeAll(root);
  ZAMXml other;
  test::Load(other, "<R><ID>another patient's</ID></R>");
  IXMLDOMNodePtr foreign = other.GetNode(u"R");
  ZAMLog log;
  ForEachRecord([&](auto& record) {
    SCOPED_TRACE(typeid(record).name());
    EXPECT_EQ(record.ReadFromXML(closed, root, &log) + record.WriteToXML(closed, root, &log), 0);
    for (IXMLDOMNodePtr* element : {&none, &dead, &foreign}) {
      EXPECT_EQ(record.ReadFromXML(xml, *element, &log), 0);
      EXPECT_EQ(record.WriteToXML(xml, *element, &log), 0);
    }
  });
  EXPECT_EQ(log.GetLogCount() + xml.GetLogCount() + closed.GetLogCount(), 0);
  EXPECT_EQ(test::Content(xml), "<R/>");
}

TEST(Records, FailedWriteSaysWhere) {
  std::string bytes;
  for (int i = 0; i < 1000; ++i) {
    bytes = "<a>" + bytes + "</a>";
  }
  ZAMXml xml;
  test::Load(xml, bytes);
  IXMLDOMNodePtr parent;
  IXMLDOMNodePtr deepest = xml.GetNode(u"a");
  for (auto child = deepest; child; child = xml.GetFirstChildNode(deepest)) {
    parent = deepest;
    deepest = child;
  }
  const std::string place = xml.GetNodePath(deepest).utf8();
  ASSERT_EQ(place.size(), 1999U);
  const auto expectFailure = [&](auto&& record) {
    SCOPED_TRACE(typeid(record).name());
    ZAMLog log;
    EXPECT_EQ(record.WriteToXML(xml, deepest, &log), 0);
    ASSERT_EQ(log.GetLogCount(), 1);
    const ZAMLogEntry& entry = log.GetLog(0);
    EXPECT_EQ(entry.m_Type, ZAM_LOG_TYPE_ERROR);
    EXPECT_EQ(entry.m_Category, ZAM_LOG_CATEGORY_XML);
    const std::string detail = entry.m_Detail.utf8();
    EXPECT_TRUE(detail.starts_with(place) && detail.ends_with("would be nested too deep."))
        << detail.substr(detail.size() - 50);
    EXPECT_EQ(record.WriteToXML(xml, deepest, nullptr), 0);
  };
  ForEachRecord(expectFailure);
  expectFailure(ZAMXMLBinary());

  // A nested record that cannot be written does not fail its owner.
  ZAMXMLOrderInfo order;
  order.m_Comment = u"written";
  ZAMLog log;
  EXPECT_EQ(order.WriteToXML(xml, parent, &log), 1);
  EXPECT_EQ(log.GetLogCount(), 1);
  order.m_Comment = u"";
  EXPECT_EQ(order.ReadFromXML(xml, parent, &log), 1);
  EXPECT_EQ(order.m_Comment, u"written");
}

/// Records read from one document and written into another: whatever is not there is reported by a
/// result or a log entry.
TEST(Memory, RecordsReportLosses) {
  std::string whole;
  test::ForEachShortage([&whole](test::Shortage& shortage) {
    ZAMXml source;
    ZAMXml target;
    test::Load(source, test::DocumentBytes({{"PatientInfo/ID", "", "P1", "2"},
                                            {"PatientInfo/Name", "", "A^^^^^", "B^^^^^", "NAME"}}));
    test::Load(target, "<R><Patient/><List/></R>");
    IXMLDOMNodePtr from[] = {source.GetNode(u"KESTRANE_ZAM/PatientInfo"),
                             source.GetNode(u"KESTRANE_ZAM/Modifications")};
    IXMLDOMNodePtr to[] = {target.GetNode(u"R/Patient"), target.GetNode(u"R/List")};
    ZAMXMLPatientInfo patient;
    ZAMXMLModificationGroup list;
    ZAMLog log;
    const int results = shortage.During([&] {
      return patient.ReadFromXML(source, from[0], &log) + list.ReadFromXML(source, from[1], &log) +
             patient.WriteToXML(target, to[0], &log) + list.WriteToXML(target, to[1], &log);
    });
    const std::string content = test::Content(target);
    if (whole.empty()) {
      whole = content;
    }
    EXPECT_TRUE(shortage.Happened() || results == 4);
    EXPECT_TRUE(content == whole || results < 4 || log.GetLogCount() > 0 || shortage.IsLasting());
  });
  EXPECT_NE(whole.find("B^^^^^"), std::string::npos);
}

}  // namespace
