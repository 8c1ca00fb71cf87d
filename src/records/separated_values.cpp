#include "records/separated_values.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <limits>

namespace zam {
namespace {

template <class Datum>
using Bytes = std::array<unsigned char, sizeof(Datum)>;

/// Gathers units and appends them to a text in runs.
class TextBuilder {
public:
  explicit TextBuilder(CString& text) : m_Text(text) {}

  template <class Unit>
  void Append(std::basic_string_view<Unit> units) {
    for (const Unit unit : units) {
      if (m_Used == m_Run.size()) {
        Flush();
      }
      m_Run[m_Used++] = static_cast<char16_t>(unit);
    }
  }

  void Flush() {
    m_Text += std::u16string_view(m_Run.data(), m_Used);
    m_Used = 0;
  }

private:
  CString& m_Text;
  std::array<char16_t, 1024> m_Run{};
  std::size_t m_Used = 0;
};

template <class Datum>
void EncodeAs(CString& text, std::u16string_view separator, const unsigned char* data, int count,
              bool invert) {
  std::array<char, std::numeric_limits<Datum>::digits10 + 2> digits{};
  // Room for the longest numbers: growing step by step takes longer than the conversion.
  const std::uint64_t longest =
      (digits.size() + separator.size()) * static_cast<std::uint64_t>(count);
  text.Reserve(static_cast<int>(std::min<std::uint64_t>(longest, std::numeric_limits<int>::max())));
  TextBuilder builder(text);
  for (int i = 0; i < count; ++i, data += sizeof(Datum)) {
    Bytes<Datum> bytes;
    std::memcpy(bytes.data(), data, bytes.size());
    if (invert) {
      std::reverse(bytes.begin(), bytes.end());
    }
    if (i > 0) {
      builder.Append(separator);
    }
    const auto written = std::to_chars(digits.data(), digits.data() + digits.size(),
                                       static_cast<int>(std::bit_cast<Datum>(bytes)));
    builder.Append(std::string_view(digits.data(), written.ptr));
  }
  builder.Flush();
}

template <class Datum>
int DecodeAs(std::u16string_view text, std::u16string_view separator, unsigned char* data,
             int count, bool invert) noexcept {
  int stored = 0;
  std::size_t position = 0;
  while (stored < count) {
    position = text.find_first_not_of(separator, position);
    if (position == std::u16string_view::npos) {
      break;
    }
    const std::size_t end = std::min(text.find_first_of(separator, position), text.size());
    const std::int64_t number = ParseInteger(text.substr(position, end - position));
    auto bytes = std::bit_cast<Bytes<Datum>>(static_cast<Datum>(number));
    if (invert) {
      std::reverse(bytes.begin(), bytes.end());
    }
    std::memcpy(data, bytes.data(), bytes.size());
    data += bytes.size();
    ++stored;
    position = end;
  }
  return stored;
}

constexpr bool IsWhiteSpace(char16_t unit) noexcept {
  return unit == u' ' || (unit >= u'\t' && unit <= u'\r') || unit == 0x85 || unit == 0xA0 ||
         unit == 0x1680 || (unit >= 0x2000 && unit <= 0x200A) || unit == 0x2028 || unit == 0x2029 ||
         unit == 0x202F || unit == 0x205F || unit == 0x3000;
}

}  // namespace

std::int64_t ParseInteger(std::u16string_view text) noexcept {
  const char16_t* unit = text.data();
  const char16_t* const end = unit + text.size();
  unit = std::find_if_not(unit, end, IsWhiteSpace);
  const bool negative = unit != end && *unit == u'-';
  if (unit != end && (*unit == u'-' || *unit == u'+')) {
    ++unit;
  }

  constexpr std::uint64_t beyond = std::numeric_limits<std::uint64_t>::max();
  std::uint64_t magnitude = 0;
  for (; unit != end && *unit >= u'0' && *unit <= u'9'; ++unit) {
    const auto digit = static_cast<std::uint64_t>(*unit - u'0');
    magnitude = magnitude > (beyond - 9) / 10 ? beyond : magnitude * 10 + digit;
  }
  constexpr std::uint64_t largest = std::numeric_limits<std::int64_t>::max();
  return static_cast<std::int64_t>(negative ? 0 - std::min(magnitude, largest + 1)
                                            : std::min(magnitude, largest));
}

bool EncodeValues(CString& text, std::u16string_view separator, const unsigned char* data,
                  int width, int count, bool invert) {
  text.Empty();
  if (!IsDatumWidth(width) || separator.empty() || (data == nullptr && count > 0)) {
    return false;
  }
  const auto encode = width == 1   ? EncodeAs<std::int8_t>
                      : width == 2 ? EncodeAs<std::int16_t>
                                   : EncodeAs<std::int32_t>;
  encode(text, separator, data, std::max(count, 0), invert);
  return true;
}

std::optional<int> DecodeValues(std::u16string_view text, std::u16string_view separator,
                                unsigned char* data, int width, int count, bool invert) noexcept {
  if (!IsDatumWidth(width) || (data == nullptr && count > 0)) {
    return std::nullopt;
  }
  const auto decode = width == 1   ? DecodeAs<std::int8_t>
                      : width == 2 ? DecodeAs<std::int16_t>
                                   : DecodeAs<std::int32_t>;
  return decode(text, separator, data, count, invert);
}

}  // namespace zam
