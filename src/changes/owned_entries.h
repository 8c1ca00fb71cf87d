#pragma once

#include <memory>

#include "changes/list_access.h"
#include "records/record.h"
#include "zamxml/platform/array.h"

/// The lists of change tracking: records of one kind, each in a child element of one name, behind
/// pointers that the holder of the array owns.
namespace zam {

template <class Entry>
void DeleteEntries(ZAMArray<Entry*>& entries) noexcept {
  while (entries.GetCount() > 0) {
    const std::unique_ptr<Entry> entry(entries[0]);
    entries.RemoveAt(0);
  }
}

/// Appends the entry of an element, the index-th of its name, if it can be read.
template <class Entry>
void ReadEntry(ZAMArray<Entry*>& entries, ZAMXml& xml, const FieldCursor& child, int index,
               ZAMLog* log) {
  auto entry = std::make_unique<Entry>();
  if (Read(*entry, xml, child, index, log) != 0) {
    entries.Add(entry.get());
    entry.release();
  }
}

/// Appends the entry of the next raw child, if that is written like one. A child without content is
/// not.
template <class Entry>
bool ReadEntry(ZAMArray<Entry*>& entries, RawCursor& cursor, const FieldName& name) {
  if (!cursor.Enter(name)) {
    return false;
  }
  auto entry = std::make_unique<Entry>();
  if (!Read(*entry, cursor) || !cursor.Leave(name)) {
    return false;
  }
  entries.Add(entry.get());
  entry.release();
  return true;
}

/// Appends the entries that can be read. The first element is the index-th of its name.
template <class Entry>
void ReadEntries(ZAMArray<Entry*>& entries, ZAMXml& xml, FieldCursor element, const FieldName& name,
                 ZAMLog* log, int index = 0) {
  FieldCursor child = element.Below(name);
  for (; child; child = child.Next(name), ++index) {
    ReadEntry(entries, xml, child, index, log);
  }
}

/// Adds an element for every entry from the first on; one that cannot be written stays incomplete.
template <class Entry>
void WriteEntries(const ZAMArray<Entry*>& entries, ZAMXml& xml, const IXMLDOMNodePtr& element,
                  ZAMTextView name, ZAMLog* log, int first = 0) {
  for (int index = first; index < entries.GetCount(); ++index) {
    AddChild(xml, element, name, nullptr, index,
             [&](IXMLDOMNodePtr& child) { entries[index]->WriteToXML(xml, child, log); });
  }
}

}  // namespace zam
