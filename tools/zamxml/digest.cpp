#include "digest.h"

#include <fmt/format.h>

#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/sha.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <string_view>

#include "failure.h"
#include "input.h"
#include "json_form.h"
#include "values.h"

namespace {

/// Names the canonical form, so that another one can be told apart.
constexpr const char* FormLine = "zamxml-digest-1\n";

constexpr std::size_t DigestLength = 64;

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

std::string Unescape(std::string_view name) {
  std::string plain;
  for (std::size_t i = 0; i < name.size(); ++i) {
    const bool isEscape = name[i] == '\\' && i + 1 < name.size();
    plain += !isEscape ? name[i] : name[++i] == 'n' ? '\n' : name[i];
  }
  return plain;
}

/// What is known where the state before was not noted.
std::string DescribeRange(std::size_t noted, bool isGone, int confirmed, std::size_t present) {
  if (noted == 0) {
    return "the original content is not the one that was noted";
  }
  if (isGone) {
    return fmt::format("{} modifications were noted, and it has {}", noted, present);
  }
  const std::string first = confirmed < 0
                                ? "the original content or one of the modifications up to"
                                : fmt::format("one of the modifications {} to", confirmed);
  return fmt::format("its first {} modifications are not what was noted: {} {} was rewritten",
                     noted, first, noted - 1);
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

std::string PlainName(const std::string& name) {
  return std::filesystem::path(name).lexically_normal().string();
}

bool IsBelow(const std::string& folder, const std::string& plainName) {
  const std::string plain = (std::filesystem::path(folder) / "").lexically_normal().string();
  return plain == "./" ? !plainName.starts_with('/') && !plainName.starts_with("../")
                       : plainName.starts_with(plain);
}

DigestList::DigestList(const std::string& file) {
  const std::string text = Input(file).ReadAll();
  int number = 0;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    ++number;
    std::string line = text.substr(begin, end - begin);
    if (line.ends_with('\r')) {
      line.pop_back();
    }
    if (!line.empty()) {
      try {
        Take(line);
      } catch (const std::invalid_argument&) {
        throw Failure(file, fmt::format("line {}", number),
                      "it is no line of \"zamxml digest\": DIGEST  COUNT  FILE");
      }
    }
    begin = end + 1;
  }
  if (m_Notes.empty()) {
    throw Failure(file, "there is no digest in it");
  }
}

void DigestList::Take(std::string_view line) {
  const bool isEscaped = line.starts_with('\\');
  line.remove_prefix(isEscaped ? 1 : 0);
  const std::string digest(line.substr(0, DigestLength));
  const bool isDigest = digest.size() == DigestLength &&
                        digest.find_first_not_of("0123456789abcdef") == std::string::npos;
  line.remove_prefix(digest.size());
  if (!isDigest || !line.starts_with("  ")) {
    throw std::invalid_argument("digest");
  }
  line.remove_prefix(2);
  std::size_t count = 0;
  const auto [stopped, error] = std::from_chars(line.data(), line.data() + line.size(), count);
  line.remove_prefix(static_cast<std::size_t>(stopped - line.data()));
  if (error != std::errc() || !line.starts_with("  ") || line.size() == 2) {
    throw std::invalid_argument("count");
  }
  line.remove_prefix(2);
  m_Notes[PlainName(isEscaped ? Unescape(line) : std::string(line))].emplace(count, digest);
}

std::optional<DigestList::Difference> DigestList::Compare(
    const std::string& name, const std::vector<std::string>& chain) const {
  const auto notes = m_Notes.find(PlainName(name));
  if (notes == m_Notes.end()) {
    return std::nullopt;
  }
  int confirmed = -1;  // how many modifications a noted state had that is still there
  for (const auto& [count, digest] : notes->second) {
    const int noted = static_cast<int>(count);
    if (count < chain.size() && chain[count] == digest) {
      confirmed = noted;
      continue;
    }
    if (confirmed == noted) {
      return Difference{std::nullopt, fmt::format("two digests were noted after {} modification{}",
                                                  noted, noted == 1 ? "" : "s")};
    }
    const bool isGone = count >= chain.size();
    if (confirmed == noted - 1 && noted > 0) {
      return Difference{noted - 1,
                        isGone ? "it was noted and is gone" : "it is not the one that was noted"};
    }
    return Difference{std::nullopt, DescribeRange(count, isGone, confirmed, chain.size() - 1)};
  }
  return std::nullopt;
}

bool DigestList::Lists(const std::string& name) const { return m_Notes.contains(PlainName(name)); }

std::vector<std::string> DigestList::Names() const {
  std::vector<std::string> names;
  for (const auto& [name, notes] : m_Notes) {
    names.push_back(name);
  }
  return names;
}
