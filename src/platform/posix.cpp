#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/posix.h"
#include "platform/system.h"

namespace zam {
namespace {

constexpr int MaximumLinks = 40;

/// The system would end a path at a zero character and so take another file.
bool IsUsablePath(const std::string& path, std::string& reason) {
  if (path.empty()) {
    reason = "there is no path";
  } else if (path.find('\0') != std::string::npos) {
    reason = "the path holds a zero character";
  }
  return reason.empty();
}

}  // namespace

std::string LastReason() { return std::system_category().message(errno); }

std::nullopt_t NothingBecause(std::string& reason) {
  reason = LastReason();
  return std::nullopt;
}

std::string FolderOf(const std::string& path) {
  const auto separator = path.rfind('/');
  if (separator == std::string::npos) {
    return ".";
  }
  return separator == 0 ? "/" : path.substr(0, separator);
}

std::string_view NameOf(std::string_view path) { return path.substr(path.rfind('/') + 1); }

std::string Joined(const std::string& folder, const std::string& name) {
  return folder.ends_with('/') ? folder + name : folder + '/' + name;
}

std::optional<Target> FollowLinks(std::string path, std::string& reason) {
  if (!IsUsablePath(path, reason)) {
    return std::nullopt;
  }
  for (int links = 0; links < MaximumLinks; ++links) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) {
      return errno == ENOENT ? std::optional(Target{std::move(path), std::nullopt})
                             : NothingBecause(reason);
    }
    if (!S_ISLNK(status.st_mode)) {
      return Target{std::move(path), status};
    }
    std::error_code error;
    const auto target = std::filesystem::read_symlink(path, error);
    if (error) {
      reason = error.message();
      return std::nullopt;
    }
    path = std::filesystem::path(path).replace_filename(target);
  }
  errno = ELOOP;
  return NothingBecause(reason);
}

bool IsSameFile(const std::optional<FileIdentity>& file, const std::optional<FileIdentity>& other) {
  return file && other && file->m_Device == other->m_Device && file->m_Inode == other->m_Inode;
}

bool LeadsTo(const std::string& path, const FileIdentity& file) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && IsSameFile(IdentityOf(status), file);
}

std::string NameBeside(const std::string& target, std::string_view purpose) {
  std::uint64_t hash = 0xCBF29CE484222325;  // 64-bit FNV-1a
  for (const char byte : NameOf(target)) {
    hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3;
  }
  std::array<char, 17> digits{};
  std::snprintf(digits.data(), digits.size(), "%016" PRIx64, hash);
  return Joined(FolderOf(target), std::string(".zamxml-") + digits.data() + std::string(purpose));
}

FileIdentity IdentityOf(const struct stat& status) {
  return {status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec,
          status.st_mtim.tv_nsec};
}

std::optional<FileIdentity> IdentifyFile(const std::string& path) noexcept {
  struct stat status {};
  if (path.find('\0') != std::string::npos || ::stat(path.c_str(), &status) != 0 ||
      !S_ISREG(status.st_mode)) {
    return std::nullopt;
  }
  return IdentityOf(status);
}

FileBytes FileBytes::Copy(std::string_view bytes) {
  FileBytes copy;
  copy.m_Size = bytes.size();
  copy.m_Bytes = std::make_unique_for_overwrite<char[]>(bytes.size() + 1);
  *std::copy(bytes.begin(), bytes.end(), copy.m_Bytes.get()) = '\0';
  return copy;
}

std::optional<FileBytes> ReadFile(const std::string& path, std::string& reason) {
  if (!FindTarget(path, reason)) {
    return std::nullopt;
  }
  // Without O_NONBLOCK opening a pipe would wait for its other end.
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!file.IsOpen() || ::fstat(file.Number(), &status) != 0) {
    return NothingBecause(reason);
  }
  if (!S_ISREG(status.st_mode)) {
    reason = S_ISDIR(status.st_mode) ? "it is a folder" : "it is not a regular file";
    return std::nullopt;
  }
  FileBytes content;
  content.m_Identity = IdentityOf(status);
  const auto expected = static_cast<std::size_t>(std::max<off_t>(status.st_size, 0));
  std::size_t capacity = expected + 1;
  content.m_Bytes = std::make_unique_for_overwrite<char[]>(capacity);
  for (;;) {
    const auto count =
        ::read(file.Number(), content.m_Bytes.get() + content.m_Size, capacity - content.m_Size);
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count < 0) {
      return NothingBecause(reason);
    }
    content.m_Size += static_cast<std::size_t>(count);
    // There was room for one byte more than expected.
    if (count == 0 || content.m_Size == expected) {
      break;
    }
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

bool RemoveFile(const std::string& path) noexcept {
  return path.find('\0') == std::string::npos && ::unlink(path.c_str()) == 0;
}

unsigned long ProcessNumber() noexcept { return static_cast<unsigned long>(::getpid()); }

std::tm LocalTime() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  ::localtime_r(&now, &local);
  return local;
}

}  // namespace zam
