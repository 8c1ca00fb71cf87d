#include "platform/xml/name.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

#include "platform/utf.h"

namespace zam {
namespace {

struct Range {
  char32_t m_First;
  char32_t m_Last;
  bool m_MayBegin;  ///< also the first character of a name
};

/// The characters beyond ASCII that a name may have, in order.
constexpr Range NameRanges[] = {
    {0xB7, 0xB7, false},    {0xC0, 0xD6, true},     {0xD8, 0xF6, true},
    {0xF8, 0x2FF, true},    {0x300, 0x36F, false},  {0x370, 0x37D, true},
    {0x37F, 0x1FFF, true},  {0x200C, 0x200D, true}, {0x203F, 0x2040, false},
    {0x2070, 0x218F, true}, {0x2C00, 0x2FEF, true}, {0x3001, 0xD7FF, true},
    {0xF900, 0xFDCF, true}, {0xFDF0, 0xFFFD, true}, {0x10000, 0xEFFFF, true},
};

/// No path has more steps: what follows the last "/" that counts is one step, under its escaped
/// name. So no path that is stored in a document builds elements too deep to be opened again.
constexpr int MaximumSteps = 256;

bool IsNameCharacter(char32_t point, bool first) noexcept {
  if (point < 0x80) {
    return (point >= U'a' && point <= U'z') || (point >= U'A' && point <= U'Z') || point == U'_' ||
           point == U':' ||
           (!first && ((point >= U'0' && point <= U'9') || point == U'-' || point == U'.'));
  }
  const auto range =
      std::lower_bound(std::begin(NameRanges), std::end(NameRanges), point,
                       [](const Range& each, char32_t wanted) { return each.m_Last < wanted; });
  return range != std::end(NameRanges) && range->m_First <= point && (range->m_MayBegin || !first);
}

/// Whether a text is a name of ASCII characters, as almost all are.
bool IsAsciiName(std::u16string_view name) noexcept {
  return !name.empty() && name.front() < 0x80 && IsNameCharacter(name.front(), true) &&
         std::ranges::all_of(name.substr(1), [](char16_t unit) {
           return unit < 0x80 && IsNameCharacter(unit, false);
         });
}

/// The character at the front of a name that is not empty, of one unit or two.
std::u16string_view FirstCharacter(std::u16string_view name) noexcept {
  const bool pair = name.size() > 1 && (name[0] & 0xFC00) == 0xD800 && (name[1] & 0xFC00) == 0xDC00;
  return name.substr(0, pair ? 2 : 1);
}

bool IsNameCharacter(std::u16string_view character, bool first) noexcept {
  const char32_t lead = character.front();
  return IsNameCharacter(
      character.size() == 1 ? lead : 0x10000 + ((lead & 0x3FF) << 10) + (character[1] & 0x3FFU),
      first);
}

void AppendEscaped(std::string& stored, char16_t unit) {
  std::array<char, 8> escape{};
  std::snprintf(escape.data(), escape.size(), "_x%04X_", static_cast<unsigned int>(unit));
  stored += escape.data();
}

std::string Escape(std::u16string_view name) {
  std::string stored;
  for (bool first = true; !name.empty(); first = false) {
    const std::u16string_view character = FirstCharacter(name);
    if (IsNameCharacter(character, first) && !name.starts_with(u"_x")) {
      stored += ToUtf8(character);
    } else {
      for (const char16_t unit : character) {
        AppendEscaped(stored, unit);
      }
    }
    name.remove_prefix(character.size());
  }
  return stored;
}

}  // namespace

bool IsXmlName(std::u16string_view name) noexcept {
  bool first = true;
  for (std::u16string_view rest = name; !rest.empty(); first = false) {
    const std::u16string_view character = FirstCharacter(rest);
    if (!IsNameCharacter(character, first)) {
      return false;
    }
    rest.remove_prefix(character.size());
  }
  return !first;
}

std::string StoredName(std::u16string_view name) {
  if (IsAsciiName(name)) {
    return {name.begin(), name.end()};
  }
  if (IsXmlName(name)) {
    return ToUtf8(name);
  }
  if (name.empty()) {
    return "_x_";
  }
  bool replaced = false;
  return Escape(ToUtf16(ToXmlUtf8(name, replaced)));
}

Path::Path(std::u16string_view path) {
  while (m_nSteps < MaximumSteps) {
    const auto separator = path.find(u'/');
    if (separator == std::u16string_view::npos) {
      break;
    }
    m_Steps += StoredName(path.substr(0, separator));
    m_Steps += '/';
    ++m_nSteps;
    path.remove_prefix(separator + 1);
  }
  m_Steps += StoredName(path);
}

std::string_view Path::CutStep(std::string_view& rest) noexcept {
  const auto end = rest.find('/');
  const std::string_view step = rest.substr(0, end);
  rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  return step;
}

std::string_view Path::Parent() const noexcept {
  const auto end = m_Steps.rfind('/');
  return std::string_view(m_Steps).substr(0, end == std::string::npos ? 0 : end);
}

std::string_view Path::Last() const noexcept {
  const auto end = m_Steps.rfind('/');
  return std::string_view(m_Steps).substr(end == std::string::npos ? 0 : end + 1);
}

}  // namespace zam
