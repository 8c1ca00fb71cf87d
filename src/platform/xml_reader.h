#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/system.h"

struct ZAMXmlDocument;

namespace zam {

/// A copy of a text as the bytes of a file.
FileBytes CopyOf(std::string_view text);

/// Makes a document of the bytes of a file. Null, with line, column and reason, when they are no
/// well-formed XML 1.0 in one of the encodings that are read, declare a document type, or nest
/// elements too deep.
std::unique_ptr<ZAMXmlDocument> ReadDocument(FileBytes bytes, std::string& reason);

}  // namespace zam
