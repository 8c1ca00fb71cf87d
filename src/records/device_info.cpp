#include "records/record.h"
#include "zamxml/records.h"

namespace {

constexpr auto Fields = [](auto& device, auto& fields) {
  fields.Text(u"Vendor", device.m_Vendor);
  fields.Text(u"Model", device.m_Model);
  fields.Text(u"Modality", device.m_Modality);
  fields.Text(u"Code", device.m_Code);
  fields.Text(u"SerialNo", device.m_SerialNo);
};

}  // namespace

ZAMXMLDeviceInfo::ZAMXMLDeviceInfo() = default;
ZAMXMLDeviceInfo::ZAMXMLDeviceInfo(const ZAMXMLDeviceInfo& other) = default;
ZAMXMLDeviceInfo& ZAMXMLDeviceInfo::operator=(const ZAMXMLDeviceInfo& other) = default;
ZAMXMLDeviceInfo::~ZAMXMLDeviceInfo() = default;

void ZAMXMLDeviceInfo::Clear() { zam::ClearRecord(*this, Fields); }

int ZAMXMLDeviceInfo::ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::ReadRecord(*this, xml, element, log, Fields);
}

int ZAMXMLDeviceInfo::WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::WriteRecord(*this, xml, element, log, Fields);
}
