#include "target.h"

#include <sys/stat.h>

#include "failure.h"
#include "text.h"

namespace {

constexpr double LongestWait = 3600;

ZAMFileLock* heldLock = nullptr;

bool Exists(const std::string& path) {
  struct stat existing {};
  return ::lstat(path.c_str(), &existing) == 0;
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
