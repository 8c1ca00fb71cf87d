#include "records/separated_values.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <limits>

namespace zam {
namespace {

template <class Datum>
using Bytes = std::array<unsigned char, sizeof(Datum)>;

/// Reads a sign and as many digits as 64 bits surely hold, and moves on behind them.
std::int64_t ReadPlain(const char16_t*& unit, const char16_t* end) noexcept {
  const bool negative = *unit == u'-';
  unit += negative ? 1 : 0;
  const char16_t* const last = unit + std::min<std::ptrdiff_t>(end - unit, 18);
  std::int64_t magnitude = 0;
  for (; unit != last && *unit >= u'0' && *unit <= u'9'; ++unit) {
    magnitude = 10 * magnitude + (*unit - u'0');
  }
  return negative ? -magnitude : magnitude;
}

/// Gathers units and appends them to a text in runs.
class TextBuilder {
public:
  explicit TextBuilder(CString& text) : m_Text(text) {}

  /// Where so many units can be written, at most the length of a run.
  char16_t* Room(std::size_t units) {
    if (m_Run.size() - m_Used < units) {
      Flush();
    }
    return m_Run.data() + m_Used;
  }
  /// Takes over what has been written into the room, up to there.
  void Advance(const char16_t* end) { m_Used = static_cast<std::size_t>(end - m_Run.data()); }

  void Append(std::u16string_view units) {
    if (units.size() > m_Run.size()) {
      Flush();
      m_Text += units;
      return;
    }
    Advance(std::copy(units.begin(), units.end(), Room(units.size())));
  }

  void Flush() {
    m_Text += std::u16string_view(m_Run.data(), m_Used);
    m_Used = 0;
  }

private:
  CString& m_Text;
  std::array<char16_t, 4096> m_Run;
  std::size_t m_Used = 0;
};

std::size_t CountDigits(std::uint32_t number) noexcept {
  std::size_t digits = 1;
  for (; number >= 1000; number /= 1000) {
    digits += 3;
  }
  return digits + (number >= 10 ? 1 : 0) + (number >= 100 ? 1 : 0);
}

/// Writes a number in decimal and gives where it ends. std::to_chars would write bytes, each of
/// which had to be widened.
template <class Datum>
char16_t* WriteDecimal(char16_t* out, Datum number) {
  static constexpr auto pairs = [] {
    std::array<char16_t, 200> digits{};
    for (unsigned int i = 0; i < 100; ++i) {
      digits[2 * i] = static_cast<char16_t>(u'0' + i / 10);
      digits[2 * i + 1] = static_cast<char16_t>(u'0' + i % 10);
    }
    return digits;
  }();
  const std::int64_t wide = number;
  auto magnitude = static_cast<std::uint32_t>(wide < 0 ? -wide : wide);
  *out = u'-';
  out += wide < 0 ? 1 : 0;
  char16_t* const end = out + CountDigits(magnitude);
  char16_t* first = end;
  for (; magnitude >= 100; magnitude /= 100) {
    first -= 2;
    std::memcpy(first, &pairs[2 * std::size_t{magnitude % 100}], 2 * sizeof(char16_t));
  }
  first[-1] = pairs[2 * magnitude + 1];
  if (magnitude >= 10) {
    first[-2] = pairs[2 * magnitude];
  }
  return end;
}

template <class Datum>
void EncodeAs(CString& text, std::u16string_view separator, const unsigned char* data, int count,
              bool invert) {
  constexpr std::size_t longest = std::numeric_limits<Datum>::digits10 + 2;
  // Growing step by step takes longer than the conversion.
  const std::uint64_t room = (longest + separator.size()) * static_cast<std::uint64_t>(count);
  text.Reserve(static_cast<int>(std::min<std::uint64_t>(room, std::numeric_limits<int>::max())));
  TextBuilder builder(text);
  for (int i = 0; i < count; ++i, data += sizeof(Datum)) {
    Bytes<Datum> bytes;
    std::memcpy(bytes.data(), data, bytes.size());
    if (invert) {
      std::reverse(bytes.begin(), bytes.end());
    }
    if (i > 0 && separator.size() > 1) {
      builder.Append(separator);
    }
    char16_t* const out = builder.Room(longest + 1);
    out[0] = separator[0];
    const bool separates = i > 0 && separator.size() == 1;
    builder.Advance(WriteDecimal(out + (separates ? 1 : 0), std::bit_cast<Datum>(bytes)));
  }
  builder.Flush();
}

/// Separators are split at without a search when there is one unit only, as nearly always.
template <class Datum>
int DecodeAs(std::u16string_view text, std::u16string_view separator, unsigned char* data,
             int count, bool invert) noexcept {
  const char16_t first = separator.empty() ? u'\0' : separator.front();
  const bool single = separator.size() == 1;
  const auto separates = [&](char16_t unit) {
    return single ? unit == first : separator.find(unit) != std::u16string_view::npos;
  };
  // A separator that numbers are written with ends them where a plain reading would go on.
  const bool plain = separator.find_first_of(u"-0123456789") == std::u16string_view::npos;
  const char16_t* unit = text.data();
  const char16_t* const end = unit + text.size();
  int stored = 0;
  for (; stored < count; ++stored, data += sizeof(Datum)) {
    unit = std::find_if_not(unit, end, separates);
    if (unit == end) {
      break;
    }
    const char16_t* const begin = unit;
    std::int64_t number = plain ? ReadPlain(unit, end) : 0;
    if (!plain || (unit != end && !separates(*unit))) {
      unit = std::find_if(unit, end, separates);
      number = ParseInteger({begin, unit});
    }
    auto bytes = std::bit_cast<Bytes<Datum>>(static_cast<Datum>(number));
    if (invert) {
      std::reverse(bytes.begin(), bytes.end());
    }
    std::memcpy(data, bytes.data(), bytes.size());
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
