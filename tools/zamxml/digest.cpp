#include "digest.h"

#include <fmt/format.h>

#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/sha.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "json_form.h"
#include "values.h"

namespace {

/// Names the canonical form, so that another one can be told apart.
constexpr const char* FormLine = "zamxml-digest-1\n";

/// Of the library's older functions: they take no memory, and its newer ones crash where that runs
/// short.
std::string Sha256(std::string_view bytes) {
  std::array<unsigned char, SHA256_DIGEST_LENGTH> digest{};
  SHA256_CTX context;
  ::SHA256_Init(&context);
  ::SHA256_Update(&context, bytes.data(), bytes.size());
  ::SHA256_Final(digest.data(), &context);
  return fmt::format("{:02x}", fmt::join(digest, ""));
}

/// A value on one line.
void AppendLine(std::string& lines, std::string_view name, std::string_view text) {
  lines += name;
  lines += '=';
  for (const char c : text) {
    switch (c) {
      case '\\':
        lines += "\\\\";
        break;
      case '\n':
        lines += "\\n";
        break;
      case '\r':
        lines += "\\r";
        break;
      default:
        lines += c;
    }
  }
  lines += '\n';
}

bool IsBlank(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

/// The lines of the values that hold anything, sorted: an element that is empty may come with a
/// save, and their order means nothing to a reader.
std::string CanonicalContent(ZAMXml& tree) {
  std::vector<std::string> lines;
  for (const Value& value : ReadAllValues(tree)) {
    const std::string text = value.m_Text.utf8();
    if (!IsBlank(text)) {
      AppendLine(lines.emplace_back(), value.m_Path.Whole(), text);
    }
  }
  std::sort(lines.begin(), lines.end());
  std::string content = FormLine;
  for (const std::string& line : lines) {
    content += line;
  }
  return content;
}

std::string CanonicalModification(const ZAMXMLModification& modification,
                                  const std::string& before) {
  std::string lines = before + '\n';
  AppendLine(lines, "UID", modification.m_UID.utf8());
  AppendLine(lines, "Date", modification.m_Date.utf8());
  AppendLine(lines, "Time", modification.m_Time.utf8());
  AppendLine(lines, "UserID", modification.m_UserID.utf8());
  AppendLine(lines, "UserName", modification.m_UserName.utf8());
  for (const ZAMXMLChangeItem* item : modification.m_Changes) {
    AppendLine(lines, "Node", item->m_Node.utf8());
    AppendLine(lines, "Attribute", item->m_Attribute.utf8());
    AppendLine(lines, "ValueType", TypeWord(item->m_ValueType));
    AppendLine(lines, "OldValue", item->m_OldValue.utf8());
    AppendLine(lines, "NewValue", item->m_NewValue.utf8());
  }
  return lines;
}

}  // namespace

std::vector<std::string> DigestChain(Document& document) {
  std::vector<std::string> chain = {Sha256(CanonicalContent(document.m_Xml))};
  for (int number = 0; number <= document.Last(); ++number) {
    chain.push_back(Sha256(CanonicalModification(document.Modification(number), chain.back())));
  }
  return chain;
}

std::string DigestLine(const std::string& digest, std::size_t count, const std::string& name) {
  if (name.find_first_of("\\\n") == std::string::npos) {
    return fmt::format("{}  {}  {}\n", digest, count, name);
  }
  std::string escaped;
  for (const char c : name) {
    escaped += c == '\n' ? "\\n" : c == '\\' ? "\\\\" : std::string(1, c);
  }
  return fmt::format("\\{}  {}  {}\n", digest, count, escaped);
}
