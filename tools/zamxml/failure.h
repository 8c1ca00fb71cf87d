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
        m_Exit(exit) {}

  Exit Code() const noexcept { return m_Exit; }

private:
  Exit m_Exit;
};
