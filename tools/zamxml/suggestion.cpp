#include "suggestion.h"

#include <algorithm>
#include <set>
#include <string_view>

#include "failure.h"
#include "output.h"
#include "text.h"
#include "values.h"

namespace {

/// "Extra[1]/Answer" without the index.
std::string WithoutIndexes(std::string_view path) {
  std::string plain;
  bool isIndex = false;
  for (const char c : path) {
    isIndex = isIndex ? c != ']' : c == '[';
    if (!isIndex && c != ']') {
      plain += c;
    }
  }
  return plain;
}

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

/// How many letters have to be put in, left out, changed or swapped with their neighbour to come
/// from one text to the other, small and capital letters being the same.
std::size_t Distance(std::string_view left, std::string_view right) {
  std::vector<std::size_t> older(right.size() + 1);
  std::vector<std::size_t> old(right.size() + 1);
  std::vector<std::size_t> row(right.size() + 1);
  for (std::size_t j = 0; j <= right.size(); ++j) {
    row[j] = j;
  }
  for (std::size_t i = 1; i <= left.size(); ++i) {
    older.swap(old);
    old.swap(row);
    row[0] = i;
    for (std::size_t j = 1; j <= right.size(); ++j) {
      const bool same = Lower(left[i - 1]) == Lower(right[j - 1]);
      row[j] = std::min({old[j] + 1, row[j - 1] + 1, old[j - 1] + (same ? 0 : 1)});
      if (i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1]) {
        row[j] = std::min(row[j], older[j - 2] + 1);
      }
    }
  }
  return row.back();
}

}  // namespace

std::vector<std::string> ReadPaths(ZAMXml& tree) {
  std::vector<std::string> paths;
  std::set<std::string> known;
  for (const Value& value : ReadValues(tree)) {
    const std::string whole = WithoutIndexes(value.m_Path.Whole());
    if (known.contains(whole)) {
      continue;
    }
    for (std::size_t end = whole.find_first_of("/@");; end = whole.find_first_of("/@", end + 1)) {
      if (known.insert(whole.substr(0, end)).second) {
        paths.push_back(whole.substr(0, end));
      }
      if (end == std::string::npos) {
        break;
      }
    }
  }
  return paths;
}

std::string DidYouMean(ZAMXml& tree, const std::string& given) {
  // Farther than a slip or two in each name, it is another path.
  std::size_t nearest = std::max<std::size_t>(2, given.size() / 6) + 1;
  std::string found;
  const std::string plain = WithoutIndexes(given);
  for (const std::string& path : ReadPaths(tree)) {
    if (path == plain) {
      return {};
    }
    const std::size_t longer = std::max(path.size(), plain.size());
    if (longer - std::min(path.size(), plain.size()) >= nearest) {
      continue;
    }
    const std::size_t distance = Distance(plain, path);
    if (distance < nearest) {
      nearest = distance;
      found = path;
    }
  }
  return found.empty() ? "" : "; did you mean " + Printable(_bstr_t::FromUtf8(found)) + '?';
}

int ReportIdle(const PathFilter& filter, const std::string& file, ZAMXml& tree) {
  const std::vector<std::string> idle = filter.Idle();
  for (const std::string& path : idle) {
    WriteError({Printable(_bstr_t::FromUtf8(file)), Printable(_bstr_t::FromUtf8(path)),
                "it names nothing in the document" + DidYouMean(tree, path)});
  }
  return idle.empty() ? ExitFine : ExitFinding;
}
