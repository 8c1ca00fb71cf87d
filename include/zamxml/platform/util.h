#pragma once

#include <cstddef>

#include "zamxml/platform/export.h"
#include "zamxml/platform/text.h"

/// Small services of the platform. All may be called by several threads at once.
class ZAMXML_API ZAMGF {
public:
  ZAMGF() = delete;

  /// An English sentence for an error code of this library; for any other code, one that names it.
  static _bstr_t ZAMErrorString(int code);

  /// A folder of the user's own inside the system's temporary directory, made when it is missing.
  /// Only its owner can enter it (mode 0700), it belongs to the user of this process and is no
  /// link. Null when no such folder can be had.
  static _bstr_t GetSystemTempDir();

  /// A file name from the prefix, the local date and time, the process and a counter, the suffix,
  /// and "." with the extension: prefix20261122_140709_PROCESS_COUNTERsuffix.extension. No two
  /// calls on one machine give the same name.
  static _bstr_t MakeDateTimeFileName(const _bstr_t& prefix, const _bstr_t& suffix,
                                      const _bstr_t& extension);

  /// The name joined to the directory by exactly one separator. Null when either is empty.
  static _bstr_t MakePath(const _bstr_t& directory, const _bstr_t& name);

  /// Deletes the file at the path; 1 when it is gone by this call, else 0. The flag is not used.
  static int DeleteFileW(const _bstr_t& path, int flag);

  /// 1 on a host that stores the most significant byte first, else 0.
  static int IsHostBigEndian();

  /// Reverses that many bytes in place and returns 1; 0, with nothing done, for a null pointer or a
  /// count below 0.
  static int InvertByte(unsigned char* bytes, int count);
};
