#pragma once

#include <memory>

#include "zamxml/platform/export.h"
#include "zamxml/platform/log.h"
#include "zamxml/platform/text.h"

/// An advisory lock for a path. Hold it while a file is read, changed and saved, so that no other
/// holder, in this process or another, does the same meanwhile.
///
/// The lock excludes only those who ask for it; saving does not ask. The lock belongs to the path,
/// not to the file: it lasts across saves, and the file may not exist yet. Symbolic links are
/// followed first, so two links to one file share a lock. Two hard links do not.
///
/// The lock is an empty file ".zamxml-....lock" in the folder of the locked file, so it needs the
/// right to create files there. Unlocking removes the file. A killed process may leave the file
/// behind, but not the lock: the next holder takes the file over and removes it. Anyone who can
/// enter the folder can hold the lock. On a network share the lock reaches as far as the share's
/// own locks do.
///
/// Thread safety: used by one thread at a time. A child process that is forked while the lock is
/// held keeps it until the child exits or executes another program.
class ZAMXML_API ZAMFileLock {
public:
  /// Does not lock yet.
  explicit ZAMFileLock(const _bstr_t& path);
  ZAMFileLock(const ZAMFileLock&) = delete;
  ZAMFileLock& operator=(const ZAMFileLock&) = delete;
  /// Unlocks.
  ~ZAMFileLock();

  /// Takes the lock. Waits at most `wait` seconds for another holder; 0 does not wait. Returns 1 if
  /// this object holds the lock now. Returns 0, and logs path and reason if `log` is not null, if
  /// another holder keeps the lock or the lock file cannot be created.
  int Lock(double wait, ZAMLog* log);

  /// Releases the lock. Does nothing if this object does not hold it.
  void Unlock();

  /// Returns 1 while this object holds the lock, else 0.
  int IsLocked() const noexcept;

private:
  class ZAMXML_LOCAL Holding;

  _bstr_t m_Path;
  std::unique_ptr<Holding> m_pHolding;
};
