#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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
