#pragma once

#include <memory>

#include "zamxml/platform/export.h"
#include "zamxml/platform/log.h"
#include "zamxml/platform/text.h"

/// Keeps other holders of a lock for the same path out, in this process and in others, while a file
/// is read, changed and saved.
///
/// It excludes only those who ask for it: saving does not. It belongs to the path and not to the
/// file that stands there, so it lasts across saves, and the path may name no file yet. Symbolic
/// links are followed first: two links to one file share a lock. Two hard links do not.
///
/// The lock is an empty file beside the one that the path leads to (".zamxml-....lock"), which
/// needs the right to create files in that folder. It goes with the lock. A killed process may
/// leave it there, but not the lock: the next holder takes the file over and removes it. Whoever
/// can enter the folder can hold the lock. On a network share the lock reaches as far as the
/// share's own locks do.
///
/// Used by one thread at a time. A child process that was forked meanwhile keeps the lock up until
/// it ends or starts another program.
class ZAMXML_API ZAMFileLock {
public:
  /// Locks nothing yet.
  explicit ZAMFileLock(const _bstr_t& path);
  ZAMFileLock(const ZAMFileLock&) = delete;
  ZAMFileLock& operator=(const ZAMFileLock&) = delete;
  /// Unlocks.
  ~ZAMFileLock();

  /// Takes the lock; waits at most that many seconds for another holder to give it up, with 0 not
  /// at all. 1, also when this object holds it already; 0, with path and reason in the log, which
  /// may be null, when another holder keeps it or the lock's file cannot be made.
  int Lock(double wait, ZAMLog* log);

  /// Gives the lock up; nothing happens when this object does not hold it.
  void Unlock();

  /// 1 while this object holds the lock, else 0.
  int IsLocked() const noexcept;

private:
  class ZAMXML_LOCAL Holding;

  _bstr_t m_Path;
  std::unique_ptr<Holding> m_pHolding;
};
