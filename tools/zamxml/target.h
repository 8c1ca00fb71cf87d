#pragma once

#include <ZAMXMLData.h>

#include <string>
#include <string_view>

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

/// Makes the file hold these bytes, in one piece: they are written beside it and take its place
/// when they are on the disk. A file that is replaced hands on its mode. Failure, with what was
/// there untouched, when that cannot be done, or when the path leads to something that is no
/// regular file.
void WriteTarget(const std::string& path, std::string_view bytes);
