#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "command_line.h"
#include "document_finder.h"
#include "failure.h"

/// Verbs that look at many documents.

/// -r and --jobs.
void DescribeArchive(Verb& verb, ArchiveOptions& options);
/// The same and FILE..., at least one.
void DescribeFiles(Verb& verb, ArchiveOptions& options);

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

/// Hears, at its turn, of what has no result, and why.
using Tell = std::function<void(const std::string& name, const std::string& why)>;

/// Calls the work for every document, on several threads at once, and what it returns in the order
/// of the documents, one at a time. A document for which the work raises an exception is told, also
/// on the standard error, and counted as unreadable; an exception of a turn ends it all.
ArchiveCounts ForEachTurn(const ArchiveOptions& options,
                          const std::function<Turn(const std::string& name)>& work,
                          const Tell& tell = {});

/// The same in two steps: looks at documents side by side and takes what was seen in their order.
template <class Look, class Take>
ArchiveCounts ForEachDocument(const ArchiveOptions& options, Look look, Take take,
                              const Tell& tell = {}) {
  const auto work = [&](const std::string& name) {
    const auto seen = std::make_shared<decltype(look(name))>(look(name));
    return [&take, name, seen] { take(name, *seen); };
  };
  return ForEachTurn(options, work, tell);
}

/// "1,204 documents, 3 with findings, 1 unreadable" on the standard error.
void WriteSummary(const ArchiveCounts& counts, std::string_view found);
