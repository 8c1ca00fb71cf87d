#pragma once

#include <deque>

#include "zamxml/platform/export.h"
#include "zamxml/platform/text.h"

/// What an entry is about. The values are part of the interface: do not change them.
enum ZAM_LOG_TYPE : int {
  ZAM_LOG_TYPE_NONE = 0,
  ZAM_LOG_TYPE_INFORMATION = 1,
  ZAM_LOG_TYPE_WARNING = 2,
  ZAM_LOG_TYPE_ERROR = 3,
  ZAM_LOG_TYPE_FATAL = 4,
};

/// Where an entry comes from. The values are part of the interface: do not change them.
enum ZAM_LOG_CATEGORY : int {
  ZAM_LOG_CATEGORY_GENERAL = 0,
  ZAM_LOG_CATEGORY_FILE = 1,
  ZAM_LOG_CATEGORY_XML = 2,
  ZAM_LOG_CATEGORY_DOCUMENT = 3,
};

/// One recorded event.
struct ZAMLogEntry {
  int m_Type = ZAM_LOG_TYPE_NONE;             ///< a ZAM_LOG_TYPE
  int m_Category = ZAM_LOG_CATEGORY_GENERAL;  ///< a ZAM_LOG_CATEGORY
  int m_Code = 0;                             ///< 0, or a negative error code
  _bstr_t m_Text;                             ///< what happened, for a reader
  _bstr_t m_Detail;                           ///< the particulars: what exactly, and where
  _bstr_t m_SourceFile;                       ///< source file that reported it, or null
  _bstr_t m_Function;                         ///< function that reported it, or null
  int m_Line = 0;                             ///< source line that reported it, or 0
  int m_Flag = 0;                             ///< as given by the caller; the library gives 0 or 1
};

/// Receives log entries as they are recorded. Implemented by a host.
class ZAMXML_API ZAMLogger {
public:
  virtual ~ZAMLogger();

  /// Called for every entry of the logs that this logger is set on, right after it is recorded.
  /// The entry is valid during the call only. Must not throw.
  virtual void OnLog(const ZAMLogEntry& entry) = 0;
};

/// An error log: entries in the order in which they were recorded.
///
/// It is bounded: beyond GetLogCapacity() entries the oldest go first. Recording never throws; an
/// entry for which there is no memory is lost. Used by one thread at a time.
class ZAMXML_API ZAMLog {
public:
  /// How many entries a log keeps unless it is made with another bound.
  static constexpr int DefaultCapacity = 1000;

  ZAMLog();
  explicit ZAMLog(int capacity);
  ZAMLog(const ZAMLog&) = delete;
  ZAMLog& operator=(const ZAMLog&) = delete;
  virtual ~ZAMLog();

  /// Sets the logger that gets every later entry, or none with null. The logger stays the caller's
  /// and must outlive this log or be taken away first.
  virtual void SetLogger(ZAMLogger* logger);

  /// Records an entry.
  void SetLog(int type, int category, int code, const _bstr_t& text, const _bstr_t& detail,
              int flag) noexcept;
  /// Records an error with the place that reported it.
  void SetLog_ZAMError(int category, int code, const _bstr_t& message, const _bstr_t& sourceFile,
                       const _bstr_t& function, int line, int flag) noexcept;
  /// Records a warning.
  void SetLog_Warring(int category, const _bstr_t& message, const _bstr_t& detail,
                      int flag) noexcept;

  /// Appends copies of this log's entries to the target, in order. Nothing happens when the target
  /// is null or this log itself.
  void SafeLogCopy(ZAMLog* target) const noexcept;

  int GetLogCount() const noexcept;
  int GetLogCapacity() const noexcept;
  /// The entry at an index from 0 (oldest) to GetLogCount() - 1; CInvalidArgException otherwise.
  /// The reference is valid until the log changes.
  const ZAMLogEntry& GetLog(int index) const;
  void ClearLog() noexcept;

private:
  void Record(const ZAMLogEntry& entry) noexcept;

  std::deque<ZAMLogEntry> m_Entries;
  int m_Capacity;
  ZAMLogger* m_pLogger = nullptr;
};
