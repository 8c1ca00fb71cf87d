#pragma once

#include "platform/system.h"

struct ZAMXmlDocument;

namespace zam {

/// Writes the tree as UTF-8 text, exactly: nothing is indented, and a parser reads back what the
/// tree holds. The declaration, where there is one, says UTF-8. False when a block could not be
/// written.
bool WriteDocument(const ZAMXmlDocument& document, const WriteBlock& write);

}  // namespace zam
