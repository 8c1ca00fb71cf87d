#include <utility>

#include "changes/owned_entries.h"
#include "changes/rereading.h"
#include "changes/rewriting.h"
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
    zam::ReadEntries(m_ModificationList, xml, zam::FieldCursor(xml, element), u"Modification", log);
    return 1;
  });
}

int ZAMXMLModificationGroup::WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::RunGuarded(xml, element, log, [&] {
    const int written = zam::CountWritten(*this, xml, element);
    if (written == 0) {
      xml.RemoveChildNodeAll(element);
    }
    zam::WriteEntries(m_ModificationList, xml, element, u"Modification", log, written);
    return 1;
  });
}

int zam::ReadAgain(ZAMXMLModificationGroup& list, ZAMXMLModificationGroup& former, ZAMXml& xml,
                   const IXMLDOMNodePtr& element, ZAMLog* log) {
  auto& entries = list.m_ModificationList;
  auto& known = former.m_ModificationList;
  return RunGuarded(xml, element, log, [&] {
    const FieldName name(u"Modification");
    FieldCursor child = FieldCursor(xml, element).Below(name);
    for (int position = 0; child; child = child.Next(name), ++position) {
      const int index = entries.GetCount();
      if (index < known.GetCount() && Holds(child, *known[index])) {
        entries.Add(known[index]);
        known[index] = nullptr;
      } else {
        ReadEntry(entries, xml, child, position, log);
      }
    }
    return 1;
  });
}

void zam::TakeBack(ZAMXMLModificationGroup& former, ZAMXMLModificationGroup& list) {
  auto& known = former.m_ModificationList;
  for (int index = known.GetCount() - 1; index >= 0; --index) {
    if (known[index] == nullptr && index < list.GetCount()) {
      std::swap(known[index], list.m_ModificationList[index]);
    }
    if (known[index] == nullptr) {
      known.RemoveAt(index);
    }
  }
}

int zam::CountWritten(const ZAMXMLModificationGroup& list, ZAMXml& xml,
                      const IXMLDOMNodePtr& element) {
  int count = 0;
  for (WrittenCursor cursor(xml, element); !cursor.IsAtEnd(); ++count) {
    if (count == list.GetCount() || !cursor.Next(u"Modification") ||
        !IsWritten(cursor.Inside(), *list.GetModification(count))) {
      return 0;
    }
  }
  return count;
}
