#include "records/record.h"
#include "zamxml/records.h"

namespace {

/// A code of one character stays as it is; any other is derived from the text.
void SettleGenderCode(ZAMXMLPatientInfo& patient) {
  if (patient.m_GenderCode.length() == 1) {
    return;
  }
  const std::u16string_view initial = patient.m_Gender.view().substr(0, 1);
  patient.m_GenderCode = initial == u"F" || initial == u"M" ? initial : u"U";
}

constexpr auto Fields = [](auto& patient, auto& fields) {
  fields.Text(u"ID", patient.m_ID);
  fields.Nested(u"Name", patient.m_Name);
  fields.Text(u"BirthDate", patient.m_BirthDate);
  fields.Text(u"Gender", patient.m_Gender);
  fields.Attribute(u"Gender", u"code", patient.m_GenderCode);
  fields.AfterReading([&patient] { SettleGenderCode(patient); });
  fields.Text(u"Age", patient.m_Age);
  fields.Attribute(u"Age", u"Unit", patient.m_AgeUnit);
  fields.Text(u"Race", patient.m_Race);
  fields.Text(u"Height", patient.m_Height);
  fields.Attribute(u"Height", u"Unit", patient.m_HeightUnit);
  fields.Text(u"Weight", patient.m_Weight);
  fields.Attribute(u"Weight", u"Unit", patient.m_WeightUnit);
  fields.Text(u"BackupID", patient.m_BackupID);
};

}  // namespace

ZAMXMLPatientInfo::ZAMXMLPatientInfo() = default;
ZAMXMLPatientInfo::ZAMXMLPatientInfo(const ZAMXMLPatientInfo& other) = default;
ZAMXMLPatientInfo& ZAMXMLPatientInfo::operator=(const ZAMXMLPatientInfo& other) = default;
ZAMXMLPatientInfo::~ZAMXMLPatientInfo() = default;

void ZAMXMLPatientInfo::Clear() { zam::ClearRecord(*this, Fields); }

int ZAMXMLPatientInfo::ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::ReadRecord(*this, xml, element, log, Fields);
}

int ZAMXMLPatientInfo::WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::WriteRecord(*this, xml, element, log, Fields);
}
