#pragma once

#include <cstddef>
#include <string_view>

#include "zamxml/platform/export.h"
#include "zamxml/platform/log.h"
#include "zamxml/platform/text.h"

/// Platform utilities.
///
/// Thread safety: any thread may call any of them at any time.
class ZAMXML_API ZAMGF {
public:
  ZAMGF() = delete;

  /// Returns an English sentence that explains an error code of this library. For any other code,
  /// the sentence names the code.
  static _bstr_t ZAMErrorString(int code);

  /// Returns the path of a private folder in the system's temporary directory. Creates the folder
  /// if it is missing. The folder belongs to the user of this process, has mode 0700, and is not a
  /// link. Returns null if no such folder can be created.
  static _bstr_t GetSystemTempDir();

  /// Returns a file name that no other call on this machine returns:
  /// prefix20261122_140709_PROCESS_COUNTERsuffix.extension, with the local date and time.
  static _bstr_t MakeDateTimeFileName(const _bstr_t& prefix, const _bstr_t& suffix,
                                      const _bstr_t& extension);

  /// Joins a directory and a name with exactly one separator. Returns null if either is empty.
  static _bstr_t MakePath(const _bstr_t& directory, const _bstr_t& name);

  /// Replaces the file at `path` by one that holds `bytes`, or creates it. The path leads to the
  /// old file until the whole new one is on the disk, even if the process is killed. An existing
  /// file keeps its owner, mode, access control list and other attributes; what cannot be kept
  /// narrows access. A symbolic link is followed to its target. Removes what killed processes have
  /// left beside the file. Returns 1 if the file is on the disk. Returns 0, leaves the old file as
  /// it was, and logs path and reason if `log` is not null, if the file cannot be written, memory
  /// runs out, or the path leads to anything but a regular file.
  static int WriteFile(const _bstr_t& path, std::string_view bytes, ZAMLog* log);

  /// Deletes the file at `path`. Returns 1 if this call removed it, else 0. Ignores `flag`.
  static int DeleteFileW(const _bstr_t& path, int flag);

  /// Returns 1 on a machine that stores the most significant byte first, else 0.
  static int IsHostBigEndian();

  /// Reverses `count` bytes in place and returns 1. Returns 0 and does nothing if `bytes` is null
  /// or `count` is negative.
  static int InvertByte(unsigned char* bytes, int count);
};
