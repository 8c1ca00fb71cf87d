#pragma once

#include <deque>

#include "zamxml/platform/export.h"
#include "zamxml/platform/text.h"

/// The severity of a log entry. Do not change the values: they are part of the interface.
enum ZAM_LOG_TYPE : int {
  ZAM_LOG_TYPE_NONE = 0,
  ZAM_LOG_TYPE_INFORMATION = 1,
  ZAM_LOG_TYPE_WARNING = 2,
  ZAM_LOG_TYPE_ERROR = 3,
  ZAM_LOG_TYPE_FATAL = 4,
};

/// The origin of a log entry. Do not change the values: they are part of the interface.
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
  _bstr_t m_Text;                             ///< what happened, in one English sentence
  _bstr_t m_Detail;                           ///< the details: which file, where, and why
  _bstr_t m_SourceFile;                       ///< source file of the report, or null
  _bstr_t m_Function;                         ///< function of the report, or null
  int m_Line = 0;                             ///< source line of the report, or 0
  int m_Flag = 0;                             ///< as given by the caller; the library passes 0 or 1
};

/// A host implements this class to receive log entries as they are recorded.
class ZAMXML_API ZAMLogger {
public:
  virtual ~ZAMLogger();

  /// Receives an entry right after a log has recorded it. The entry is valid during the call only.
  /// Must not throw, nor remove anything from the object that records it, or from its list.
  virtual void OnLog(const ZAMLogEntry& entry) = 0;
};

/// An error log that keeps entries in the order of recording.
///
/// A full log drops its oldest entry. Recording never throws; an entry is lost if there is no
/// memory for it.
///
/// Thread safety: used by one thread at a time.
class ZAMXML_API ZAMLog {
public:
  /// The number of entries that a default-constructed log keeps.
  static constexpr int DefaultCapacity = 1000;

  ZAMLog();
  explicit ZAMLog(int capacity);
  ZAMLog(const ZAMLog&) = delete;
  ZAMLog& operator=(const ZAMLog&) = delete;
  virtual ~ZAMLog();

  /// Sets the logger that receives every later entry; null removes it. The caller keeps ownership,
  /// and must remove the logger before destroying it.
  virtual void SetLogger(ZAMLogger* logger);

  void SetLog(int type, int category, int code, const _bstr_t& text, const _bstr_t& detail,
              int flag) noexcept;
  /// Records an error with its source location.
  void SetLog_ZAMError(int category, int code, const _bstr_t& message, const _bstr_t& sourceFile,
                       const _bstr_t& function, int line, int flag) noexcept;
  void SetLog_Warring(int category, const _bstr_t& message, const _bstr_t& detail,
                      int flag) noexcept;

  /// Appends copies of all entries to `target`, in order. Does nothing if `target` is null or this
  /// log.
  void SafeLogCopy(ZAMLog* target) const noexcept;

  int GetLogCount() const noexcept;
  int GetLogCapacity() const noexcept;
  /// Returns the entry at `index`; 0 is the oldest. The reference is valid until the log changes.
  /// Raises CInvalidArgException unless 0 <= index < GetLogCount().
  const ZAMLogEntry& GetLog(int index) const;
  void ClearLog() noexcept;

private:
  void Record(const ZAMLogEntry& entry) noexcept;

  std::deque<ZAMLogEntry> m_Entries;
  int m_Capacity;
  ZAMLogger* m_pLogger = nullptr;
};
