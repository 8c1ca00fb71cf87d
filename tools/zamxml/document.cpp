#include "document.h"

#include <fmt/format.h>

#include <charconv>
#include <new>

#include "failure.h"
#include "memory.h"
#include "stamp.h"
#include "text.h"

namespace {

/// The library's code for a file that could be read and is no XML.
constexpr int NotWellFormed = -2004;

bool IsNotWellFormed(const ZAMLog& log) {
  return log.GetLogCount() != 0 && log.GetLog(log.GetLogCount() - 1).m_Code == NotWellFormed;
}

}  // namespace

Document::Document(const std::string& path, const std::string& name) : m_Name(name) {
  ZAMLog log;
  const int opened = Open(FileName(path), &log);
  RequireMemory(m_Xml);
  if (opened != 0) {
    return;
  }
  if (m_WasRead || IsNotWellFormed(log)) {
    throw Unsound(m_Name, "cannot open it", Reason(log, path));
  }
  throw Failure(m_Name, "cannot open it", Reason(log, path));
}

Document::Document(ZAMXml& tree, const std::string& name) : m_Name(name) {
  ZAMLog log;
  const int opened = OpenOrClose([&] { return m_Xml.Copy(tree, &log) == 0 ? 0 : Read(&log); });
  RequireMemory(m_Xml);
  if (opened == 0) {
    throw Unsound(m_Name, "it makes no document", Reason(log, m_Name));
  }
}

int Document::OnFileOpen(const _bstr_t& path, ZAMLog* log) {
  return m_Xml.Open(path, log) == 0 ? 0 : Read(log);
}

int Document::Read(ZAMLog* log) {
  m_WasRead = true;
  if (!m_Xml.GetNode(u"KESTRANE_ZAM")) {
    log->SetLog_Warring(ZAM_LOG_CATEGORY_DOCUMENT, u"the root element is not KESTRANE_ZAM", u"", 0);
    return 0;
  }
  if (_ReadFromXML(m_Xml, 0, log) == 0) {
    return 0;
  }
  // With its own kind as the default one, saving never rebuilds the tree from the records.
  SetDefaultDocInfo(m_DocInfo.m_ID, m_DocInfo.m_Type, m_DocInfo.m_Version, m_DocInfo.m_Author,
                    m_DocInfo.m_Application);
  return 1;
}

int Document::Position(const std::string& text) const {
  if (text == "original") {
    return Original;
  }
  if (text == "last") {
    return Last();
  }
  if (LooksLikeStamp(text)) {
    return PositionAt(text);
  }
  int number = 0;
  const char* end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, number);
  if (text.empty() || text[0] == '-' || stopped != end || error == std::errc::invalid_argument) {
    throw Failure(m_Name, text,
                  "a position is \"original\", \"last\", the number of a modification, or a date "
                  "and time");
  }
  if (error != std::errc() || number > Last()) {
    throw Failure(m_Name, "there is no modification " + text,
                  Last() < 0 ? "it has none" : "the last is " + std::to_string(Last()));
  }
  return number;
}

int Document::PositionAt(const std::string& text) const {
  const std::string stamp = ParseStamp(m_Name + ": position", text);
  int position = Last();
  while (position != Original && IsAfter(Modification(position), stamp)) {
    --position;
  }
  for (int number = 0; number < position; ++number) {
    if (IsAfter(Modification(number), stamp)) {
      throw Failure(m_Name, text,
                    fmt::format("modification {} bears a later time than modification {}, so this "
                                "time is no position; give its number",
                                number, position));
    }
  }
  return position;
}

std::string Document::PositionName(int position) {
  return position == Original ? "original" : std::to_string(position);
}

void Document::MoveTo(int position) {
  try {
    _SetHistory(m_Xml, position);
  } catch (const _com_error& error) {
    if (error.Error() == E_OUTOFMEMORY) {
      throw std::bad_alloc();
    }
    throw Unsound(m_Name, "its history cannot be applied",
                  "a change names a place that cannot be made");
  }
  RequireMemory(m_Xml);
}

void Document::ReadSections() {
  m_DocInfo.Clear();
  m_PatientInfo.Clear();
  m_OrderInfo.Clear();
  m_StudyInfo.Clear();
  ZAMLog log;
  const bool read = OnReadDocumentInfo(m_Xml, &log) != 0 && OnReadPatientInfo(m_Xml, &log) != 0 &&
                    OnReadOrderInfo(m_Xml, &log) != 0 && OnReadStudyInfo(m_Xml, &log) != 0;
  RequireMemory(m_Xml);
  if (!read) {
    throw Failure(m_Name, "cannot read its sections", Reason(log, _bstr_t(m_strFilePath).utf8()));
  }
}

int Document::Unreadable() {
  const int stored =
      m_Xml.GetNodeCount(m_Xml.GetNode(u"KESTRANE_ZAM"), u"Modifications/Modification");
  return stored - GetHistoryCount();
}

void Document::RequireWholeHistory(const char* what) {
  if (Unreadable() > 0) {
    throw Failure(m_Name, what,
                  "its history holds a modification that cannot be read and would be lost",
                  ExitFinding);
  }
}

Failure LostHistory(const std::string& name, int lost) {
  return {name, "its history is not whole",
          fmt::format("modifications that cannot be read: {}", lost), ExitFinding};
}
