#include <utility>

#include "changes/list_access.h"
#include "document/road.h"
#include "document/sections.h"
#include "platform/codes.h"
#include "zamxml/document.h"

namespace {

/// The list of modifications, read for the first time or, with a former list, once more.
struct Rereading {
  int ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
    return m_pFormer != nullptr ? zam::ListAccess::ReadAgain(m_List, *m_pFormer, xml, element, log)
                                : m_List.ReadFromXML(xml, element, log);
  }

  ZAMXMLModificationGroup& m_List;
  ZAMXMLModificationGroup* m_pFormer;
};

}  // namespace

/// Reads a record from its section; `whenAbsent` is the result where there is none.
template <class Section>
int ZAMXMLFile::ReadSection(ZAMXml& xml, ZAMTextView path, Section& record, int whenAbsent,
                            ZAMLog* log) {
  if (IsReplaced(m_ReadingSession)) {
    return 0;
  }
  IXMLDOMNodePtr section = xml.GetNode(path);
  if (!section && whenAbsent != 0) {
    return whenAbsent;
  }
  if (!section || record.ReadFromXML(xml, section, log) == 0) {
    xml.SafeLogCopy(log);
    return 0;
  }
  return 1;
}

int ZAMXMLFile::_ReadFromXML(ZAMXml& xml, int moveToLast, ZAMLog* log) {
  const zam::MemoryWatch memory(xml);
  Clear();
  if (!xml.GetNode(zam::RootPath)) {
    SetLog_Warring(ZAM_LOG_CATEGORY_DOCUMENT, u"Unknown XML file", u"[KESTRANE_ZAM] is not exist",
                   0);
    SafeLogCopy(log);
    return 0;
  }
  // A hook may close the document or open another: what is read then is not this one's.
  const unsigned int session = Session();
  const zam::Scoped reading(m_ReadingSession, session);
  const auto read = [&](int (ZAMXMLFile::*hook)(ZAMXml&, ZAMLog*)) {
    return (this->*hook)(xml, log) != 0 && session == Session();
  };
  {
    // Without its list the document has no last state that could be saved or edited.
    const zam::Scoped busy(m_BusySession, session);
    if (!read(&ZAMXMLFile::OnReadDocumentInfo) || !read(&ZAMXMLFile::OnReadModification)) {
      return 0;
    }
  }
  if (moveToLast != 0) {
    _SetHistory(xml, GetHistoryCount() - 1);
  }
  if (!read(&ZAMXMLFile::OnReadPatientInfo) || !read(&ZAMXMLFile::OnReadOrderInfo) ||
      !read(&ZAMXMLFile::OnReadStudyInfo) || !read(&ZAMXMLFile::OnReadNonStandard)) {
    return 0;
  }
  if (memory.RanShort()) {
    return FailWithoutMemory(log);
  }
  return 1;
}

int ZAMXMLFile::OnReadDocumentInfo(ZAMXml& xml, ZAMLog* log) {
  return ReadSection(xml, zam::DocumentInfoPath, m_DocInfo, 0, log);
}

int ZAMXMLFile::OnReadPatientInfo(ZAMXml& xml, ZAMLog* log) {
  return ReadSection(xml, zam::PatientInfoPath, m_PatientInfo, 0, log);
}

int ZAMXMLFile::OnReadOrderInfo(ZAMXml& xml, ZAMLog* log) {
  return ReadSection(xml, zam::OrderInfoPath, m_OrderInfo, 0, log);
}

int ZAMXMLFile::OnReadStudyInfo(ZAMXml& xml, ZAMLog* log) {
  return ReadSection(xml, zam::StudyInfoPath, m_StudyInfo, 0, log);
}

int ZAMXMLFile::OnReadModification(ZAMXml& xml, ZAMLog* log) {
  ZAMXMLModificationGroup* const former = std::exchange(m_pFormerList, nullptr);
  Rereading list{m_Modifications, m_Modifications.GetCount() == 0 ? former : nullptr};
  return ReadSection(xml, zam::ModificationsPath, list, 1, log);
}

int ZAMXMLFile::OnReadNonStandard(ZAMXml& /*xml*/, ZAMLog* /*log*/) { return 1; }
