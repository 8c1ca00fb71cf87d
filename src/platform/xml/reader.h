#pragma once

#include <memory>
#include <string>

#include "platform/system.h"

struct ZAMXmlDocument;

namespace zam {

/// Makes a document of the bytes of a file. Null, with line, column and reason, when they are no
/// well-formed XML 1.0 in an encoding that is known, declare a document type, or exceed one of the
/// bounds. The children of the section may stay raw; an empty name chooses none.
std::unique_ptr<ZAMXmlDocument> ReadDocument(FileBytes bytes, std::string_view rawSection,
                                             std::string& reason);

}  // namespace zam
