#pragma once

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

/// Which documents, and how many side by side.
struct ArchiveOptions {
  std::vector<std::string> m_Files;
  bool m_Recursive = false;
  unsigned int m_Jobs = std::max(1U, std::thread::hardware_concurrency());
};

/// What is looked at next.
struct Found {
  std::string m_Name;
  std::string m_Error = {};  ///< why it cannot be looked at
  bool m_Refused = false;    ///< it was no right argument
};

/// Finds the documents that are named and, with -r, those in folders: the .xml files, sorted by
/// name. Holds the names of the folders that it is in, no more.
class DocumentFinder {
public:
  explicit DocumentFinder(const ArchiveOptions& options);

  /// Nothing at the end.
  std::optional<Found> Next();
  /// How many files of other names were in the folders so far.
  std::size_t Others() const { return m_Others; }

private:
  struct Folder {
    std::string m_Path;
    std::vector<std::pair<std::string, bool>> m_Entries;  ///< names; whether they are folders
    std::size_t m_Next = 0;
  };

  std::optional<Found> Enter(const std::string& path);
  std::optional<Found> NextBelow();

  const ArchiveOptions& m_Options;
  std::size_t m_NextFile = 0;
  std::vector<Folder> m_Open;
  bool m_IsEmpty = false;  ///< the folder that was named had no document so far
  std::size_t m_OthersBefore = 0;
  std::size_t m_Others = 0;
};
