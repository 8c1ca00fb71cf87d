#include "platform/posix_access.h"

#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace zam {
namespace {

constexpr const char* ListName = "system.posix_acl_access";

/// Signatures of the file's bytes, and rights of a program: they are not those of a new file.
constexpr std::string_view BoundToBytes[] = {"security.capability", "security.ima", "security.evm"};

/// Reads what a call hands out in two steps, first its size.
template <class Call>
bool ReadSized(std::string& bytes, Call call) {
  for (;;) {
    const auto size = call(nullptr, 0);
    if (size < 0) {
      return false;
    }
    bytes.resize(static_cast<std::size_t>(size));
    const auto read = size == 0 ? 0 : call(bytes.data(), bytes.size());
    if (read >= 0) {
      bytes.resize(static_cast<std::size_t>(read));
      return true;
    }
    if (errno != ERANGE) {
      return false;
    }
  }
}

/// Whether the step has failed for a reason that a narrower access does not help against.
bool IsDiskFailure() {
  return errno == ENOSPC || errno == EDQUOT || errno == EIO || errno == ENOMEM;
}

bool ReadAttribute(const std::string& path, const std::string& name, FileAccess& access) {
  std::string value;
  if (!ReadSized(value, [&](char* bytes, std::size_t size) {
        return ::getxattr(path.c_str(), name.c_str(), bytes, size);
      })) {
    if (errno != ENODATA) {
      access.m_Complete = false;
    }
    return !IsDiskFailure();
  }
  if (name == ListName) {
    access.m_List = std::move(value);
  } else {
    access.m_Attributes.emplace_back(name, std::move(value));
  }
  return true;
}

bool ReadAttributes(const std::string& path, FileAccess& access) {
  std::string names;
  if (!ReadSized(names, [&](char* bytes, std::size_t size) {
        return ::listxattr(path.c_str(), bytes, size);
      })) {
    return errno == ENOTSUP;
  }
  for (std::size_t begin = 0; begin < names.size();) {
    const std::string name = names.c_str() + begin;
    begin += name.size() + 1;
    if (std::ranges::find(BoundToBytes, name) == std::end(BoundToBytes) &&
        !ReadAttribute(path, name, access)) {
      return false;
    }
  }
  return true;
}

bool IsUnchanged(const struct stat& left, const struct stat& right) {
  return left.st_dev == right.st_dev && left.st_ino == right.st_ino &&
         left.st_ctim.tv_sec == right.st_ctim.tv_sec &&
         left.st_ctim.tv_nsec == right.st_ctim.tv_nsec;
}

bool HasAttribute(int descriptor, const std::string& name, const std::string& value) {
  std::string present;
  return ReadSized(present,
                   [&](char* bytes, std::size_t size) {
                     return ::fgetxattr(descriptor, name.c_str(), bytes, size);
                   }) &&
         present == value;
}

/// The mode that, without the list, gives nobody more than the list did: whoever is named in it
/// counts as one of the group, or as anybody, then.
mode_t ModeWithoutList(const FileAccess& access) {
  // A version, then a tag, rights and a number for each entry; the low byte comes first.
  constexpr std::size_t HeaderSize = 4;
  constexpr std::size_t EntrySize = 8;
  constexpr unsigned char User = 0x02;
  constexpr unsigned char OwnGroup = 0x04;
  constexpr unsigned char Group = 0x08;
  // The group bits of a file with a list are the most that the list gives to anybody named in it.
  const mode_t most = access.m_Status.st_mode >> 3U & S_IRWXO;
  mode_t group = most;
  mode_t others = access.m_Status.st_mode & S_IRWXO;
  for (std::size_t i = HeaderSize; i + EntrySize <= access.m_List.size(); i += EntrySize) {
    const auto tag = static_cast<unsigned char>(access.m_List[i]);
    const mode_t rights = static_cast<unsigned char>(access.m_List[i + 2]) & most;
    group &= tag == User || tag == OwnGroup ? rights : S_IRWXO;
    others &= tag == User || tag == Group ? rights : S_IRWXO;
  }
  return (access.m_Status.st_mode & S_IRWXU) | group << 3U | others;
}

/// Gives the owner and the group; `group` is false when the group could not be given.
bool GiveOwner(int descriptor, const struct stat& own, const struct stat& status, bool& group) {
  group = true;
  if (own.st_uid == status.st_uid && own.st_gid == status.st_gid) {
    return true;
  }
  if (::fchown(descriptor, status.st_uid, status.st_gid) == 0) {
    return true;
  }
  constexpr auto SameOwner = static_cast<uid_t>(-1);
  group = !IsDiskFailure() && ::fchown(descriptor, SameOwner, status.st_gid) == 0;
  return group || !IsDiskFailure();
}

/// `all` is false when one of them could not be given.
bool GiveAttributes(int descriptor, const FileAccess& access, bool group, bool& all) {
  all = access.m_Complete;
  for (const auto& [name, value] : access.m_Attributes) {
    if (!group && name.starts_with("system.")) {
      all = false;  // it may be a list that speaks of the group
    } else if (::fsetxattr(descriptor, name.c_str(), value.data(), value.size(), 0) != 0) {
      if (IsDiskFailure()) {
        return false;
      }
      all = all && HasAttribute(descriptor, name, value);
    }
  }
  return true;
}

/// Sets a mode without a list: the folder may have given the new file one.
bool SetPlainMode(int descriptor, mode_t mode) {
  return (::fremovexattr(descriptor, ListName) == 0 || errno == ENODATA || errno == ENOTSUP) &&
         ::fchmod(descriptor, mode) == 0;
}

}  // namespace

std::optional<FileAccess> ReadAccess(const std::string& path, const struct stat& status) {
  constexpr int Attempts = 100;
  struct stat before = status;
  for (int attempt = 0; attempt < Attempts; ++attempt) {
    FileAccess access;
    const bool read = ReadAttributes(path, access);
    const int error = errno;
    // What is read in several steps must be of one file and of one moment.
    if (::stat(path.c_str(), &access.m_Status) != 0) {
      return std::nullopt;
    }
    if (IsUnchanged(before, access.m_Status)) {
      errno = error;
      return read ? std::optional(std::move(access)) : std::nullopt;
    }
    before = access.m_Status;
  }
  errno = EAGAIN;
  return std::nullopt;
}

bool GiveAccess(int descriptor, const struct stat& own, const FileAccess& access) {
  bool group = false;
  bool attributes = false;
  if (!GiveOwner(descriptor, own, access.m_Status, group) ||
      !GiveAttributes(descriptor, access, group, attributes)) {
    return false;
  }
  if (attributes && group && !access.m_List.empty()) {
    // This sets the mode as well.
    if (::fsetxattr(descriptor, ListName, access.m_List.data(), access.m_List.size(), 0) == 0) {
      return true;
    }
    if (IsDiskFailure()) {
      return false;
    }
  }
  mode_t mode =
      access.m_List.empty() ? access.m_Status.st_mode & ACCESSPERMS : ModeWithoutList(access);
  if (!group) {
    // Those of the former group are anybody now.
    mode &= ~static_cast<mode_t>(S_IRWXG) & (mode >> 3U | ~static_cast<mode_t>(S_IRWXO));
  }
  if (!attributes) {
    mode &= S_IRWXU;
  }
  return SetPlainMode(descriptor, mode);
}

}  // namespace zam
