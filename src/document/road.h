#pragma once

#include "zamxml/platform/error.h"
#include "zamxml/platform/log.h"
#include "zamxml/platform/xml.h"

/// What a road over a whole document (opening, moving, building, saving, recording) keeps an eye
/// on.
namespace zam {

/// Tells whether a tree has run out of memory since the watch began. A record inside other records
/// swallows that, and its owners succeed without it; a document must not be shown or saved so.
class MemoryWatch {
public:
  explicit MemoryWatch(const ZAMXml& xml) noexcept : m_Xml(xml), m_Before(xml.RanOutOfMemory()) {}

  bool RanShort() const noexcept { return m_Xml.RanOutOfMemory() != m_Before; }
  void RequireEnough() const {
    if (RanShort()) {
      throw _com_error(E_OUTOFMEMORY);
    }
  }

private:
  const ZAMXml& m_Xml;
  int m_Before;
};

/// Sends the warnings of a tree to a log while it lives. The outermost scope counts: a save takes
/// those of the moves that it makes.
class WarningScope {
public:
  WarningScope(ZAMXml& xml, ZAMLog* log) noexcept : m_Xml(xml), m_Former(xml.SetWarningLog(log)) {
    if (m_Former != nullptr) {
      m_Xml.SetWarningLog(m_Former);
    }
  }
  WarningScope(const WarningScope&) = delete;
  WarningScope& operator=(const WarningScope&) = delete;
  ~WarningScope() { m_Xml.SetWarningLog(m_Former); }

private:
  ZAMXml& m_Xml;
  ZAMLog* m_Former;
};

}  // namespace zam
