#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "command_line.h"
#include "failure.h"

/// Verbs that look at many documents.

/// Which documents, and how many side by side.
struct ArchiveOptions {
  std::vector<std::string> m_Files;
  bool m_Recursive = false;
  unsigned int m_Jobs = std::max(1U, std::thread::hardware_concurrency());
};

/// -r and --jobs.
void DescribeArchive(Verb& verb, ArchiveOptions& options);
/// The same and FILE..., at least one.
void DescribeFiles(Verb& verb, ArchiveOptions& options);

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
  /// How many files of other names stood in the folders so far.
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

/// What was looked at.
struct ArchiveCounts {
  std::size_t m_Documents = 0;   ///< with the unreadable ones
  std::size_t m_Unreadable = 0;  ///< told on the standard error
  std::size_t m_Refused = 0;     ///< names that were no right argument
  std::size_t m_Others = 0;      ///< files of other names

  /// ExitFailed when no document could be read or an argument was refused, ExitFinding when some
  /// could not be read.
  Exit Code() const;
};

/// What follows when it is a document's turn.
using Turn = std::function<void()>;

/// Calls the work for every document, on several threads at once, and what it returns in the order
/// of the documents, one at a time. A document for which the work raises an exception is told on
/// the standard error and counted as unreadable; an exception of a turn ends it all.
ArchiveCounts ForEachTurn(const ArchiveOptions& options,
                          const std::function<Turn(const std::string& name)>& work);

/// The same in two steps: looks at documents side by side and takes what was seen in their order.
template <class Look, class Take>
ArchiveCounts ForEachDocument(const ArchiveOptions& options, Look look, Take take) {
  return ForEachTurn(options, [&](const std::string& name) {
    const auto seen = std::make_shared<decltype(look(name))>(look(name));
    return [&take, name, seen] { take(name, *seen); };
  });
}

/// "1,204".
std::string Grouped(std::size_t number);
/// "1 document", "1,204 documents".
std::string Counted(std::size_t number, const char* noun);
/// "1,204 documents, 3 with findings, 1 unreadable" on the standard error.
void WriteSummary(const ArchiveCounts& counts, std::string_view found);
