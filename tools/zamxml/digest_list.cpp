#include "digest_list.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "failure.h"
#include "input.h"

namespace {

constexpr std::size_t DigestLength = 64;

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
  if (error != std::errc() || count > INT_MAX || !line.starts_with("  ") || line.size() == 2) {
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
