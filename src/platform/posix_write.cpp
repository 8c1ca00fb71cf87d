#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <ctime>
#include <optional>
#include <utility>
#include <vector>

#include "platform/posix.h"
#include "platform/posix_access.h"
#include "platform/system.h"

namespace zam {
namespace {

constexpr const char* LockSuffix = ".save";

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

/// What the names of each number begin with. So many saves of one file at a time have names that
/// are found again when they are killed.
std::vector<std::string> Stems(const std::string& target) {
  if (IsInTemporaryFolder(target)) {
    return {};
  }
  const std::string begin = NameBeside(target, "-");
  return {begin + '0', begin + '1', begin + '2', begin + '3'};
}

/// Clears up behind a killed process, whose lock is held now. If a host's template was put at the
/// target then and still is there, the old file comes back. False when what is left has to stay:
/// nobody knows whether the old file is still wanted.
bool ClearUp(const Names& names, const std::string& target, LockFile& lock) {
  const auto kept = IdentifyFile(names.m_KeptFromHost);
  const auto there = kept ? IdentifyFile(target) : std::nullopt;
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
  std::string ignored;
  for (const std::string& stem : Stems(target)) {
    if (lock.Take(stem + LockSuffix, LockFile::For::Owner, ignored) == LockFile::Attempt::Held) {
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

/// Clears up what killed saves to the target have left beside it; whether there was anything.
bool ClearUpBeside(const std::string& target) {
  bool found = false;
  std::string ignored;
  for (const std::string& stem : Stems(target)) {
    const std::string name = stem + LockSuffix;
    struct stat status {};
    LockFile lock;
    if (::lstat(name.c_str(), &status) == 0 &&
        lock.Take(name, LockFile::For::Leftover, ignored) == LockFile::Attempt::Held) {
      ClearUp(Names(stem), target, lock);
      found = true;
    }
  }
  return found;
}

}  // namespace

struct WorkingNames {
  explicit WorkingNames(const std::string& target) : m_Names(TakeStem(target, m_Lock)) {}
  WorkingNames(const WorkingNames&) = delete;
  WorkingNames& operator=(const WorkingNames&) = delete;
  ~WorkingNames() {
    if (m_AreInUse) {
      m_Names.Remove();
    }
  }

  LockFile m_Lock;
  Names m_Names;
  bool m_AreInUse = true;  ///< files of these names may be there
};

std::optional<Target> FindTarget(const std::string& path, std::string& reason) {
  auto target = FollowLinks(path, reason);
  return target && ClearUpBeside(target->m_Path) ? FollowLinks(path, reason) : target;
}

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

/// Asks for the access of the file that is to be replaced, if any. False when it must not be.
bool LookAt(const Target& target, std::optional<FileAccess>& existing, std::string& reason) {
  if (!target.m_Status) {
    return true;
  }
  existing = ReadAccess(target.m_Path, *target.m_Status);
  if (!existing && errno == ENOENT) {
    return true;
  }
  if (existing && !S_ISREG(existing->m_Status.st_mode)) {
    reason = "it is not a regular file";
    return false;
  }
  if (!existing || ::faccessat(AT_FDCWD, target.m_Path.c_str(), W_OK, AT_EACCESS) != 0) {
    reason = LastReason();
    return false;
  }
  return true;
}

/// Makes the new file and writes it; nothing when that fails.
std::optional<FileIdentity> WriteNew(const std::string& path,
                                     const std::optional<FileAccess>& existing,
                                     const WriteContent& content, bool durable) {
  Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                         existing ? 0600 : 0666));
  struct stat own {};
  if (!file.IsOpen() || ::fstat(file.Number(), &own) != 0 ||
      !content([&](std::string_view bytes) { return WriteAll(file.Number(), bytes); }) ||
      (existing && !GiveAccess(file.Number(), own, *existing)) ||
      (durable && ::fsync(file.Number()) != 0) || !file.Close()) {
    return std::nullopt;
  }
  // On a share whose locks do not reach other machines the name may have become another's.
  const auto written = IdentifyFile(path);
  if (!IsSameFile(written, IdentityOf(own))) {
    errno = EBUSY;
    return std::nullopt;
  }
  return written;
}

/// Renames the new file over the old one; no file of these names is left then. When the folder
/// cannot be flushed, the name might not last: the old file, or none, then comes back.
bool PutInPlace(const Names& names, const std::string& target, bool exists,
                const FileIdentity& written, const Descriptor& folder) {
  const bool kept =
      folder.IsOpen() && exists && ::link(target.c_str(), names.m_KeptBySave.c_str()) == 0;
  if (innermostKept != nullptr) {
    innermostKept->HostPuts(target, written);
  }
  if (::rename(names.m_New.c_str(), target.c_str()) != 0) {
    return false;
  }
  // Some file systems cannot flush a folder and say EINVAL: the name is as safe as it can be there.
  if (!folder.IsOpen() || ::fsync(folder.Number()) == 0 || errno == EINVAL) {
    if (kept) {
      ::unlink(names.m_KeptBySave.c_str());
    }
    return true;
  }
  const int error = errno;
  // Another process may have put a file of its own there since.
  if (LeadsTo(target, written)) {
    if (kept) {
      ::rename(names.m_KeptBySave.c_str(), target.c_str());
    } else if (!exists) {
      ::unlink(target.c_str());
    }
  }
  errno = error;
  return false;
}

}  // namespace

std::optional<FileIdentity> WriteFile(const std::string& path, const WriteContent& content,
                                      Durability durability, std::string& reason) {
  const auto target = FindTarget(path, reason);
  std::optional<FileAccess> existing;
  if (!target || !LookAt(*target, existing, reason)) {
    return std::nullopt;
  }
  const bool durable = durability == Durability::Durable;
  const Descriptor folder(
      durable ? ::open(FolderOf(target->m_Path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1);
  if (durable && !folder.IsOpen()) {
    return NothingBecause(reason);
  }
  WorkingNames working(target->m_Path);
  const Names& names = working.m_Names;
  const auto written = WriteNew(names.m_New, existing, content, durable);
  if (!written || !PutInPlace(names, target->m_Path, existing.has_value(), *written, folder)) {
    return NothingBecause(reason);
  }
  working.m_AreInUse = false;
  return written;
}

KeptFile::KeptFile(const std::string& path) {
  std::string ignored;
  auto target = FindTarget(path, ignored);
  if (!target) {
    return;
  }
  m_Before = IdentifyFile(target->m_Path);
  m_IsNew = !m_Before && !target->m_Status;
  if (m_Before) {
    m_Names = std::make_unique<WorkingNames>(target->m_Path);
    if (::link(target->m_Path.c_str(), m_Names->m_Names.m_KeptFromHost.c_str()) != 0) {
      m_Names.reset();
      return;
    }
    m_Outer = std::exchange(innermostKept, this);
  }
  m_Target = std::move(target->m_Path);
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
