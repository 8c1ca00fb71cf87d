// paths_and_texts DOCUMENT
//
// The two forms of a path, what a mistyped one does, and texts in UTF-8.

#include <filesystem>
#include <string>

#include "visit.h"

namespace {

void NameElements(Visit& visit) {
  //! [paths]
  ZAMXml& xml = visit.m_Xml;
  const IXMLDOMNodePtr patient = xml.GetNode(u"KESTRANE_ZAM/PatientInfo");  // with the root
  _bstr_t full;
  xml.GetChildNodeText(patient, u"Name/Full", full);  // below a node
  const int added =                                   // below the root
      visit.AddChangeItem(u"", u"PatientInfo/Name/Full", u"", ZAMXML_VTYPE_STRING, full + u" jr.");
  //! [paths]
  Require(patient && full.length() != 0 && added == 0, "each path names the element");
}

//! [checked]
int AddChecked(Visit& visit, const _bstr_t& path, const _bstr_t& value) {
  if (!visit.m_Xml.GetNode(u"KESTRANE_ZAM/" + path)) {
    std::cerr << path << " names nothing in the document\n";
    return -1;
  }
  return visit.AddChangeItem(u"", path, u"", ZAMXML_VTYPE_STRING, value);
}
//! [checked]

void Mistype(Visit& visit) {
  const _bstr_t before = visit.m_PatientInfo.m_Weight;
  //! [mistyped]
  visit.AddChangeItem(u"", u"PatientInfo/Wieght", u"", ZAMXML_VTYPE_STRING, u"61.7");
  //! [mistyped]
  Require(AddChecked(visit, u"PatientInfo/Hieght", u"171") == -1, "a mistyped path is found out");
  Require(visit.CommitModify() != 0 && visit.SetHistoryToLast() != 0, "the changes are shown");
  Require(visit.m_PatientInfo.m_Weight == before &&
              visit.m_Xml.GetNode(u"KESTRANE_ZAM/PatientInfo/Wieght"),
          "a mistyped path adds an element");
}

int ConvertTexts(const std::filesystem::path& folder) {
  Visit visit;
  //! [texts]
  const std::string typed = "Nováková";  // UTF-8, from a form or a file
  if (visit.Open(folder / "paths_and_texts.xml", nullptr) == 0 ||
      visit.BeginModify(u"2.25.7", u"lee", "Lee, ward 3") == 0 ||
      visit.AddChangeItem(u"", u"PatientInfo/Name/Family", u"", ZAMXML_VTYPE_STRING, typed) < 0 ||
      visit.CommitModify() == 0 || visit.SetHistoryToLast() == 0) {
    Show(visit);
    return 1;
  }
  const _bstr_t& family = visit.m_PatientInfo.m_Name.m_Family;
  std::cout << family << '\n';                           // streams as UTF-8
  const std::string bytes = family.utf8();               // the same bytes as a string
  const std::filesystem::path file = family.u8string();  // a path of that name
  const IXMLDOMNodePtr name = visit.m_Xml.GetNode(_bstr_t("KESTRANE_ZAM/PatientInfo/Name"));
  //! [texts]
  Require(bytes == typed && file.u8string() == u8"Nováková" && name, "UTF-8 goes in and out");
  return 0;
}

void Run(const _bstr_t& source) {
  const _bstr_t path = u"paths_and_texts.xml";
  SaveNewVisit(source, path);
  Visit visit;
  Require(visit.Open(path, nullptr) != 0 && visit.BeginModify(u"2.25.6", u"lee", u"Lee") != 0,
          "an edit begins");
  NameElements(visit);
  Mistype(visit);
  Require(ConvertTexts(".") == 0, "texts are converted");
}

}  // namespace

int main(int argc, char** argv) { return RunExample(argc, argv, Run); }
