#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "document.h"

/// Digests of documents: a chain of SHA-256 over the original content and then each modification in
/// turn, whose form docs/format.md lays down.

/// The digests of the original content and of the state after each modification, in hexadecimal,
/// of a document that has just been opened.
std::vector<std::string> DigestChain(Document& document);

/// "DIGEST  COUNT  NAME", where the count is that of the modifications, and a line's end. A name
/// with a line feed or a backslash is escaped and has a backslash before the line.
std::string DigestLine(const std::string& digest, std::size_t count, const std::string& name);
