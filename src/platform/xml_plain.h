#pragma once

#include <string_view>

namespace zam {

/// Whether a text in UTF-8 that follows the declaration is a well-formed document of the plain
/// kind, which pugixml reads as the strict parser would: names of ASCII letters, digits, "-", "_"
/// and ".", few attributes, no carriage return, no processing instruction, of the references only
/// those that this library writes. False says nothing about the text.
bool IsPlainDocument(std::string_view text);

}  // namespace zam
