#include "records/record.h"
#include "zamxml/records.h"

/// The sections of a document that are plain lists of fields.

namespace {

constexpr auto DocumentFields = [](auto& header, auto& fields) {
  fields.Text(u"ID", header.m_ID);
  fields.Text(u"Type", header.m_Type);
  fields.Text(u"Version", header.m_Version);
  fields.Text(u"Author", header.m_Author);
  fields.Text(u"Application", header.m_Application);
  fields.Text(u"InstitutionName", header.m_InstitutionName);
  fields.Text(u"MatchingUID", header.m_MatchingUID);
};

/// A code of one character stays as it is; any other is derived from the text.
void SettleGenderCode(ZAMXMLPatientInfo& patient) {
  if (patient.m_GenderCode.length() == 1) {
    return;
  }
  const std::u16string_view initial = patient.m_Gender.view().substr(0, 1);
  patient.m_GenderCode = initial == u"F" || initial == u"M" ? initial : u"U";
}

constexpr auto PatientFields = [](auto& patient, auto& fields) {
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

constexpr auto OrderFields = [](auto& order, auto& fields) {
  fields.Text(u"ID", order.m_ID);
  fields.Text(u"Date", order.m_Date);
  fields.Text(u"Time", order.m_Time);
  fields.Text(u"Department", order.m_Department);
  fields.Text(u"RoomNumber", order.m_RoomNumber);
  fields.Nested(u"AuthorName", order.m_AuthorName);
  fields.Text(u"Comment", order.m_Comment);
};

constexpr auto DeviceFields = [](auto& device, auto& fields) {
  fields.Text(u"Vendor", device.m_Vendor);
  fields.Text(u"Model", device.m_Model);
  fields.Text(u"Modality", device.m_Modality);
  fields.Text(u"Code", device.m_Code);
  fields.Text(u"SerialNo", device.m_SerialNo);
};

constexpr auto StudyFields = [](auto& study, auto& fields) {
  fields.Text(u"ID", study.m_ID);
  fields.Text(u"Date", study.m_Date);
  fields.Text(u"Time", study.m_Time);
  fields.Text(u"Department", study.m_Department);
  fields.Text(u"RoomNumber", study.m_RoomNumber);
  fields.Nested(u"AuthorName", study.m_AuthorName);
  fields.Nested(u"DeviceInfo", study.m_DeviceInfo);
  fields.Nested(u"ExtraQuestions", study.m_ExtraQuestions);
  fields.Text(u"Status", study.m_Status);
  fields.Text(u"Comment", study.m_Comment);
};

}  // namespace

ZAMXMLDocumentInfo::ZAMXMLDocumentInfo() { Clear(); }
ZAMXMLDocumentInfo::ZAMXMLDocumentInfo(const ZAMXMLDocumentInfo& other) = default;
ZAMXMLDocumentInfo& ZAMXMLDocumentInfo::operator=(const ZAMXMLDocumentInfo& other) = default;
ZAMXMLDocumentInfo::~ZAMXMLDocumentInfo() = default;

void ZAMXMLDocumentInfo::Clear() { zam::ClearRecord(*this, DocumentFields); }

int ZAMXMLDocumentInfo::ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::ReadRecord(*this, xml, element, log, DocumentFields);
}

int ZAMXMLDocumentInfo::WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::WriteRecord(*this, xml, element, log, DocumentFields);
}

ZAMXMLPatientInfo::ZAMXMLPatientInfo() = default;
ZAMXMLPatientInfo::ZAMXMLPatientInfo(const ZAMXMLPatientInfo& other) = default;
ZAMXMLPatientInfo& ZAMXMLPatientInfo::operator=(const ZAMXMLPatientInfo& other) = default;
ZAMXMLPatientInfo::~ZAMXMLPatientInfo() = default;

void ZAMXMLPatientInfo::Clear() { zam::ClearRecord(*this, PatientFields); }

int ZAMXMLPatientInfo::ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::ReadRecord(*this, xml, element, log, PatientFields);
}

int ZAMXMLPatientInfo::WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::WriteRecord(*this, xml, element, log, PatientFields);
}

ZAMXMLOrderInfo::ZAMXMLOrderInfo() = default;
ZAMXMLOrderInfo::ZAMXMLOrderInfo(const ZAMXMLOrderInfo& other) = default;
ZAMXMLOrderInfo& ZAMXMLOrderInfo::operator=(const ZAMXMLOrderInfo& other) = default;
ZAMXMLOrderInfo::~ZAMXMLOrderInfo() = default;

void ZAMXMLOrderInfo::Clear() { zam::ClearRecord(*this, OrderFields); }

int ZAMXMLOrderInfo::ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::ReadRecord(*this, xml, element, log, OrderFields);
}

int ZAMXMLOrderInfo::WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::WriteRecord(*this, xml, element, log, OrderFields);
}

ZAMXMLDeviceInfo::ZAMXMLDeviceInfo() = default;
ZAMXMLDeviceInfo::ZAMXMLDeviceInfo(const ZAMXMLDeviceInfo& other) = default;
ZAMXMLDeviceInfo& ZAMXMLDeviceInfo::operator=(const ZAMXMLDeviceInfo& other) = default;
ZAMXMLDeviceInfo::~ZAMXMLDeviceInfo() = default;

void ZAMXMLDeviceInfo::Clear() { zam::ClearRecord(*this, DeviceFields); }

int ZAMXMLDeviceInfo::ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::ReadRecord(*this, xml, element, log, DeviceFields);
}

int ZAMXMLDeviceInfo::WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::WriteRecord(*this, xml, element, log, DeviceFields);
}

ZAMXMLStudyInfo::ZAMXMLStudyInfo() = default;
ZAMXMLStudyInfo::~ZAMXMLStudyInfo() = default;

void ZAMXMLStudyInfo::Clear() { zam::ClearRecord(*this, StudyFields); }

int ZAMXMLStudyInfo::ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::ReadRecord(*this, xml, element, log, StudyFields);
}

int ZAMXMLStudyInfo::WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::WriteRecord(*this, xml, element, log, StudyFields);
}
