#include "platform/utf.h"

#include <utf8.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace zam {
namespace {

constexpr char32_t ReplacementCharacter = 0xFFFD;
/// What NextCodePoint gives for a surrogate without its partner; no code point.
constexpr char32_t LoneSurrogate = 0xFFFFFFFF;

bool IsLead(char16_t unit) noexcept { return (unit & 0xFC00) == 0xD800; }
bool IsTrail(char16_t unit) noexcept { return (unit & 0xFC00) == 0xDC00; }

char32_t NextCodePoint(std::u16string_view units, std::size_t& position) noexcept {
  const char16_t unit = units[position++];
  if (!IsLead(unit) && !IsTrail(unit)) {
    return unit;
  }
  if (IsTrail(unit) || position == units.size() || !IsTrail(units[position])) {
    return LoneSurrogate;
  }
  const char16_t trail = units[position++];
  return 0x10000 + ((static_cast<char32_t>(unit) & 0x3FF) << 10) + (trail & 0x3FF);
}

bool XmlCanCarry(char32_t point) noexcept {
  return point >= 0x20 ? point != 0xFFFE && point != 0xFFFF && point != LoneSurrogate
                       : point == '\t' || point == '\n' || point == '\r';
}

/// Converts unit by unit; `accept` says which code points stay. The leading run of plain ASCII,
/// which is all of most texts, is copied at once.
template <class Accept>
std::string Convert(std::u16string_view units, Accept accept) {
  const auto isPlain = [](char16_t unit) { return unit >= 0x20 && unit < 0x80; };
  const auto plainEnd = std::find_if_not(units.begin(), units.end(), isPlain);
  std::string bytes;
  bytes.reserve(units.size());
  bytes.resize(static_cast<std::size_t>(plainEnd - units.begin()));
  std::transform(units.begin(), plainEnd, bytes.begin(),
                 [](char16_t unit) { return static_cast<char>(unit); });
  for (auto position = static_cast<std::size_t>(plainEnd - units.begin());
       position < units.size();) {
    const char32_t point = NextCodePoint(units, position);
    utf8::append(accept(point) ? point : ReplacementCharacter, std::back_inserter(bytes));
  }
  return bytes;
}

bool IsAsciiByte(char byte) noexcept { return static_cast<unsigned char>(byte) < 0x80; }

bool IsSameByCharacter(std::u16string_view units, std::string_view bytes) noexcept {
  for (std::size_t position = 0; position < units.size();) {
    const char32_t point = NextCodePoint(units, position);
    std::array<char, 4> encoded{};
    if (point == LoneSurrogate) {
      return false;
    }
    const char* const end = utf8::append(point, encoded.data());
    const std::string_view character(encoded.data(),
                                     static_cast<std::size_t>(end - encoded.data()));
    if (!bytes.starts_with(character)) {
      return false;
    }
    bytes.remove_prefix(character.size());
  }
  return bytes.empty();
}

/// The first byte that is zero or no ASCII, looking at eight at a time.
const char* EndOfPlain(const char* position, const char* end) noexcept {
  constexpr std::uint64_t HighBits = 0x8080808080808080;
  constexpr std::uint64_t LowBits = 0x0101010101010101;
  for (std::uint64_t eight = 0; end - position >= 8; position += 8) {
    std::memcpy(&eight, position, 8);
    if (((eight | (eight - LowBits)) & HighBits) != 0) {
      break;
    }
  }
  return std::find_if(position, end, [](char byte) { return byte == '\0' || !IsAsciiByte(byte); });
}

}  // namespace

std::string ToUtf8(std::u16string_view units) {
  return Convert(units, [](char32_t point) { return point != LoneSurrogate; });
}

std::string ToXmlUtf8(std::u16string_view units, bool& replaced) {
  return Convert(units, [&replaced](char32_t point) {
    const bool carried = XmlCanCarry(point);
    replaced = replaced || !carried;
    return carried;
  });
}

bool IsXmlText(std::u16string_view units) noexcept {
  const auto isPlain = [](char16_t unit) { return unit >= 0x20 && unit < 0xD800; };
  auto position =
      static_cast<std::size_t>(std::ranges::find_if_not(units, isPlain) - units.begin());
  while (position < units.size()) {
    if (!XmlCanCarry(NextCodePoint(units, position))) {
      return false;
    }
  }
  return true;
}

bool IsSame(std::u16string_view units, std::string_view bytes) noexcept {
  if (units.size() != bytes.size()) {
    return units.size() < bytes.size() && bytes.size() <= 3 * units.size() &&
           IsSameByCharacter(units, bytes);
  }
  unsigned int difference = 0;
  for (std::size_t i = 0; i < units.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    difference |= (units[i] ^ byte) | (byte & 0x80U);
  }
  return difference == 0;
}

bool IsAscii(std::string_view bytes) noexcept {
  unsigned int bits = 0;
  for (const char byte : bytes) {
    bits |= static_cast<unsigned char>(byte);
  }
  return bits < 0x80;
}

std::u16string ToUtf16(std::string_view bytes) {
  std::u16string units;
  units.reserve(bytes.size());
  if (utf8::is_valid(bytes.begin(), bytes.end())) {
    utf8::utf8to16(bytes.begin(), bytes.end(), std::back_inserter(units));
  } else {
    std::string repaired;
    utf8::replace_invalid(bytes.begin(), bytes.end(), std::back_inserter(repaired),
                          ReplacementCharacter);
    utf8::utf8to16(repaired.begin(), repaired.end(), std::back_inserter(units));
  }
  return units;
}

std::size_t FindInvalidUtf8(std::string_view bytes) {
  const char* position = bytes.data();
  const char* const end = position + bytes.size();
  while ((position = EndOfPlain(position, end)) != end && *position != '\0') {
    const char* const runEnd = std::find_if(position, end, IsAsciiByte);
    const char* const invalid = utf8::find_invalid(position, runEnd);
    if (invalid != runEnd) {
      position = invalid;
      break;
    }
    position = runEnd;
  }
  return position != end ? static_cast<std::size_t>(position - bytes.data())
                         : std::string_view::npos;
}

bool AppendUtf16(std::string& text, std::string_view bytes, bool bigEndian) {
  std::u16string units(bytes.size() / 2, u'\0');
  for (std::size_t i = 0; i < units.size(); ++i) {
    const auto first = static_cast<unsigned char>(bytes[2 * i]);
    const auto second = static_cast<unsigned char>(bytes[2 * i + 1]);
    units[i] = static_cast<char16_t>(bigEndian ? first << 8 | second : second << 8 | first);
  }
  text.reserve(text.size() + bytes.size());
  for (std::size_t position = 0; position < units.size();) {
    const char32_t point = NextCodePoint(units, position);
    if (point == LoneSurrogate) {
      return false;
    }
    utf8::append(point, std::back_inserter(text));
  }
  return bytes.size() % 2 == 0;
}

void AppendLatin1(std::string& text, std::string_view bytes) {
  text.reserve(text.size() + bytes.size());
  for (const char byte : bytes) {
    utf8::append(static_cast<unsigned char>(byte), std::back_inserter(text));
  }
}

}  // namespace zam
