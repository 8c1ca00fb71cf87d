#include "platform/xml/encoding.h"

#include <algorithm>
#include <optional>

#include "platform/system.h"
#include "platform/utf.h"

namespace zam {
namespace {

constexpr std::string_view Utf8Mark = "\xEF\xBB\xBF";

bool SkipBlanks(std::string_view& text) {
  const std::size_t count = std::min(text.find_first_not_of(Blanks), text.size());
  text.remove_prefix(count);
  return count > 0;
}

/// Takes a blank and name="value" off the front of a declaration; takes nothing when something else
/// is there.
std::optional<std::string_view> TakeAttribute(std::string_view& rest, std::string_view name) {
  std::string_view text = rest;
  if (!SkipBlanks(text) || !text.starts_with(name)) {
    return std::nullopt;
  }
  text.remove_prefix(name.size());
  SkipBlanks(text);
  if (!text.starts_with('=')) {
    return std::nullopt;
  }
  text.remove_prefix(1);
  SkipBlanks(text);
  const std::size_t end = text.empty() ? text.npos : text.find(text.front(), 1);
  if (end == text.npos || (text.front() != '"' && text.front() != '\'')) {
    return std::nullopt;
  }
  const std::string_view value = text.substr(1, end - 1);
  rest = text.substr(end + 1);
  return value;
}

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool IsEncodingName(std::string_view name) {
  return !name.empty() && IsLetter(name.front()) &&
         std::all_of(name.begin(), name.end(), [](char c) {
           return IsLetter(c) || (c >= '0' && c <= '9') || c == '.' || c == '_' || c == '-';
         });
}

XmlDeclaration ReadDeclaration(std::string_view text) {
  XmlDeclaration declaration;
  constexpr std::string_view Start = "<?xml";
  if (!text.starts_with(Start) || text.find_first_of(Blanks) != Start.size()) {
    return declaration;
  }
  std::string_view rest = text.substr(Start.size());
  const auto take = [&](std::string_view name, auto isGood, std::string_view reason) {
    const std::size_t behindBlank = text.size() - rest.size() + 1;
    const auto value = TakeAttribute(rest, name);
    if (!isGood(value)) {
      throw Refusal(text, behindBlank, reason);
    }
    return value.value_or(std::string_view());
  };
  using Value = std::optional<std::string_view>;
  take(
      "version", [](const Value& value) { return value == "1.0"; }, "only XML 1.0 is read");
  declaration.m_Encoding = take(
      "encoding", [](const Value& value) { return !value || IsEncodingName(*value); },
      "the name of the encoding is malformed");
  declaration.m_Standalone = take(
      "standalone", [](const Value& value) { return !value || value == "yes" || value == "no"; },
      "standalone is neither yes nor no");
  SkipBlanks(rest);
  declaration.m_Size = text.size() - rest.size() + 2;
  if (!rest.starts_with("?>")) {
    throw Refusal(text, declaration.m_Size - 2, "the declaration is malformed");
  }
  return declaration;
}

std::string UpperCase(std::string_view name) {
  std::string upper(name);
  std::transform(upper.begin(), upper.end(), upper.begin(), [](char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  });
  return upper;
}

std::string NoneIn(std::string_view encoding) {
  return "the bytes are no text in " + std::string(encoding);
}

}  // namespace

Refusal::Refusal(std::string_view text, std::size_t place, std::string_view reason) {
  std::size_t line = 1;
  std::size_t column = 1;
  for (std::size_t i = 0; i < std::min(place, text.size()); ++i) {
    const bool continued = (static_cast<unsigned char>(text[i]) & 0xC0) == 0x80;
    if (text[i] == '\n' || (text[i] == '\r' && text.substr(i + 1, 1) != "\n")) {
      ++line;
      column = 1;
    } else if (!continued) {
      ++column;
    }
  }
  m_Reason = "line " + std::to_string(line) + ", column " + std::to_string(column) + ": ";
  m_Reason += reason;
}

XmlText::XmlText(std::string_view bytes) : m_Text(bytes) {
  Convert(bytes);
  const std::size_t invalid = FindInvalidUtf8(m_Text);
  if (invalid != m_Text.npos) {
    throw Refusal(m_Text, invalid, m_Text[invalid] == '\0' ? "a zero character" : NoneIn("UTF-8"));
  }
  if (m_Text.starts_with(Utf8Mark)) {
    throw Refusal(m_Text, 0, "a second byte order mark");
  }
  m_Declaration = ReadDeclaration(m_Text);
}

void XmlText::Convert(std::string_view bytes) {
  // No character of XML has a byte that is zero, but for those of UTF-16.
  const bool bigEndian = bytes.starts_with("\xFE\xFF") || bytes.starts_with('\0');
  if (bigEndian || bytes.starts_with("\xFF\xFE") || bytes.substr(0, 2).ends_with('\0')) {
    const bool whole = AppendUtf16(m_Converted, bytes, bigEndian);
    m_Text = m_Converted;
    if (m_Text.starts_with(Utf8Mark)) {
      m_Text.remove_prefix(Utf8Mark.size());
    }
    if (!whole) {
      throw Refusal(m_Text, m_Text.size(), NoneIn("UTF-16"));
    }
    return;
  }
  if (bytes.starts_with(Utf8Mark)) {
    m_Text.remove_prefix(Utf8Mark.size());
    return;
  }
  const XmlDeclaration declaration = ReadDeclaration(bytes);
  const std::string encoding = UpperCase(declaration.m_Encoding);
  if (encoding.empty() || encoding == "UTF-8") {
    return;
  }
  Conversion conversion = Conversion::Done;
  if (encoding == "ISO-8859-1") {
    AppendLatin1(m_Converted, bytes);
  } else {
    conversion = AppendConverted(m_Converted, bytes, encoding);
  }
  m_Text = m_Converted;
  const std::string name(declaration.m_Encoding);
  if (conversion == Conversion::UnknownEncoding) {
    throw Refusal(bytes, static_cast<std::size_t>(declaration.m_Encoding.data() - bytes.data()),
                  "the encoding " + name + " is unknown");
  }
  if (!m_Text.starts_with(bytes.substr(0, declaration.m_Size))) {
    throw Refusal(bytes, 0, "the document is not in the encoding " + name + " that it declares");
  }
  if (conversion == Conversion::BadBytes) {
    throw Refusal(m_Text, m_Text.size(), NoneIn(name));
  }
}

}  // namespace zam
