#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "zamxml/platform/text.h"

/// Decimal numbers in text: the one conversion behind the binary data block, its data and its
/// header. Nothing is kept between calls: any number of threads may convert at once.
namespace zam {

/// Whether data of that many bytes can be converted.
constexpr bool IsDatumWidth(int width) noexcept { return width == 1 || width == 2 || width == 4; }

/// The number at the start of the text: white space, one sign, digits up to the first other
/// character. 0 without digits; a number that 64 bits cannot hold becomes the nearest that they
/// can.
std::int64_t ParseInteger(std::u16string_view text) noexcept;

/// Replaces the text by that many signed data of the buffer, joined by the separator; with invert
/// the bytes of each are taken in reverse. False, with the text empty, for a width that cannot be
/// converted, or for data that would run together or are not there.
bool EncodeValues(CString& text, std::u16string_view separator, const unsigned char* data,
                  int width, int count, bool invert);

/// Stores the low bits of the numbers in the text, at most that many, from the start of the buffer
/// on; with invert the bytes of each in reverse. The text is split at every unit of the separator,
/// a run of them counting as one. How many were stored, or nothing for a width that cannot be
/// converted or a null buffer.
std::optional<int> DecodeValues(std::u16string_view text, std::u16string_view separator,
                                unsigned char* data, int width, int count, bool invert) noexcept;

}  // namespace zam
