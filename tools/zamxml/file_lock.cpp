#include "file_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <system_error>
#include <thread>

#include "failure.h"

namespace {

constexpr auto Pause = std::chrono::milliseconds(5);
constexpr double CreationWait = 10;

[[noreturn]] void Fail(const std::string& path, const char* what) {
  throw Failure(path, what, std::system_category().message(errno));
}

std::string FolderOf(const std::string& path) {
  const std::string folder = std::filesystem::path(path).parent_path().string();
  return folder.empty() ? "." : folder;
}

}  // namespace

/// A save puts a new file in the place of the old one, so a lock counts only when the path still
/// leads to the file that is locked.
FileLock::FileLock(const std::string& path, double seconds) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (!OpensCurrentFile(path)) {
    if (std::chrono::steady_clock::now() >= end) {
      throw Failure(path, "cannot lock it", "another zamxml is changing it");
    }
    std::this_thread::sleep_for(Pause);
  }
}

FileLock::~FileLock() { ::close(m_Descriptor); }

bool FileLock::OpensCurrentFile(const std::string& path) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) {
    Fail(path, "cannot open it");
  }
  struct stat locked {};
  struct stat current {};
  if (::flock(descriptor, LOCK_EX | LOCK_NB) == 0) {
    if (::fstat(descriptor, &locked) == 0 && ::stat(path.c_str(), &current) == 0 &&
        locked.st_dev == current.st_dev && locked.st_ino == current.st_ino) {
      m_Descriptor = descriptor;
      return true;
    }
  } else if (errno != EWOULDBLOCK && errno != EINTR) {
    const int error = errno;
    ::close(descriptor);
    errno = error;
    Fail(path, "cannot lock it");
  }
  ::close(descriptor);
  return false;
}

CreationLock::CreationLock(const std::string& path, bool mayExist)
    : m_Folder(FolderOf(path), CreationWait) {
  struct stat existing {};
  if (!mayExist && ::lstat(path.c_str(), &existing) == 0) {
    throw Failure(path, "cannot create it", "it exists; --force replaces it");
  }
}
