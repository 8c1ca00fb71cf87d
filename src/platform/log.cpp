#include "zamxml/platform/log.h"

#include <algorithm>
#include <utility>

#include "platform/codes.h"
#include "zamxml/platform/error.h"
#include "zamxml/platform/util.h"

ZAMLogger::~ZAMLogger() = default;

ZAMLog::ZAMLog() : ZAMLog(DefaultCapacity) {}
ZAMLog::ZAMLog(int capacity) : m_Capacity(std::max(capacity, 1)) {}
ZAMLog::~ZAMLog() = default;

void ZAMLog::SetLogger(ZAMLogger* logger) { m_pLogger = logger; }

void ZAMLog::SetLog(int type, int category, int code, const _bstr_t& text, const _bstr_t& detail,
                    int flag) noexcept {
  Record({.m_Type = type,
          .m_Category = category,
          .m_Code = code,
          .m_Text = text,
          .m_Detail = detail,
          .m_SourceFile = {},
          .m_Function = {},
          .m_Line = 0,
          .m_Flag = flag});
}

void ZAMLog::SetLog_ZAMError(int category, int code, const _bstr_t& message,
                             const _bstr_t& sourceFile, const _bstr_t& function, int line,
                             int flag) noexcept {
  Record({.m_Type = ZAM_LOG_TYPE_ERROR,
          .m_Category = category,
          .m_Code = code,
          .m_Text = message,
          .m_Detail = {},
          .m_SourceFile = sourceFile,
          .m_Function = function,
          .m_Line = line,
          .m_Flag = flag});
}

void ZAMLog::SetLog_Warring(int category, const _bstr_t& message, const _bstr_t& detail,
                            int flag) noexcept {
  SetLog(ZAM_LOG_TYPE_WARNING, category, 0, message, detail, flag);
}

void ZAMLog::Record(const ZAMLogEntry& entry) noexcept {
  try {
    m_Entries.push_back(entry);
  } catch (const std::bad_alloc&) {
    return;
  }
  if (GetLogCount() > m_Capacity) {
    m_Entries.pop_front();
  }
  if (m_pLogger != nullptr) {
    m_pLogger->OnLog(entry);
  }
}

void ZAMLog::SafeLogCopy(ZAMLog* target) const noexcept {
  if (target == nullptr || target == this) {
    return;
  }
  for (int index = 0; index < GetLogCount(); ++index) {
    // A copy: the target's logger may change this log.
    const ZAMLogEntry entry = m_Entries[static_cast<std::size_t>(index)];
    target->Record(entry);
  }
}

int ZAMLog::GetLogCount() const noexcept { return static_cast<int>(m_Entries.size()); }
int ZAMLog::GetLogCapacity() const noexcept { return m_Capacity; }

const ZAMLogEntry& ZAMLog::GetLog(int index) const {
  if (index < 0 || index >= GetLogCount()) {
    throw CInvalidArgException();
  }
  return m_Entries[static_cast<std::size_t>(index)];
}

void ZAMLog::ClearLog() noexcept { m_Entries.clear(); }

void zam::RecordNoMemory(ZAMLog& log, int category) noexcept {
  _bstr_t text;
  try {
    text = ZAMGF::ZAMErrorString(CodeNoMemory);
  } catch (const _com_error&) {
  }
  log.SetLog(ZAM_LOG_TYPE_ERROR, category, CodeNoMemory, text, nullptr, 0);
}

_bstr_t zam::FileDetail(const _bstr_t& path, const std::string& reason) {
  const _bstr_t why = _bstr_t::FromUtf8(reason);
  return path.length() == 0 ? why : path + u": " + why;
}

void zam::RecordFileError(ZAMLog* log, int code, const _bstr_t& detail) {
  if (log != nullptr) {
    log->SetLog(ZAM_LOG_TYPE_ERROR, ZAM_LOG_CATEGORY_FILE, code, ZAMGF::ZAMErrorString(code),
                detail, 0);
  }
}
