#include <regex>
#include <string>
#include <type_traits>
#include <utility>

#include "support/record.h"

namespace {

using test::ReadFrom;
using test::Written;

/// The record stores what it has read, numbered texts, as that content; empty and missing values
/// are stored, and read, as empty ones. Copies are whole and their own.
template <class Record>
void ExpectLayout(const std::string& content) {
  static const std::regex numbered(R"(<(\w+)( \w+=")?[0-9]*("?)>[0-9]+</\1>)");
  const std::string empty = std::regex_replace(content, numbered, "<$1$2$3/>");
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

TEST(Layout, SexCode) {
  const std::pair<const char*, const char16_t*> rows[] = {
      {"<Gender code=\"M\">Female</Gender>", u"M"},
      {"<Gender code=\"X\">Female</Gender>", u"X"},
      {"<Gender code=\"\">Female</Gender>", u"F"},
      {"<Gender>Male</Gender>", u"M"},
      {"<Gender>male</Gender>", u"U"},
      {"", u"U"},
      {"<Gender code=\"MM\">Female</Gender>", u"F"},
  };
  ZAMXMLPatientInfo patient;
  for (const auto& [content, code] : rows) {
    ReadFrom(content, patient);
    EXPECT_EQ(patient.m_GenderCode, _bstr_t(code)) << content;
  }
  patient.m_GenderCode = u"MM";
  EXPECT_NE(Written(patient).find("<Gender code=\"MM\">"), std::string::npos);
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

}  // namespace
