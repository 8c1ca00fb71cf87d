#pragma once

#include <ZAMXMLData.h>

#include <string>
#include <vector>

#include "value_path.h"

/// What the changes of a modification are about, and how they are printed.

/// The path of a change as it was recorded.
ValuePath PathOf(const ZAMXMLChangeItem& item);

/// The places that a change writes: its own, or those of a name's parts or of the statements.
std::vector<ValuePath> TargetsOf(const ValuePath& path, ZAMXML_VTYPE type);
std::vector<ValuePath> TargetsOf(const ZAMXMLChangeItem& item);

/// True when two changes write the same place.
bool Overlap(const ZAMXMLChangeItem& left, const ZAMXMLChangeItem& right);

/// True when the filter takes the change or any place that it writes.
bool Concerns(const PathFilter& filter, const ZAMXMLChangeItem& item);

/// "2024-03-05 11:02:17  rpark (Rina Park)"
std::string Origin(const ZAMXMLModification& modification);
/// "3  2024-03-05 11:02:17  rpark (Rina Park)", the number in colour.
std::string Headline(const ZAMXMLModification& modification, int number);

/// "PATH: old → new" and a line's end.
std::string ChangeLine(const ZAMXMLChangeItem& item);
/// "    PATH: old → new" lines of the changes that the filter takes.
std::string ChangeLines(const ZAMXMLModification& modification, const PathFilter& filter);
