#pragma once

#include <pugixml.hpp>

#include "platform/system.h"

namespace zam {

/// Writes the tree as UTF-8 text, exactly: nothing is indented, and a parser reads back what the
/// tree holds. The declaration, where there is one, says UTF-8. False when a block could not be
/// written.
bool WriteDocument(const pugi::xml_document& tree, const WriteBlock& write);

}  // namespace zam
