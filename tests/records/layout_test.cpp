#include <gtest/gtest.h>

#include <initializer_list>
#include <regex>
#include <string>

#include "support/record.h"

namespace {

using test::ReadFrom;
using test::Written;

/// Gives the texts the values "1", "2", ... in the order in which they stand in the document.
void Number(std::initializer_list<_bstr_t*> texts) {
  int number = 0;
  for (_bstr_t* text : texts) {
    EXPECT_EQ(*text, u"");
    *text = std::to_string(++number).c_str();
  }
}

std::string WithoutNumbers(const std::string& content) {
  static const std::regex text(R"(<(\w+)( \w+=")?[0-9]*("?)>[0-9]+</\1>)");
  return std::regex_replace(content, text, "<$1$2$3/>");
}

/// The record, whose texts are numbered, is stored as that content and found there again; empty
/// and missing values are stored, and read, as empty ones. Copies are whole and their own.
template <class Record>
void ExpectLayout(Record& record, const std::string& content) {
  const std::string empty = WithoutNumbers(content);
  EXPECT_EQ(Written(record), "<Other/>" + content);
  EXPECT_EQ(Written(record, empty), content + "<Other/>") << "not updated in place";
  Record read;
  ReadFrom(content + empty, read);
  EXPECT_EQ(Written(read), "<Other/>" + content);

  if constexpr (std::is_copy_constructible_v<Record>) {
    Record copy(record);
    read.Clear();
    read = copy;
    const Record& itself = read;
    read = itself;
    copy.Clear();
    EXPECT_EQ(Written(read), "<Other/>" + content);
    EXPECT_EQ(Written(record), "<Other/>" + content);
  }
  record.Clear();
  EXPECT_EQ(Written(record), "<Other/>" + empty);
  Record fresh;
  EXPECT_EQ(Written(fresh), "<Other/>" + empty);
}

const std::string SharedHead =
    "<ID>1</ID><Date>2</Date><Time>3</Time><Department>4</Department><RoomNumber>5</RoomNumber>"
    "<AuthorName><Full>6</Full><Family>7</Family><Given>8</Given><Middle>9</Middle>"
    "<Prefix>10</Prefix><Suffix>11</Suffix></AuthorName>";

TEST(RecordLayout, DocumentInfo) {
  ZAMXMLDocumentInfo info;
  EXPECT_FALSE(!info.m_MatchingUID);
  Number({&info.m_ID, &info.m_Type, &info.m_Version, &info.m_Author, &info.m_Application,
          &info.m_InstitutionName, &info.m_MatchingUID});
  ExpectLayout(info,
               "<ID>1</ID><Type>2</Type><Version>3</Version><Author>4</Author>"
               "<Application>5</Application><InstitutionName>6</InstitutionName>"
               "<MatchingUID>7</MatchingUID>");
}

TEST(RecordLayout, Patient) {
  ZAMXMLPatientInfo patient;
  ZAMXMLName& name = patient.m_Name;
  EXPECT_TRUE(!patient.m_ID);
  Number({&patient.m_ID, &name.m_Full, &name.m_Family, &name.m_Given, &name.m_Middle,
          &name.m_Prefix, &name.m_Suffix, &patient.m_BirthDate, &patient.m_GenderCode,
          &patient.m_Gender, &patient.m_AgeUnit, &patient.m_Age, &patient.m_Race,
          &patient.m_HeightUnit, &patient.m_Height, &patient.m_WeightUnit, &patient.m_Weight,
          &patient.m_BackupID});
  ExpectLayout(patient,
               "<ID>1</ID><Name><Full>2</Full><Family>3</Family><Given>4</Given>"
               "<Middle>5</Middle><Prefix>6</Prefix><Suffix>7</Suffix></Name>"
               "<BirthDate>8</BirthDate><Gender code=\"9\">10</Gender><Age Unit=\"11\">12</Age>"
               "<Race>13</Race><Height Unit=\"14\">15</Height><Weight Unit=\"16\">17</Weight>"
               "<BackupID>18</BackupID>");
  EXPECT_FALSE(!patient.m_WeightUnit);
}

TEST(RecordLayout, Order) {
  ZAMXMLOrderInfo order;
  ZAMXMLName& name = order.m_AuthorName;
  Number({&order.m_ID, &order.m_Date, &order.m_Time, &order.m_Department, &order.m_RoomNumber,
          &name.m_Full, &name.m_Family, &name.m_Given, &name.m_Middle, &name.m_Prefix,
          &name.m_Suffix, &order.m_Comment});
  ExpectLayout(order, SharedHead + "<Comment>12</Comment>");
}

TEST(RecordLayout, Study) {
  ZAMXMLStudyInfo study;
  ZAMXMLName& name = study.m_AuthorName;
  ZAMXMLDeviceInfo& device = study.m_DeviceInfo;
  Number({&study.m_ID, &study.m_Date, &study.m_Time, &study.m_Department, &study.m_RoomNumber,
          &name.m_Full, &name.m_Family, &name.m_Given, &name.m_Middle, &name.m_Prefix,
          &name.m_Suffix, &device.m_Vendor, &device.m_Model, &device.m_Modality, &device.m_Code,
          &device.m_SerialNo, &study.m_Status, &study.m_Comment});
  ExpectLayout(study, SharedHead +
                          "<DeviceInfo><Vendor>12</Vendor><Model>13</Model>"
                          "<Modality>14</Modality><Code>15</Code><SerialNo>16</SerialNo>"
                          "</DeviceInfo><ExtraQuestions/><Status>17</Status><Comment>18</Comment>");
}

TEST(Patient, ReadingSettlesTheSexCode) {
  const struct {
    const char* m_Gender;
    const char16_t* m_Code;
  } rows[] = {
      {"<Gender code=\"M\">Female</Gender>", u"M"},
      {"<Gender code=\"X\">Female</Gender>", u"X"},
      {"<Gender code=\"\">Female</Gender>", u"F"},
      {"<Gender>Male</Gender>", u"M"},
      {"<Gender>male</Gender>", u"U"},
      {"", u"U"},
      {"<Gender code=\"MM\">Female</Gender>", u"F"},
  };
  for (const auto& row : rows) {
    ZAMXMLPatientInfo patient;
    ReadFrom(row.m_Gender, patient);
    EXPECT_EQ(patient.m_GenderCode, _bstr_t(row.m_Code)) << row.m_Gender;
  }
  ZAMXMLPatientInfo patient;
  patient.m_GenderCode = u"MM";
  EXPECT_NE(Written(patient).find("<Gender code=\"MM\"/>"), std::string::npos);
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

TEST(Statement, WritesWhatHasACharacterAndReadsItBackInOrder) {
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

TEST(ExtraQuestion, WritesEveryPairAndReadsItBackInOrder) {
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
