#include "report_html.h"

#include <fmt/format.h>

#include <algorithm>

#include "text.h"

namespace {

bool IsHigh(char16_t unit) { return (unit & 0xFC00) == 0xD800; }

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

/// Of a text that may hold lines.
std::string MarkedInside(std::u16string_view units) {
  std::string html;
  SplitUnseen(
      units, [&](const std::string& seen) { html += Escaped(seen); },
      [&](char32_t character) { html += character == U'\n' ? "\n" : Mark(character); });
  return html;
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
