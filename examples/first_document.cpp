// first_document DOCUMENT
//
// Shows the patient of a document, and makes a first document of its own.

#include "visit.h"

namespace {

int Create(const _bstr_t& path) {
  ZAMLog log;
  //! [new]
  Visit visit;
  if (visit.New(&log) == 0) {
    Show(log);
    return 1;
  }
  visit.m_PatientInfo.m_ID = u"0417";
  visit.m_PatientInfo.m_Name.m_Family = u"Nováková";
  visit.m_PatientInfo.m_Name.m_Given = u"Eva";
  visit.m_PatientInfo.m_Weight = u"62.4";
  visit.m_PatientInfo.m_WeightUnit = u"kg";
  visit.m_Findings.AddStatement(u"Sinus rhythm");
  if (visit.SaveAs(path, &log) == 0) {
    Show(log);
    return 1;
  }
  //! [new]
  return 0;
}

int ShowPatient(const _bstr_t& path) {
  //! [open]
  Visit visit;
  ZAMLog log;
  if (visit.Open(path, &log) == 0) {
    Show(log);
    return 1;
  }
  const ZAMXMLPatientInfo& patient = visit.m_PatientInfo;
  std::cout << patient.m_Name.GetFullName(ZAM_NAME_STYLE_FAMILY_FIRST, 1) << ", "
            << patient.m_Weight << ' ' << patient.m_WeightUnit << '\n';
  //! [open]
  return visit.m_PatientInfo.m_ID.length() != 0 ? 0 : 1;
}

void Run(const _bstr_t& source) {
  const _bstr_t path = u"first_document.xml";
  Require(ShowPatient(source) == 0, "the document given is read");
  Require(Create(path) == 0 && ShowPatient(path) == 0, "a document reads what it wrote");
}

}  // namespace

int main(int argc, char** argv) { return RunExample(argc, argv, Run); }
