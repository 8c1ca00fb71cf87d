#pragma once

#include <stdexcept>
#include <string>

/// What the process ends with.
enum Exit : int {
  ExitFine = 0,
  ExitFinding = 1,  ///< invalid, different, in conflict
  ExitFailed = 2,   ///< wrong usage, or a file that cannot be read or written
};

/// Ends a verb with "zamxml: FILE: what: why" on the standard error; the file or the reason may be
/// left out.
class Failure : public std::runtime_error {
public:
  Failure(const std::string& file, const std::string& what, const std::string& why = {},
          Exit exit = ExitFailed)
      : std::runtime_error((file.empty() ? "" : file + ": ") + what +
                           (why.empty() ? "" : ": " + why)),
        m_FileLength(file.empty() ? 0 : file.size() + 2),
        m_Exit(exit) {}

  /// The message without the file.
  const char* Message() const noexcept { return what() + m_FileLength; }
  Exit Code() const noexcept { return m_Exit; }

private:
  std::size_t m_FileLength;
  Exit m_Exit;
};

/// A file that was read, but is no document.
class Unsound : public Failure {
  using Failure::Failure;
};
