#pragma once

#include "platform/xml/written.h"
#include "zamxml/changes.h"

/// Writing the list of modifications once more: what is in the tree already stays there.
namespace zam {

/// Whether writing the record into a new element would make the element of the cursor.
bool IsWritten(WrittenCursor inside, const ZAMXMLChangeItem& item);
bool IsWritten(WrittenCursor inside, const ZAMXMLModification& modification);

/// How many modifications from the first on are in the element as they would be written, with
/// nothing else beside them; 0 when there is anything else.
int CountWritten(const ZAMXMLModificationGroup& list, ZAMXml& xml, const IXMLDOMNodePtr& element);

}  // namespace zam
