#pragma once

#include <string>

class ZAMLog;
class _bstr_t;

/// The error codes that logs carry; ZAMGF::ZAMErrorString has a sentence for each.
namespace zam {

inline constexpr int CodeNotFound = -2;
inline constexpr int CodeNoMemory = -1002;
inline constexpr int CodeNotRead = -2001;
inline constexpr int CodeNotWritten = -2002;
inline constexpr int CodeNoTemporaryFile = -2003;
inline constexpr int CodeNotWellFormed = -2004;
inline constexpr int CodeNotAdded = -2005;
inline constexpr int CodeNotLocked = -2006;
inline constexpr int CodeTreeNotReread = -2009;

/// Records CodeNoMemory; without its sentence, if there is no memory for that.
void RecordNoMemory(ZAMLog& log, int category) noexcept;

/// What a log says about a file: its path, if there is one, and the reason.
_bstr_t FileDetail(const _bstr_t& path, const std::string& reason);

/// Records a failure with a file; does nothing without a log.
void RecordFileError(ZAMLog* log, int code, const _bstr_t& detail);

}  // namespace zam
