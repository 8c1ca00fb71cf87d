#pragma once

#include <string>
#include <string_view>

namespace zam {

/// Whether a text is a name of XML 1.0 (fifth edition), as the parser takes it.
bool IsXmlName(std::u16string_view name) noexcept;

/// The name, in UTF-8, under which an element or attribute of that name is stored: the name itself
/// when it is an XML name. Otherwise each UTF-16 unit that is not allowed there becomes
/// "_xHHHH_" (and a "_" before an "x" as well, so that no two such names meet), the convention of
/// ISO/IEC 9075-14. An empty name becomes "_x_", which that convention gives to no other. A unit
/// that XML cannot carry counts as U+FFFD, as it does where the name is stored as a text.
std::string StoredName(std::u16string_view name);

}  // namespace zam
