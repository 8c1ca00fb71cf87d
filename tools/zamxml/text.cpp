#include "text.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "failure.h"

namespace {

bool IsControl(char16_t unit) { return unit < 0x20 || (unit >= 0x7F && unit < 0xA0); }

struct Range {
  char32_t m_First;
  char32_t m_Last;
};

/// Control characters, what joins, turns or fills without showing, the selectors of variants, and
/// spaces that nobody types.
constexpr Range Unseen[] = {
    {0x0000, 0x001F},   {0x007F, 0x00A0}, {0x00AD, 0x00AD}, {0x034F, 0x034F},   {0x061C, 0x061C},
    {0x115F, 0x1160},   {0x1680, 0x1680}, {0x17B4, 0x17B5}, {0x180B, 0x180F},   {0x2000, 0x200F},
    {0x2028, 0x202E},   {0x205F, 0x206F}, {0x2800, 0x2800}, {0x3164, 0x3164},   {0xFE00, 0xFE0F},
    {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0}, {0xFFF0, 0xFFFB}, {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A},
    {0xE0000, 0xE0FFF},
};

bool IsUnseen(char32_t character) {
  const bool isAscii = character >= 0x20 && character < 0x7F;  // nearly all of them
  return !isAscii && std::any_of(std::begin(Unseen), std::end(Unseen), [&](const Range& range) {
    return range.m_First <= character && character <= range.m_Last;
  });
}

bool IsHighSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
bool IsLowSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

/// The character at the front, and how many units it takes.
char32_t FrontOf(std::u16string_view units, std::size_t& length) {
  length = 1;
  if (units.size() < 2 || !IsHighSurrogate(units[0]) || !IsLowSurrogate(units[1])) {
    return units[0];
  }
  length = 2;
  return 0x10000 + ((static_cast<char32_t>(units[0]) & 0x3FF) << 10) + (units[1] & 0x3FF);
}

std::string Escape(char32_t character) {
  switch (character) {
    case U'\t':
      return "\\t";
    case U'\n':
      return "\\n";
    case U'\r':
      return "\\r";
    default:
      return fmt::format(fmt::runtime(character > 0xFFFF ? "\\U{:08x}" : "\\u{:04x}"),
                         static_cast<unsigned int>(character));
  }
}

}  // namespace

std::string WhyRefused(std::string_view value) {
  const _bstr_t text = _bstr_t::FromUtf8(value);
  const std::string again = text.utf8();
  if (again != value) {
    const auto place = std::mismatch(value.begin(), value.end(), again.begin(), again.end()).first;
    return fmt::format("byte {} begins no UTF-8 character", place - value.begin() + 1);
  }
  int character = 0;
  for (const char16_t unit : text.view()) {
    character += IsLowSurrogate(unit) ? 0 : 1;
    if (IsControl(unit) && unit != u'\t' && unit != u'\n' && unit != u'\r') {
      return fmt::format("character {} is the control character U+{:04X}", character,
                         static_cast<unsigned int>(unit));
    }
    if (unit >= 0xFFFE) {
      return fmt::format("character {} is U+{:04X}, which is no character", character,
                         static_cast<unsigned int>(unit));
    }
  }
  return {};
}

_bstr_t FileName(const std::string& name) {
  _bstr_t text = _bstr_t::FromUtf8(name);
  if (text.utf8() != name) {
    throw Failure(Printable(text), "cannot open it", "its name is no UTF-8");
  }
  return text;
}

void SplitUnseen(std::u16string_view text, const std::function<void(const std::string&)>& seen,
                 const std::function<void(char32_t)>& unseen) {
  std::size_t begin = 0;
  std::size_t length = 0;
  for (std::size_t i = 0; i < text.size(); i += length) {
    const char32_t character = FrontOf(text.substr(i), length);
    if (IsUnseen(character)) {
      seen(_bstr_t(text.substr(begin, i - begin)).utf8());
      unseen(character);
      begin = i + length;
    }
  }
  seen(_bstr_t(text.substr(begin)).utf8());
}

std::string Printable(const _bstr_t& value) {
  std::string line;
  SplitUnseen(
      value.view(), [&](const std::string& seen) { line += seen; },
      [&](char32_t character) { line += Escape(character); });
  return line;
}

std::size_t WidthOf(std::string_view printable) {
  // The format library knows which characters are wide: it fills a line of that many columns.
  constexpr std::size_t Columns = 1000;
  const std::string filled = fmt::format("{:<{}}|", printable, Columns);
  return Columns + printable.size() + 1 - filled.size();
}

std::string Quoted(const _bstr_t& value) { return '"' + Printable(value) + '"'; }

std::string Reason(const ZAMLog& log, const std::string& path) {
  int index = log.GetLogCount() - 1;
  if (index < 0) {
    return "no reason was given";
  }
  // What the document records itself, flagged, comes after what it was told.
  for (int i = index; i >= 0; --i) {
    if (log.GetLog(i).m_Type >= ZAM_LOG_TYPE_ERROR && log.GetLog(i).m_Flag == 0) {
      index = i;
      break;
    }
  }
  const ZAMLogEntry& entry = log.GetLog(index);
  std::string reason = Printable(entry.m_Detail.length() != 0 ? entry.m_Detail : entry.m_Text);
  if (reason.ends_with('.')) {
    reason.pop_back();
  }
  if (reason.starts_with(path + ": ")) {
    reason.erase(0, path.size() + 2);
  }
  return reason;
}

std::string Grouped(std::size_t number) {
  std::string digits = std::to_string(number);
  for (std::size_t i = digits.size(); i > 3; i -= 3) {
    digits.insert(i - 3, 1, ',');
  }
  return digits;
}

std::string Counted(std::size_t number, const char* noun) {
  return Grouped(number) + ' ' + noun + (number == 1 ? "" : "s");
}
