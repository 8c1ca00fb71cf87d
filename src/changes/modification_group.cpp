#include "changes/known_list.h"
#include "changes/list_access.h"
#include "changes/owned_entries.h"
#include "records/record.h"
#include "zamxml/changes.h"

ZAMXMLModificationGroup::ZAMXMLModificationGroup() = default;
ZAMXMLModificationGroup::~ZAMXMLModificationGroup() { Clear(); }

void ZAMXMLModificationGroup::Clear() {
  m_pKnown.reset();
  zam::DeleteEntries(m_ModificationList);
}

int ZAMXMLModificationGroup::GetCount() const { return m_ModificationList.GetCount(); }

ZAMXMLModification* ZAMXMLModificationGroup::GetModification(int index) const {
  return m_ModificationList[index];
}

int ZAMXMLModificationGroup::ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::RunGuarded(xml, element, log, [&] {
    const zam::RawSection section(xml, element);
    const bool readRaw = section && zam::ListAccess::ReadRaw(*this, section);
    const zam::FieldCursor rest = readRaw ? section.Rest() : zam::FieldCursor(xml, element);
    zam::ReadEntries(m_ModificationList, xml, rest, u"Modification", log,
                     readRaw ? section.GetCount() : 0);
    return 1;
  });
}

int ZAMXMLModificationGroup::WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::RunGuarded(xml, element, log, [&] {
    const int written = zam::ListAccess::CountWritten(*this, xml, element);
    if (written == 0) {
      xml.RemoveChildNodeAll(element);
    }
    zam::WriteEntries(m_ModificationList, xml, element, u"Modification", log, written);
    return 1;
  });
}
