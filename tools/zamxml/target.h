#pragma once

#include <ZAMXMLData.h>

#include <string>

#include "command_line.h"

/// The file that a verb writes.

/// How a verb that makes a file treats what is there.
struct TargetOptions {
  bool m_Force = false;
  double m_Wait = 10;  ///< seconds
};

void AddTargetOptions(Verb verb, TargetOptions& options);
void AddWaitOption(Verb verb, double& seconds);

/// Keeps every other holder of a lock away from a path, whether there is a file or not. Failure
/// when another holds it longer than the wait, in seconds.
class TargetLock {
public:
  TargetLock(const std::string& path, double wait);
  /// The same for a file that is to be made: Failure when it exists and is not to be replaced.
  TargetLock(const std::string& path, const TargetOptions& options);
  TargetLock(const TargetLock&) = delete;
  TargetLock& operator=(const TargetLock&) = delete;
  ~TargetLock();

private:
  ZAMFileLock m_Lock;
};

/// Gives up the lock that is held, if any, where the program ends without unwinding.
void ReleaseTarget() noexcept;

/// While it lives, this process makes files that are open to nobody who may not use the source.
class AccessLimit {
public:
  explicit AccessLimit(const std::string& source);
  AccessLimit(const AccessLimit&) = delete;
  AccessLimit& operator=(const AccessLimit&) = delete;
  ~AccessLimit();

private:
  unsigned int m_Before;  ///< the mask
};
