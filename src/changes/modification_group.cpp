#include "changes/owned_entries.h"
#include "records/record.h"
#include "zamxml/changes.h"

ZAMXMLModificationGroup::ZAMXMLModificationGroup() = default;
ZAMXMLModificationGroup::~ZAMXMLModificationGroup() { Clear(); }

void ZAMXMLModificationGroup::Clear() { zam::DeleteEntries(m_ModificationList); }

int ZAMXMLModificationGroup::GetCount() const { return m_ModificationList.GetCount(); }

ZAMXMLModification* ZAMXMLModificationGroup::GetModification(int index) const {
  return m_ModificationList[index];
}

int ZAMXMLModificationGroup::ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::RunGuarded(xml, element, log, [&] {
    zam::ReadEntries(m_ModificationList, xml, element, u"Modification", log);
    return 1;
  });
}

int ZAMXMLModificationGroup::WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::RunGuarded(xml, element, log, [&] {
    xml.RemoveChildNodeAll(element);
    zam::WriteEntries(m_ModificationList, xml, element, u"Modification", log);
    return 1;
  });
}
