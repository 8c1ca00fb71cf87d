#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zam {

/// Who may use a file, and what else is attached to it.
struct FileAccess {
  struct stat m_Status {};
  std::string m_List;  ///< its access control list as the system hands it out; empty: none
  std::vector<std::pair<std::string, std::string>> m_Attributes;  ///< the other attributes
  bool m_Complete = true;  ///< whether all of them could be read
};

/// The access of a file, which `status` has just been asked of; nothing, with errno, when it cannot
/// be read.
std::optional<FileAccess> ReadAccess(const std::string& path, const struct stat& status);

/// Gives that access to a file that only this user can open, and has `own` so far. What cannot be
/// given narrows it: at no moment can anybody open the file who may not. Rights of a program
/// (setuid, setgid) are not given. False, with errno, when the disk fails or is full.
bool GiveAccess(int descriptor, const struct stat& own, const FileAccess& access);

}  // namespace zam
