#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <optional>

#include "platform/posix.h"
#include "platform/posix_access.h"
#include "platform/system.h"

namespace zam {
namespace {

/// How many saves of one file at a time have names that are found again when they are killed.
constexpr int Numbers = 4;

bool IsSameFile(const std::optional<FileIdentity>& file, const std::optional<FileIdentity>& other) {
  return file && other && file->m_Device == other->m_Device && file->m_Inode == other->m_Inode;
}

/// Names beside a target: for the new file of a save, and for the old one while a save or a host
/// may replace it.
struct Names {
  explicit Names(const std::string& stem)
      : m_New(stem + ".new"), m_KeptBySave(stem + ".kept"), m_KeptFromHost(stem + ".old") {}

  bool Remove() const noexcept {
    bool removed = true;
    for (const std::string* name : {&m_New, &m_KeptBySave, &m_KeptFromHost}) {
      removed = (::unlink(name->c_str()) == 0 || errno == ENOENT) && removed;
    }
    return removed;
  }

  std::string m_New;
  std::string m_KeptBySave;
  std::string m_KeptFromHost;
};

std::string Stem(const std::string& target, int number) {
  return NameBeside(target, '-' + std::to_string(number));
}

bool TakeNumber(const std::string& stem, LockFile::For whom, LockFile& lock) {
  std::string reason;
  return lock.Take(stem + ".save", whom, reason) == LockFile::Attempt::Held;
}

/// Clears up behind a killed process, whose lock is held now. If a host's template was put at the
/// target then and still is there, the old file comes back. False when what is left has to stay:
/// nobody knows whether the old file is still wanted.
bool ClearUp(const Names& names, const std::string& target, LockFile& lock) {
  const auto kept = IdentifyFile(names.m_KeptFromHost);
  const auto there = IdentifyFile(target);
  if (kept && !IsSameFile(kept, there)) {
    const auto put = lock.Note();
    if (!there || there == put) {
      ::rename(names.m_KeptFromHost.c_str(), target.c_str());
    } else if (!put || IsSameFile(put, there)) {
      return false;
    }
  }
  const bool removed = names.Remove();
  if (removed && lock.Note()) {
    lock.SetNote(std::nullopt);
  }
  return removed;
}

/// A stem of names that are no other process's: whoever holds the lock of a number has its names.
std::string TakeStem(const std::string& target, LockFile& lock) {
  for (int number = 0; number < Numbers; ++number) {
    std::string stem = Stem(target, number);
    if (TakeNumber(stem, LockFile::For::Owner, lock)) {
      if (ClearUp(Names(stem), target, lock)) {
        return stem;
      }
      lock.Release();
    }
  }
  static std::atomic<unsigned long> counter{0};
  return NameBeside(target, '-' + std::to_string(ProcessNumber()) + '-' +
                                std::to_string(std::time(nullptr)) + '-' +
                                std::to_string(++counter));
}

}  // namespace

void ClearUpBeside(const std::string& target) {
  for (int number = 0; number < Numbers; ++number) {
    const std::string stem = Stem(target, number);
    LockFile lock;
    if (TakeNumber(stem, LockFile::For::Leftover, lock)) {
      ClearUp(Names(stem), target, lock);
    }
  }
}

class WorkingNames {
public:
  explicit WorkingNames(const std::string& target) : m_Names(TakeStem(target, m_Lock)) {}
  WorkingNames(const WorkingNames&) = delete;
  WorkingNames& operator=(const WorkingNames&) = delete;
  /// Removes the files of these names.
  ~WorkingNames() { m_Names.Remove(); }

  LockFile m_Lock;
  Names m_Names;
};

namespace {

thread_local KeptFile* innermostKept = nullptr;

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
  FileAccess m_Access;
};

bool LookAt(const std::string& target, Existing& existing, std::string& reason) {
  existing.m_Exists = ReadAccess(target, existing.m_Access);
  if (!existing.m_Exists) {
    if (errno == ENOENT) {
      return true;
    }
    reason = LastReason();
    return false;
  }
  if (!S_ISREG(existing.m_Access.m_Status.st_mode)) {
    reason = "it is not a regular file";
    return false;
  }
  if (::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) {
    reason = LastReason();
    return false;
  }
  return true;
}

/// Renames the new file over the old one. When the folder cannot be flushed, the name might not
/// last: the old file, or none, then comes back.
bool PutInPlace(const Names& names, const std::string& target, bool exists,
                const FileIdentity& written, const Descriptor& folder) {
  const bool kept =
      folder.IsOpen() && exists && ::link(target.c_str(), names.m_KeptBySave.c_str()) == 0;
  const auto put = IdentifyFile(names.m_New);
  // On a share whose locks do not reach other machines the name may have become another's.
  if (!IsSameFile(put, written)) {
    errno = EBUSY;
    return false;
  }
  if (innermostKept != nullptr) {
    innermostKept->HostPuts(target, *put);
  }
  if (::rename(names.m_New.c_str(), target.c_str()) != 0) {
    return false;
  }
  // Some file systems cannot flush a folder and say EINVAL: the name is as safe as it can be there.
  if (!folder.IsOpen() || ::fsync(folder.Number()) == 0 || errno == EINVAL) {
    return true;
  }
  const int error = errno;
  // Another process may have put a file of its own there since.
  if (IsSameFile(IdentifyFile(target), put)) {
    if (kept) {
      ::rename(names.m_KeptBySave.c_str(), target.c_str());
    } else if (!exists) {
      ::unlink(target.c_str());
    }
  }
  errno = error;
  return false;
}

std::optional<FileIdentity> ReplaceFile(const std::string& target, const Names& names,
                                        const Existing& existing, const WriteContent& content,
                                        Durability durability) {
  const bool durable = durability == Durability::Durable;
  const Descriptor folder(
      durable ? ::open(FolderOf(target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1);
  if (durable && !folder.IsOpen()) {
    return std::nullopt;
  }
  Descriptor file(::open(names.m_New.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                         existing.m_Exists ? 0600 : 0666));
  struct stat status {};
  if (!file.IsOpen() ||
      !content([&](std::string_view bytes) { return WriteAll(file.Number(), bytes); }) ||
      (existing.m_Exists && !GiveAccess(file.Number(), existing.m_Access)) ||
      (durable && ::fsync(file.Number()) != 0) || ::fstat(file.Number(), &status) != 0 ||
      !file.Close()) {
    return std::nullopt;
  }
  const FileIdentity written = IdentityOf(status);
  if (!PutInPlace(names, target, existing.m_Exists, written, folder)) {
    return std::nullopt;
  }
  return written;
}

}  // namespace

std::optional<FileIdentity> WriteFile(const std::string& path, const WriteContent& content,
                                      Durability durability, std::string& reason) {
  if (!IsUsablePath(path, reason)) {
    return std::nullopt;
  }
  const auto target = FollowLinks(path, reason);
  if (!target) {
    return std::nullopt;
  }
  ClearUpBeside(*target);
  Existing existing;
  if (!LookAt(*target, existing, reason)) {
    return std::nullopt;
  }
  const WorkingNames working(*target);
  const auto written = ReplaceFile(*target, working.m_Names, existing, content, durability);
  if (!written) {
    reason = LastReason();
  }
  return written;
}

KeptFile::KeptFile(const std::string& path) {
  std::string reason;
  auto target = IsUsablePath(path, reason) ? FollowLinks(path, reason) : std::nullopt;
  if (!target) {
    return;
  }
  ClearUpBeside(*target);
  m_Before = IdentifyFile(*target);
  if (!m_Before) {
    struct stat status {};
    m_IsNew = ::lstat(target->c_str(), &status) != 0 && errno == ENOENT;
    m_Target = std::move(*target);
    return;
  }
  auto names = std::make_unique<WorkingNames>(*target);
  if (::link(target->c_str(), names->m_Names.m_KeptFromHost.c_str()) == 0) {
    m_Target = std::move(*target);
    m_Names = std::move(names);
    m_Outer = std::exchange(innermostKept, this);
  }
}

void KeptFile::HostPuts(const std::string& target, const FileIdentity& file) noexcept {
  if (target == m_Target) {
    // Of two that are put there in turn a note could tell only one.
    m_Noted = m_IsNoted ? std::nullopt : std::optional(file);
    m_IsNoted = true;
    m_Names->m_Lock.SetNote(m_Noted);
  }
}

void KeptFile::HostIsDone() noexcept {
  if (m_IsDone) {
    return;
  }
  m_IsDone = true;
  if (m_IsNew || m_Names != nullptr) {
    m_After = IdentifyFile(m_Target);
  }
  if (m_Names != nullptr) {
    if (m_After != m_Before && m_After != m_Noted) {
      m_Names->m_Lock.SetNote(m_After);
    }
    innermostKept = m_Outer;
  }
}

void KeptFile::PutBack() noexcept {
  HostIsDone();
  if (m_Names != nullptr && m_After != m_Before && IdentifyFile(m_Target) == m_After) {
    // Renaming one name of a file onto another name of it does nothing at all.
    ::rename(m_Names->m_Names.m_KeptFromHost.c_str(), m_Target.c_str());
  }
  m_Names.reset();
  if (m_IsNew && m_After && IdentifyFile(m_Target) == m_After) {
    ::unlink(m_Target.c_str());
  }
  m_IsNew = false;
}

KeptFile::~KeptFile() { PutBack(); }

}  // namespace zam
