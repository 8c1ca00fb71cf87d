#include "records/record.h"
#include "zamxml/records.h"

namespace {

constexpr auto Fields = [](auto& header, auto& fields) {
  fields.Text(u"ID", header.m_ID);
  fields.Text(u"Type", header.m_Type);
  fields.Text(u"Version", header.m_Version);
  fields.Text(u"Author", header.m_Author);
  fields.Text(u"Application", header.m_Application);
  fields.Text(u"InstitutionName", header.m_InstitutionName);
  fields.Text(u"MatchingUID", header.m_MatchingUID);
};

}  // namespace

ZAMXMLDocumentInfo::ZAMXMLDocumentInfo() { Clear(); }
ZAMXMLDocumentInfo::ZAMXMLDocumentInfo(const ZAMXMLDocumentInfo& other) = default;
ZAMXMLDocumentInfo& ZAMXMLDocumentInfo::operator=(const ZAMXMLDocumentInfo& other) = default;
ZAMXMLDocumentInfo::~ZAMXMLDocumentInfo() = default;

void ZAMXMLDocumentInfo::Clear() { zam::ClearRecord(*this, Fields); }

int ZAMXMLDocumentInfo::ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::ReadRecord(*this, xml, element, log, Fields);
}

int ZAMXMLDocumentInfo::WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::WriteRecord(*this, xml, element, log, Fields);
}
