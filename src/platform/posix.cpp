#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <system_error>
#include <utility>

#include "platform/posix.h"
#include "platform/system.h"

namespace zam {
namespace {

constexpr int MaximumLinks = 40;
constexpr int MaximumTempFolders = 16;

std::optional<std::string> LinkTarget(const std::string& path) {
  std::string target(4096, '\0');
  const auto length = ::readlink(path.c_str(), target.data(), target.size());
  if (length < 0) {
    return std::nullopt;
  }
  target.resize(static_cast<std::size_t>(length));
  return target.starts_with('/') ? target : Joined(FolderOf(path), target);
}

}  // namespace

std::string LastReason() { return std::system_category().message(errno); }

bool IsUsablePath(const std::string& path, std::string& reason) {
  if (path.empty()) {
    reason = "there is no path";
  } else if (path.find('\0') != std::string::npos) {
    reason = "the path holds a zero character";
  }
  return reason.empty();
}

std::string FolderOf(const std::string& path) {
  const auto separator = path.rfind('/');
  if (separator == std::string::npos) {
    return ".";
  }
  return separator == 0 ? "/" : path.substr(0, separator);
}

std::string Joined(const std::string& folder, const std::string& name) {
  return folder.ends_with('/') ? folder + name : folder + '/' + name;
}

std::optional<std::string> FollowLinks(std::string path, std::string& reason) {
  for (int links = 0; links < MaximumLinks; ++links) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
      if (errno == ENOENT) {
        return path;
      }
      reason = LastReason();
      return std::nullopt;
    }
    if (!S_ISLNK(status.st_mode)) {
      return path;
    }
    auto target = LinkTarget(path);
    if (!target) {
      reason = LastReason();
      return std::nullopt;
    }
    path = std::move(*target);
  }
  errno = ELOOP;
  reason = LastReason();
  return std::nullopt;
}

bool LeadsTo(const std::string& path, int descriptor) {
  struct stat there {};
  struct stat opened {};
  return ::lstat(path.c_str(), &there) == 0 && ::fstat(descriptor, &opened) == 0 &&
         there.st_dev == opened.st_dev && there.st_ino == opened.st_ino;
}

std::string NameBeside(const std::string& target, std::string_view purpose) {
  const auto separator = target.rfind('/');
  const std::string_view name = std::string_view(target).substr(separator + 1);
  std::uint64_t hash = 0xCBF29CE484222325;  // 64-bit FNV-1a
  for (const char byte : name) {
    hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3;
  }
  std::array<char, 17> digits{};
  std::snprintf(digits.data(), digits.size(), "%016" PRIx64, hash);
  return Joined(FolderOf(target), std::string(".zamxml-") + digits.data() + std::string(purpose));
}

namespace {

/// A name that is gone at the end of a scope, however that ends.
class Removed {
public:
  explicit Removed(const std::string& path) : m_Path(path) {}
  Removed(const Removed&) = delete;
  Removed& operator=(const Removed&) = delete;
  ~Removed() {
    const int error = errno;
    ::unlink(m_Path.c_str());
    errno = error;
  }

private:
  const std::string& m_Path;
};

/// A name beside the path that no other call uses.
std::string UniqueNameBeside(const std::string& path, const char* purpose) {
  static std::atomic<unsigned long> counter{0};
  return Joined(FolderOf(path), ".zamxml-" + std::to_string(ProcessNumber()) + '-' +
                                    std::to_string(std::time(nullptr)) + '-' +
                                    std::to_string(++counter) + '.' + purpose);
}

bool WriteAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto written = ::write(descriptor, bytes.data(), bytes.size());
    if (written < 0) {
      if (errno == EINTR) {
        continue;
      }
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

/// The file that is to be replaced, if any.
struct Existing {
  bool m_Exists = false;
  struct stat m_Status {};
};

bool LookAt(const std::string& target, Existing& existing, std::string& reason) {
  existing.m_Exists = ::stat(target.c_str(), &existing.m_Status) == 0;
  if (!existing.m_Exists) {
    if (errno == ENOENT) {
      return true;
    }
    reason = LastReason();
    return false;
  }
  if (!S_ISREG(existing.m_Status.st_mode)) {
    reason = "it is not a regular file";
    return false;
  }
  if (::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) {
    reason = LastReason();
    return false;
  }
  return true;
}

/// Gives the new file the owner, group and mode of the one that it replaces. Where the owner cannot
/// be given, the file stays this user's; where the group cannot, no group gets what it was granted.
bool TakeOver(int descriptor, const Existing& existing) {
  if (!existing.m_Exists) {
    return true;
  }
  const auto& status = existing.m_Status;
  constexpr auto SameOwner = static_cast<uid_t>(-1);
  mode_t mode = status.st_mode & 07777;
  if ((status.st_uid != ::geteuid() || status.st_gid != ::getegid()) &&
      ::fchown(descriptor, status.st_uid, status.st_gid) != 0) {
    if (errno != EPERM) {
      return false;
    }
    if (::fchown(descriptor, SameOwner, status.st_gid) != 0) {
      if (errno != EPERM) {
        return false;
      }
      mode &= ~static_cast<mode_t>(S_IRWXG);
    }
  }
  return ::fchmod(descriptor, mode) == 0;
}

/// Renames the new file over the old one. When the folder cannot be flushed, the name might not
/// last: the old file, or none, then comes back.
bool PutInPlace(const std::string& fresh, const std::string& target, const Existing& existing,
                const Descriptor& folder) {
  std::optional<KeptFile> old;
  if (folder.IsOpen() && existing.m_Exists) {
    old.emplace(target);
  }
  const bool renamed = ::rename(fresh.c_str(), target.c_str()) == 0;
  // Some file systems cannot flush a folder and say EINVAL: the name is as safe as it can be there.
  if (renamed && (!folder.IsOpen() || ::fsync(folder.Number()) == 0 || errno == EINVAL)) {
    if (old) {
      old->Forget();
    }
    return true;
  }
  const int error = errno;
  if (renamed && !existing.m_Exists) {
    ::unlink(target.c_str());
  }
  old.reset();
  errno = error;
  return false;
}

bool ReplaceFile(const std::string& target, const std::string& fresh, const Existing& existing,
                 std::string_view bytes, Durability durability) {
  const bool durable = durability == Durability::Durable;
  Descriptor folder(durable ? ::open(FolderOf(target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)
                            : -1);
  if (durable && !folder.IsOpen()) {
    return false;
  }
  Descriptor file(::open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                         existing.m_Exists ? 0600 : 0666));
  if (!file.IsOpen()) {
    return false;
  }
  const Removed leftover(fresh);
  return WriteAll(file.Number(), bytes) && TakeOver(file.Number(), existing) &&
         (!durable || ::fsync(file.Number()) == 0) && file.Close() &&
         PutInPlace(fresh, target, existing, folder);
}

bool IsPrivateFolder(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
         status.st_uid == ::geteuid() && (status.st_mode & 0777) == 0700;
}

}  // namespace

std::optional<FileBytes> ReadFile(const std::string& path, std::string& reason) {
  if (!IsUsablePath(path, reason)) {
    return std::nullopt;
  }
  // Without O_NONBLOCK opening a pipe would wait for its other end.
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!file.IsOpen() || ::fstat(file.Number(), &status) != 0) {
    reason = LastReason();
    return std::nullopt;
  }
  if (!S_ISREG(status.st_mode)) {
    reason = S_ISDIR(status.st_mode) ? "it is a folder" : "it is not a regular file";
    return std::nullopt;
  }
  FileBytes content;
  auto capacity = static_cast<std::size_t>(std::max<off_t>(status.st_size, 0)) + 1;
  content.m_Bytes = std::make_unique_for_overwrite<char[]>(capacity);
  for (;;) {
    const auto count =
        ::read(file.Number(), content.m_Bytes.get() + content.m_Size, capacity - content.m_Size);
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count < 0) {
      reason = LastReason();
      return std::nullopt;
    }
    if (count == 0) {
      break;
    }
    content.m_Size += static_cast<std::size_t>(count);
    if (content.m_Size == capacity) {
      capacity *= 2;
      auto grown = std::make_unique_for_overwrite<char[]>(capacity);
      std::copy_n(content.m_Bytes.get(), content.m_Size, grown.get());
      content.m_Bytes = std::move(grown);
    }
  }
  content.m_Bytes[content.m_Size] = '\0';
  return content;
}

bool WriteFile(const std::string& path, std::string_view bytes, Durability durability,
               std::string& reason) {
  if (!IsUsablePath(path, reason)) {
    return false;
  }
  const auto target = FollowLinks(path, reason);
  Existing existing;
  if (!target || !LookAt(*target, existing, reason)) {
    return false;
  }
  if (!ReplaceFile(*target, UniqueNameBeside(*target, "new"), existing, bytes, durability)) {
    reason = LastReason();
    return false;
  }
  return true;
}

bool RemoveFile(const std::string& path) noexcept {
  return path.find('\0') == std::string::npos && ::unlink(path.c_str()) == 0;
}

std::optional<std::string> PrivateTempFolder() {
  const char* configured = std::getenv("TMPDIR");
  const std::string root = configured != nullptr && *configured == '/' ? configured : "/tmp";
  const std::string name = "zamxml-" + std::to_string(::geteuid());
  // Another user may have taken the first names: nobody can take them all by accident.
  for (int number = 0; number < MaximumTempFolders; ++number) {
    std::string folder = Joined(root, number == 0 ? name : name + '-' + std::to_string(number));
    if ((::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST) && IsPrivateFolder(folder)) {
      return folder;
    }
  }
  return std::nullopt;
}

unsigned long ProcessNumber() noexcept { return static_cast<unsigned long>(::getpid()); }

std::tm LocalTime() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  ::localtime_r(&now, &local);
  return local;
}

KeptFile::KeptFile(const std::string& path) {
  std::string reason;
  if (!IsUsablePath(path, reason)) {
    return;
  }
  auto target = FollowLinks(path, reason);
  if (!target) {
    return;
  }
  std::string kept = UniqueNameBeside(*target, "kept");
  struct stat status {};
  if (::stat(target->c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
      ::link(target->c_str(), kept.c_str()) == 0) {
    m_Path = std::move(*target);
    m_Kept = std::move(kept);
  }
}

KeptFile::~KeptFile() {
  if (m_Kept.empty()) {
    return;
  }
  if (m_Wanted) {
    // Renaming one name of a file onto another name of it does nothing at all, hence the unlink.
    std::rename(m_Kept.c_str(), m_Path.c_str());
  }
  ::unlink(m_Kept.c_str());
}

}  // namespace zam
