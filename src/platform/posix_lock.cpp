#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <utility>

#include "platform/posix.h"
#include "platform/system.h"

/// Locks are those of flock(2): they belong to an opened file, so two of one process exclude each
/// other, and they end with the process however it ends.

namespace zam {
namespace {

/// Without O_NONBLOCK opening a pipe would wait for its other end.
constexpr int OpenFlags = O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;

/// Makes the file; where one has come up meanwhile, that is a matter of trying again.
int Make(const char* path, mode_t mode) {
  const int made = ::open(path, OpenFlags | O_CREAT | O_EXCL, mode);
  // The bits that the process masks out are asked for again: others are to lock it, too.
  if (made >= 0 && (mode & S_IRWXO) != 0 && ::fchmod(made, mode) != 0) {
    const int error = errno;
    ::unlink(path);
    ::close(made);
    errno = error;
    return -1;
  }
  return made;
}

}  // namespace

std::optional<std::string> LockFileName(const std::string& path, std::string& reason) {
  const auto target = FollowLinks(path, reason);
  if (!target) {
    return std::nullopt;
  }
  // The name must mean the same when the process has gone to another folder.
  const std::unique_ptr<char, decltype(&std::free)> folder(
      ::realpath(FolderOf(target->m_Path).c_str(), nullptr), &std::free);
  return folder ? std::optional(NameBeside(
                      Joined(folder.get(), std::string(NameOf(target->m_Path))), ".lock"))
                : NothingBecause(reason);
}

LockFile::Attempt LockFile::Take(const std::string& path, For whom, std::string& reason) {
  Release();
  std::string name = path;
  const bool makes = whom != For::Leftover;
  const mode_t mode = whom == For::Everyone ? 0666 : 0600;
  Descriptor file(makes ? Make(path.c_str(), mode) : -1);
  const bool made = file.IsOpen();
  bool passes = false;
  if (!made && (!makes || errno == EEXIST)) {
    file = Descriptor(::open(path.c_str(), OpenFlags));
    // One that cannot be opened belongs to another user, who may be about to open it to others. One
    // that is gone has just been released.
    passes = errno == EACCES || errno == ENOENT;
  }
  struct stat status {};
  if (!file.IsOpen() || ::fstat(file.Number(), &status) != 0) {
    reason = LastReason();
    return passes ? Attempt::Busy : Attempt::Failed;
  }
  // Nobody else's file is taken over for this user's own purposes, nor one with another name.
  if (!S_ISREG(status.st_mode) || status.st_nlink > 1 ||
      (whom != For::Everyone && !made && status.st_uid != ::geteuid())) {
    reason = path + " is another file";
    return Attempt::Failed;
  }
  const bool locked = ::flock(file.Number(), LOCK_EX | LOCK_NB) == 0;
  if (!locked && errno != EWOULDBLOCK && errno != EINTR) {
    reason = LastReason();
    if (made) {
      ::unlink(path.c_str());
    }
    return Attempt::Failed;
  }
  // A holder removes the name before it gives the lock up.
  if (!locked || !LeadsTo(path, IdentityOf(status))) {
    reason = "another holder has locked it";
    return Attempt::Busy;
  }
  m_Path = std::move(name);
  m_File = IdentityOf(status);
  m_Process = ProcessNumber();
  m_Descriptor = file.Release();
  return Attempt::Held;
}

std::optional<FileIdentity> LockFile::Note() const noexcept {
  FileIdentity file;
  return ::pread(m_Descriptor, &file, sizeof file, 0) == ssize_t{sizeof file} ? std::optional(file)
                                                                              : std::nullopt;
}

void LockFile::SetNote(const std::optional<FileIdentity>& file) const noexcept {
  // A note that cannot be put down, or not whole, is none.
  if (::ftruncate(m_Descriptor, 0) == 0 && file &&
      ::pwrite(m_Descriptor, &*file, sizeof *file, 0) != ssize_t{sizeof *file}) {
    [[maybe_unused]] const int emptied = ::ftruncate(m_Descriptor, 0);
  }
}

void LockFile::Release() noexcept {
  if (!IsHeld()) {
    return;
  }
  // A forked child has the descriptor as well, but the lock is its parent's.
  if (m_Process == ProcessNumber() && LeadsTo(m_Path, m_File)) {
    ::unlink(m_Path.c_str());
  }
  ::close(std::exchange(m_Descriptor, -1));
}

}  // namespace zam
