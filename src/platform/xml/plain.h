#pragma once

#include <cstddef>
#include <string_view>

namespace zam {

/// Whether a text in UTF-8 that follows the declaration is a well-formed document of the plain
/// kind, which pugixml reads as the strict parser would: names of ASCII letters, digits, "-", "_"
/// and ".", few attributes, no carriage return, no processing instruction, of the references only
/// those that this library writes. False says nothing about the text.
bool IsPlainDocument(std::string_view text);

inline constexpr std::size_t BlockSize = 64;

/// Whether so many bytes are printable ASCII, without any that XML escapes. They are looked at
/// together, without a branch between them.
bool IsPlainBlock(const char* bytes);

}  // namespace zam
