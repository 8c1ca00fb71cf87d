#include "platform/name_escape.h"

#include <expat.h>

#include <array>
#include <cstdio>
#include <memory>
#include <type_traits>

#include "platform/utf.h"

namespace zam {
namespace {

bool IsAsciiNameStart(char16_t unit) noexcept {
  return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z') || unit == u'_' ||
         unit == u':';
}

bool IsAsciiNameUnit(char16_t unit, bool first) noexcept {
  return IsAsciiNameStart(unit) ||
         (!first && ((unit >= u'0' && unit <= u'9') || unit == u'-' || unit == u'.'));
}

/// Whether the parser that opens documents takes the name, whose ASCII characters are known to be
/// good: the rule for the others is that parser's own.
bool ParserTakes(const std::string& name) {
  const std::unique_ptr<std::remove_pointer_t<XML_Parser>, decltype(&XML_ParserFree)> parser(
      XML_ParserCreate("UTF-8"), &XML_ParserFree);
  if (!parser) {
    throw std::bad_alloc();
  }
  const std::string document = '<' + name + "/>";
  return XML_Parse(parser.get(), document.data(), static_cast<int>(document.size()), XML_TRUE) ==
         XML_STATUS_OK;
}

bool IsXmlName(std::u16string_view name, const std::string& bytes) {
  bool ascii = true;
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (name[i] >= 0x80) {
      ascii = false;
    } else if (!IsAsciiNameUnit(name[i], i == 0)) {
      return false;
    }
  }
  return !name.empty() && (ascii || ParserTakes(bytes));
}

void AppendEscaped(std::string& stored, char16_t unit) {
  std::array<char, 8> escape{};
  std::snprintf(escape.data(), escape.size(), "_x%04X_", static_cast<unsigned int>(unit));
  stored += escape.data();
}

std::string Escape(std::u16string_view name) {
  std::string stored;
  for (std::size_t i = 0; i < name.size();) {
    const bool pair = (name[i] & 0xFC00) == 0xD800 && i + 1 < name.size();
    const std::u16string_view character = name.substr(i, pair ? 2 : 1);
    const char16_t unit = character.front();
    const bool beforeX = unit == u'_' && i + 1 < name.size() && name[i + 1] == u'x';
    const std::string bytes = ToUtf8(character);
    const bool taken = unit < 0x80 ? IsAsciiNameUnit(unit, i == 0) && !beforeX
                                   : ParserTakes(i == 0 ? bytes : 'n' + bytes);
    if (taken) {
      stored += bytes;
    } else {
      for (const char16_t each : character) {
        AppendEscaped(stored, each);
      }
    }
    i += character.size();
  }
  return stored;
}

}  // namespace

std::string StoredName(std::u16string_view name) {
  if (name.empty()) {
    return "_x_";
  }
  bool replaced = false;
  std::string bytes = ToXmlUtf8(name, replaced);
  if (!replaced && IsXmlName(name, bytes)) {
    return bytes;
  }
  return Escape(ToUtf16(bytes));
}

}  // namespace zam
