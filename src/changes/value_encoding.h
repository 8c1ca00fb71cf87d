#pragma once

#include "zamxml/records.h"

namespace zam {

/// Whether a text of the record holds the sign that joins texts in a folded value: such a text does
/// not come back whole.
bool HoldsSeparator(const ZAMXMLName& name);
bool HoldsSeparator(const ZAMXMLStatement& list);

}  // namespace zam
