#include "records/record.h"
#include "zamxml/records.h"

namespace {

constexpr auto Fields = [](auto& study, auto& fields) {
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

ZAMXMLStudyInfo::ZAMXMLStudyInfo() = default;
ZAMXMLStudyInfo::~ZAMXMLStudyInfo() = default;

void ZAMXMLStudyInfo::Clear() { zam::ClearRecord(*this, Fields); }

int ZAMXMLStudyInfo::ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::ReadRecord(*this, xml, element, log, Fields);
}

int ZAMXMLStudyInfo::WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::WriteRecord(*this, xml, element, log, Fields);
}
