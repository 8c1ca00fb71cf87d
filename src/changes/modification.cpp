#include "changes/list_access.h"
#include "changes/owned_entries.h"
#include "records/record.h"
#include "zamxml/changes.h"

namespace {

constexpr auto Fields = [](auto& modification, auto& fields) {
  fields.Text(u"UID", modification.m_UID);
  fields.Text(u"Date", modification.m_Date);
  fields.Text(u"Time", modification.m_Time);
  fields.Text(u"UserID", modification.m_UserID);
  fields.Text(u"UserName", modification.m_UserName);
};

void ReadFields(ZAMXMLModification& modification, ZAMXml& xml, const zam::FieldCursor& element,
                ZAMLog* log) {
  zam::ReadingFields fields(xml, element, log);
  Fields(modification, fields);
  const zam::FieldCursor changes = fields.Cursor().Below(u"Changes");
  if (!changes) {
    throw _com_error(E_POINTER);
  }
  zam::ReadEntries(modification.m_Changes, xml, changes, u"Item", log);
}

}  // namespace

ZAMXMLModification::ZAMXMLModification() = default;
ZAMXMLModification::~ZAMXMLModification() { zam::DeleteEntries(m_Changes); }

void ZAMXMLModification::Clear() {
  zam::ClearRecord(*this, Fields);
  zam::DeleteEntries(m_Changes);
}

int ZAMXMLModification::GetCount() const { return m_Changes.GetCount(); }

ZAMXMLChangeItem* ZAMXMLModification::GetChange(int index) const {
  return index < 0 || index >= GetCount() ? nullptr : m_Changes[index];
}

int ZAMXMLModification::ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::RunGuarded(xml, element, log, [&] {
    ReadFields(*this, xml, zam::FieldCursor(xml, element), log);
    return 1;
  });
}

int zam::Read(ZAMXMLModification& modification, ZAMXml& xml, const FieldCursor& element, int index,
              ZAMLog* log) {
  return RunCatching(xml, element, index, log, [&] {
    ReadFields(modification, xml, element, log);
    return 1;
  });
}

bool zam::Read(ZAMXMLModification& modification, RawCursor& cursor) {
  RawFields fields(cursor);
  Fields(modification, fields);
  if (!fields.IsRead() || cursor.PassEmpty(u"Changes")) {
    return fields.IsRead();
  }
  const bool hasChanges = cursor.Enter(u"Changes");
  while (hasChanges && ReadEntry(modification.m_Changes, cursor, u"Item")) {
  }
  return hasChanges && cursor.Leave(u"Changes");
}

int ZAMXMLModification::WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::RunGuarded(xml, element, log, [&] {
    zam::WritingFields fields(xml, element, log);
    Fields(*this, fields);
    const IXMLDOMNodePtr changes = fields.Child(u"Changes");
    xml.RemoveChildNodeAll(changes);
    zam::WriteEntries(m_Changes, xml, changes, u"Item", log);
    return 1;
  });
}

bool zam::Holds(FieldCursor element, const ZAMXMLModification& modification) {
  ComparingFields fields(element);
  Fields(modification, fields);
  FieldCursor changes = element.Below(u"Changes");
  if (!fields.IsSame() || !changes) {
    return false;
  }
  FieldCursor item = changes.Below(u"Item");
  for (const ZAMXMLChangeItem* const known : modification.m_Changes) {
    if (!item || !Holds(item, *known)) {
      return false;
    }
    item = item.Next(u"Item");
  }
  return !item;
}

bool zam::IsWritten(WrittenCursor inside, const ZAMXMLModification& modification) {
  WrittenFields fields(inside);
  Fields(modification, fields);
  if (!fields.IsSame() || !inside.Next(u"Changes") || !inside.IsAtEnd()) {
    return false;
  }
  WrittenCursor items = inside.Inside();
  for (const ZAMXMLChangeItem* const item : modification.m_Changes) {
    if (!items.Next(u"Item") || !IsWritten(items.Inside(), *item)) {
      return false;
    }
  }
  return items.IsAtEnd();
}
