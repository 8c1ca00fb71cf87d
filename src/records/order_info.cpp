#include "records/record.h"
#include "zamxml/records.h"

namespace {

constexpr auto Fields = [](auto& order, auto& fields) {
  fields.Text(u"ID", order.m_ID);
  fields.Text(u"Date", order.m_Date);
  fields.Text(u"Time", order.m_Time);
  fields.Text(u"Department", order.m_Department);
  fields.Text(u"RoomNumber", order.m_RoomNumber);
  fields.Nested(u"AuthorName", order.m_AuthorName);
  fields.Text(u"Comment", order.m_Comment);
};

}  // namespace

ZAMXMLOrderInfo::ZAMXMLOrderInfo() = default;
ZAMXMLOrderInfo::ZAMXMLOrderInfo(const ZAMXMLOrderInfo& other) = default;
ZAMXMLOrderInfo& ZAMXMLOrderInfo::operator=(const ZAMXMLOrderInfo& other) = default;
ZAMXMLOrderInfo::~ZAMXMLOrderInfo() = default;

void ZAMXMLOrderInfo::Clear() { zam::ClearRecord(*this, Fields); }

int ZAMXMLOrderInfo::ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::ReadRecord(*this, xml, element, log, Fields);
}

int ZAMXMLOrderInfo::WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::WriteRecord(*this, xml, element, log, Fields);
}
