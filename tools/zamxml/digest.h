#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document.h"

/// Digests of documents: a chain of SHA-256 over the original content and then each modification in
/// turn, whose form docs/format.md lays down.

/// The digests of the original content and of the state after each modification, in hexadecimal,
/// of a document that has just been opened.
std::vector<std::string> DigestChain(Document& document);

/// "DIGEST  COUNT  NAME", where the count is that of the modifications, and a line's end. A name
/// with a line feed or a backslash is escaped and has a backslash before the line.
std::string DigestLine(const std::string& digest, std::size_t count, const std::string& name);

/// The form in which names are compared: "./a.xml" and "a.xml" are one file.
std::string PlainName(const std::string& name);
/// Whether the file of such a name is in the folder or in one below it.
bool IsBelow(const std::string& folder, const std::string& plainName);

/// Digest lines that were kept elsewhere.
class DigestList {
public:
  /// Reads a file of such lines; Failure, naming the line, when one is of another form, and when
  /// there is none.
  explicit DigestList(const std::string& file);

  /// What the list says of a document and the document does not confirm: from where on the history
  /// has been rewritten. Nothing when all noted states are beginnings of the present one.
  struct Difference {
    std::optional<int> m_Modification;  ///< the first one concerned, as far as it is known
    std::string m_What;
  };
  std::optional<Difference> Compare(const std::string& name,
                                    const std::vector<std::string>& chain) const;
  bool Lists(const std::string& name) const;
  /// The names that are listed, in the order of their bytes.
  std::vector<std::string> Names() const;

private:
  /// The digests that are noted for each number of modifications.
  using Notes = std::multimap<std::size_t, std::string>;

  /// std::invalid_argument for a line of another form.
  void Take(std::string_view line);

  std::map<std::string, Notes> m_Notes;  ///< by the name in its plainest form
};
