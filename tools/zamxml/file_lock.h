#pragma once

#include <string>

/// Keeps other zamxml processes away from a file (or, for a file that does not exist yet, from its
/// folder) while it is read, changed and written. Nothing is left behind, however the process ends.
class FileLock {
public:
  /// Waits that many seconds for a lock that another process holds; Failure after that.
  FileLock(const std::string& path, double seconds);
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  ~FileLock();

private:
  bool OpensCurrentFile(const std::string& path);

  int m_Descriptor = -1;
};

/// Holds the folder of a file that is about to be created. Failure when the file exists and that is
/// not allowed.
class CreationLock {
public:
  CreationLock(const std::string& path, bool mayExist);

private:
  FileLock m_Folder;
};
