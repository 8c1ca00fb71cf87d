#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// The one place that converts texts.
namespace zam {

/// UTF-16 to UTF-8; a lone surrogate becomes U+FFFD.
std::string ToUtf8(std::u16string_view units);

/// UTF-8 to UTF-16; bytes that are no UTF-8 become U+FFFD.
std::u16string ToUtf16(std::string_view bytes);

/// UTF-16 to UTF-8 as an XML document can carry it: control characters other than tab, line feed
/// and carriage return, lone surrogates, U+FFFE, U+FFFF and zero become U+FFFD, and `replaced` is
/// set to true (otherwise left alone).
std::string ToXmlUtf8(std::u16string_view units, bool& replaced);

/// Whether XML can carry all of the units: ToXmlUtf8 would replace none.
bool IsXmlText(std::u16string_view units) noexcept;

/// Whether the units are the text of the bytes, which are then UTF-8.
bool IsSame(std::u16string_view units, std::string_view bytes) noexcept;

/// True when every byte is ASCII.
bool IsAscii(std::string_view bytes) noexcept;

/// The position of the first byte that is zero or not valid UTF-8; npos if there is none.
std::size_t FindInvalidUtf8(std::string_view bytes);

/// Appends bytes of a UTF-16 file, as UTF-8, to the text. False for a lone surrogate or if
/// half a unit is left over: the text then holds what precedes it.
bool AppendUtf16(std::string& text, std::string_view bytes, bool bigEndian);

/// Appends bytes of an ISO-8859-1 file, as UTF-8, to the text.
void AppendLatin1(std::string& text, std::string_view bytes);

}  // namespace zam
