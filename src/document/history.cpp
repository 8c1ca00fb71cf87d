#include <algorithm>
#include <utility>

#include "changes/list_access.h"
#include "document/road.h"
#include "document/sections.h"
#include "platform/codes.h"
#include "zamxml/document.h"

int ZAMXMLFile::GetHistoryCount() const { return m_Modifications.GetCount(); }

int ZAMXMLFile::_SetHistory(ZAMXml& xml, int position) {
  if (position < -1 || position >= GetHistoryCount()) {
    return 0;
  }
  if (position == m_nHistory) {
    return 1;
  }
  m_nHistory = std::max(m_nHistory, -1);
  m_Modifications.ApplyModifications(xml, zam::RootPath, m_nHistory, position);
  m_nHistory = position;
  return 1;
}

int ZAMXMLFile::SetHistory(int position) {
  if (position < -1 || position >= GetHistoryCount()) {
    return 0;
  }
  if (position == m_nHistory && m_nStale == 0) {
    return 1;
  }
  if (IsBusy()) {
    return RefuseBusy(nullptr);
  }
  const zam::WarningScope warnings(m_Xml, this);
  if (!m_Xml.GetNode(zam::RootPath) || Show(position) == 0) {
    RecordError(ZAM_LOG_TYPE_FATAL, zam::CodeTreeNotReread, u"Fail to open temporary XML file.");
    return 0;
  }
  OnHistoryChanged();
  return 1;
}

int ZAMXMLFile::Show(int position) {
  m_nHistory = std::max(m_nHistory, -1);
  MoveTree(position);
  return RereadRecords(position);
}

/// A move that was interrupted leaves the tree somewhere below the higher of its two positions.
/// Undoing every modification from there on brings back the original content, whichever of them had
/// been applied: so that position is kept, and the next move goes by way of the original.
void ZAMXMLFile::MoveTree(int position) {
  const int highest = std::max(m_nHistory, position);
  const zam::MemoryWatch memory(m_Xml);
  try {
    if (m_nStale != 0) {
      RestoreList();
      _SetHistory(m_Xml, -1);
    }
    _SetHistory(m_Xml, position);
    memory.RequireEnough();
  } catch (...) {
    m_nHistory = highest;
    m_nStale = 1;
    throw;
  }
}

/// Makes the tree hold the list in memory, which is the whole history.
void ZAMXMLFile::RestoreList() {
  const zam::MemoryWatch memory(m_Xml);
  if (m_nWithheld == 0) {
    ZAMXMLFile::OnWriteModification(m_Xml, nullptr);
  }
  memory.RequireEnough();
}

/// The list in memory is the whole history; a reading that fails must not shorten it.
int ZAMXMLFile::RereadRecords(int position) {
  ZAMXMLModificationGroup kept;
  zam::ListAccess::Swap(kept, m_Modifications);
  const zam::Scoped former(m_pFormerList, &kept);
  m_nStale = 1;
  const unsigned int session = Session();
  const auto putBack = [&] {
    // A hook may have closed the document, or opened another.
    if (session == Session()) {
      zam::ListAccess::TakeBack(kept, m_Modifications);
      zam::ListAccess::Swap(kept, m_Modifications);
      m_nHistory = position;
    }
  };
  bool whole = false;
  try {
    // Neither the position nor the records are whole meanwhile.
    const zam::Scoped busy(m_BusySession, session);
    whole = _ReadFromXML(m_Xml, 0, nullptr) != 0;
  } catch (...) {
    putBack();
    throw;
  }
  const bool withheld = m_nWithheld != 0 && m_Modifications.GetCount() == 0;
  whole = whole && session == Session() &&
          (withheld || zam::ListAccess::IsWhole(m_Modifications, kept));
  if (!whole || withheld) {
    putBack();
  }
  if (whole) {
    m_nHistory = position;
    m_nStale = 0;
  }
  return whole ? 1 : 0;
}

int ZAMXMLFile::SetHistoryToOriginal() { return SetHistory(-1); }

int ZAMXMLFile::SetHistoryToLast() { return SetHistory(GetHistoryCount() - 1); }

void ZAMXMLFile::OnHistoryChanged() {}
