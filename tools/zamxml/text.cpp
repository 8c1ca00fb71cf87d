#include "text.h"

#include <fmt/format.h>

#include <algorithm>

#include "failure.h"

namespace {

bool IsControl(char16_t unit) { return unit < 0x20 || (unit >= 0x7F && unit < 0xA0); }

bool TurnsDirection(char16_t unit) {
  return unit == 0x200E || unit == 0x200F || unit == 0x061C || (unit >= 0x202A && unit <= 0x202E) ||
         (unit >= 0x2066 && unit <= 0x2069);
}

bool IsLowSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

std::string Escape(char16_t unit) {
  switch (unit) {
    case u'\t':
      return "\\t";
    case u'\n':
      return "\\n";
    case u'\r':
      return "\\r";
    default:
      return fmt::format("\\u{:04x}", static_cast<unsigned int>(unit));
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

std::string Printable(const _bstr_t& value) {
  const std::u16string_view units = value.view();
  std::string line;
  std::size_t begin = 0;
  for (std::size_t i = 0; i < units.size(); ++i) {
    if (IsControl(units[i]) || TurnsDirection(units[i])) {
      line += _bstr_t(units.substr(begin, i - begin)).utf8() + Escape(units[i]);
      begin = i + 1;
    }
  }
  return line + _bstr_t(units.substr(begin)).utf8();
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
