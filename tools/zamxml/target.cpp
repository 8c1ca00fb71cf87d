#include "target.h"

#include <sys/stat.h>

#include <cstdlib>

#include "failure.h"
#include "text.h"

namespace {

constexpr double LongestWait = 3600;

ZAMFileLock* held = nullptr;

std::string CheckWait(const std::string& text) {
  char* end = nullptr;
  const double seconds = std::strtod(text.c_str(), &end);
  return *end == '\0' && seconds >= 0 && seconds <= LongestWait ? "" : "it is 0 to 3600 seconds";
}

bool Exists(const std::string& path) {
  struct stat existing {};
  return ::lstat(path.c_str(), &existing) == 0;
}

}  // namespace

void AddWaitOption(CLI::App& verb, double& seconds) {
  verb.add_option("--wait", seconds, "Seconds to wait for another zamxml")
      ->check(CheckWait)
      ->capture_default_str();
}

void AddTargetOptions(CLI::App& verb, TargetOptions& options) {
  verb.add_flag("--force", options.m_Force, "Replace a file that exists");
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
