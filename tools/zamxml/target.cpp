#include "target.h"

#include <sys/stat.h>

#include "failure.h"
#include "text.h"

namespace {

constexpr double LongestWait = 3600;

ZAMFileLock* held = nullptr;

bool Exists(const std::string& path) {
  struct stat existing {};
  return ::lstat(path.c_str(), &existing) == 0;
}

}  // namespace

void AddWaitOption(Verb verb, double& seconds) {
  verb.Number("--wait", seconds, 0, LongestWait, "Seconds to wait for another zamxml");
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
  held = &m_Lock;
}

TargetLock::~TargetLock() { held = nullptr; }

void ReleaseTarget() noexcept {
  if (held != nullptr) {
    held->Unlock();
  }
}

TargetLock::TargetLock(const std::string& path, const TargetOptions& options)
    : TargetLock(path, options.m_Wait) {
  if (!options.m_Force && Exists(path)) {
    throw Failure(path, "cannot create it", "it exists; --force replaces it");
  }
}
