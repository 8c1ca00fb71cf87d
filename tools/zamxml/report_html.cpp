#include "report_html.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "text.h"

namespace {

struct Range {
  char32_t m_First;
  char32_t m_Last;
};

/// Control characters but the line feed, what joins, turns or fills without showing, the selectors
/// of variants, and spaces that nobody types.
constexpr Range Unseen[] = {
    {0x0000, 0x0009},   {0x000B, 0x001F},   {0x007F, 0x009F}, {0x00AD, 0x00AD}, {0x034F, 0x034F},
    {0x061C, 0x061C},   {0x115F, 0x1160},   {0x1680, 0x1680}, {0x17B4, 0x17B5}, {0x180B, 0x180F},
    {0x2000, 0x200F},   {0x2028, 0x202E},   {0x205F, 0x206F}, {0x2800, 0x2800}, {0x3164, 0x3164},
    {0xFE00, 0xFE0F},   {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0}, {0xFFF0, 0xFFFB}, {0x1BCA0, 0x1BCA3},
    {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF},
};

bool IsUnseen(char32_t character) {
  return std::any_of(std::begin(Unseen), std::end(Unseen), [&](const Range& range) {
    return range.m_First <= character && character <= range.m_Last;
  });
}

bool IsHigh(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
bool IsLow(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

/// The character at the front, and how many units it takes.
char32_t FrontOf(std::u16string_view units, std::size_t& length) {
  length = 1;
  if (units.size() < 2 || !IsHigh(units[0]) || !IsLow(units[1])) {
    return units[0];
  }
  length = 2;
  return 0x10000 + ((static_cast<char32_t>(units[0]) & 0x3FF) << 10) + (units[1] & 0x3FF);
}

std::string Mark(std::string_view name) { return fmt::format("<span class=mark>{}</span>", name); }

std::string Mark(char32_t character) {
  return Mark(fmt::format("U+{:04X}", static_cast<unsigned int>(character)));
}

std::string MarkOfSpace(std::u16string_view space) {
  if (space.empty()) {
    return {};
  }
  return Mark(space.size() == 1 ? "space" : fmt::format("{} white space", space.size()));
}

std::string MarkedInside(std::u16string_view units) {
  std::string html;
  std::size_t begin = 0;
  std::size_t length = 0;
  for (std::size_t i = 0; i < units.size(); i += length) {
    const char32_t character = FrontOf(units.substr(i), length);
    if (IsUnseen(character)) {
      html += Escaped(_bstr_t(units.substr(begin, i - begin)).utf8()) + Mark(character);
      begin = i + length;
    }
  }
  return html + Escaped(_bstr_t(units.substr(begin)).utf8());
}

}  // namespace

std::string Escaped(std::string_view text) {
  std::string html;
  html.reserve(text.size());
  for (const char byte : text) {
    switch (byte) {
      case '&':
        html += "&amp;";
        break;
      case '<':
        html += "&lt;";
        break;
      case '>':
        html += "&gt;";
        break;
      case '"':
        html += "&quot;";
        break;
      case '\'':
        html += "&#39;";
        break;
      default:
        html += byte;
    }
  }
  return html;
}

std::string Marked(const _bstr_t& text) {
  constexpr std::u16string_view space = u" \n\u00A0\u202F\u3000";
  const std::u16string_view units = text.view();
  const std::size_t begin = std::min(units.find_first_not_of(space), units.size());
  const std::size_t end = std::max(begin, units.find_last_not_of(space) + 1);
  return MarkOfSpace(units.substr(0, begin)) + MarkedInside(units.substr(begin, end - begin)) +
         MarkOfSpace(units.substr(end));
}

std::string TextHtml(const _bstr_t& text, std::size_t limit) {
  const std::u16string_view units = text.view();
  if (units.empty()) {
    return "<i>empty</i>";
  }
  if (units.size() <= limit) {
    return "<bdi>" + Marked(text) + "</bdi>";
  }
  const std::size_t beginning = std::min<std::size_t>(limit, 1000);
  const std::size_t length = IsHigh(units[beginning - 1]) ? beginning - 1 : beginning;
  return fmt::format("<bdi>{}</bdi><small class=cut>cut here: {} characters in all</small>",
                     Marked(_bstr_t(units.substr(0, length))), Grouped(units.size()));
}

int PageTexts::NumberOf(const _bstr_t& text) {
  const auto found = m_Numbers.find(text.view());
  if (found != m_Numbers.end()) {
    return found->second;
  }
  const int number = static_cast<int>(m_Texts.size());
  m_Texts.push_back(text);
  m_Numbers.emplace(m_Texts.back().view(), number);
  return number;
}

std::string PageTexts::Numbered() const {
  std::string html;
  for (const _bstr_t& text : m_Texts) {
    html += "<p>" + Html(text) + "</p>\n";
  }
  return html;
}
