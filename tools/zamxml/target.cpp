#include "target.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "failure.h"
#include "output.h"
#include "text.h"

namespace {

constexpr double LongestWait = 3600;

ZAMFileLock* heldLock = nullptr;

bool Exists(const std::string& path) {
  struct stat existing {};
  return ::lstat(path.c_str(), &existing) == 0;
}

/// Gives a new file the mode of the one at a path; only the owner's part where the rest would speak
/// of another group, or stands for an access control list.
bool GiveMode(int file, const char* path, const struct stat& existing) {
  struct stat own {};
  if (::fstat(file, &own) != 0) {
    return false;
  }
  const bool isPlain =
      own.st_gid == existing.st_gid && ::getxattr(path, "system.posix_acl_access", nullptr, 0) < 0;
  return ::fchmod(file, existing.st_mode & (isPlain ? ACCESSPERMS : S_IRWXU)) == 0;
}

}  // namespace

void AddWaitOption(Verb verb, double& seconds) {
  verb.Number("--wait", seconds, 0, LongestWait,
              "Seconds to wait for another program that holds the lock");
}

void AddTargetOptions(Verb verb, TargetOptions& options) {
  verb.Flag("--force", options.m_Force, "Replace a file that exists");
  AddWaitOption(verb, options.m_Wait);
}

TargetLock::TargetLock(const std::string& path, double wait) : m_Lock(FileName(path)) {
  ZAMLog log;
  if (m_Lock.Lock(wait, &log) == 0) {
    throw Failure(path, "cannot lock it", Reason(log, path));
  }
  heldLock = &m_Lock;
}

TargetLock::~TargetLock() { heldLock = nullptr; }

void ReleaseTarget() noexcept {
  if (heldLock != nullptr) {
    heldLock->Unlock();
  }
}

TargetLock::TargetLock(const std::string& path, const TargetOptions& options)
    : TargetLock(path, options.m_Wait) {
  if (!options.m_Force && Exists(path)) {
    throw Failure(path, "cannot create it", "it exists; --force replaces it");
  }
}

AccessLimit::AccessLimit(const std::string& source) : m_Before(::umask(0)) {
  struct stat model {};
  const mode_t closed = ::stat(source.c_str(), &model) == 0 ? ~model.st_mode & 0066 : 0;
  ::umask(m_Before | closed);
}

AccessLimit::~AccessLimit() { ::umask(m_Before); }

void WriteTarget(const std::string& path, std::string_view bytes) {
  namespace fs = std::filesystem;
  const auto fail = [&](const std::string& why) { throw Failure(path, "cannot write it", why); };
  std::error_code error;
  const fs::path place = fs::exists(path, error) ? fs::canonical(path, error) : fs::path(path);
  struct stat existing {};
  const bool exists = ::stat(place.c_str(), &existing) == 0;
  if (exists && !S_ISREG(existing.st_mode)) {
    fail("it is no regular file");
  }
  const fs::path beside = place.parent_path() / (".zamxml-" + std::to_string(::getpid()));
  const int file =
      ::open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, exists ? 0600 : 0666);
  if (file < 0) {
    fail(std::strerror(errno));
  }
  const bool isWritten = WriteAll(file, bytes) &&
                         (!exists || GiveMode(file, place.c_str(), existing)) && ::fsync(file) == 0;
  const int reason = errno;
  ::close(file);
  if (!isWritten || ::rename(beside.c_str(), place.c_str()) != 0) {
    const std::string why = std::strerror(isWritten ? errno : reason);
    ::unlink(beside.c_str());
    fail(why);
  }
}
