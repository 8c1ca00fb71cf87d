#pragma once

#include "platform/xml/fields.h"
#include "zamxml/changes.h"

/// Reading the list of modifications. Once more: what the tree still holds stays where it is.
namespace zam {

/// Reads a record from its element, the index-th of its name, like its ReadFromXML.
int Read(ZAMXMLChangeItem& item, ZAMXml& xml, const FieldCursor& element, int index, ZAMLog* log);
int Read(ZAMXMLModification& modification, ZAMXml& xml, const FieldCursor& element, int index,
         ZAMLog* log);

/// Whether the element, read, would give the record again.
bool Holds(FieldCursor element, const ZAMXMLChangeItem& item);
bool Holds(FieldCursor element, const ZAMXMLModification& modification);

/// Reads an empty list from its element, like its ReadFromXML. Entries of the former list which the
/// element still holds, at the same index, move over and leave null there.
int ReadAgain(ZAMXMLModificationGroup& list, ZAMXMLModificationGroup& former, ZAMXml& xml,
              const IXMLDOMNodePtr& element, ZAMLog* log);

/// Moves such entries back, as far as they are still in the list.
void TakeBack(ZAMXMLModificationGroup& former, ZAMXMLModificationGroup& list);

}  // namespace zam
