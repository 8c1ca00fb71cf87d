#include "document/road.h"
#include "document/sections.h"
#include "platform/codes.h"
#include "zamxml/document.h"

namespace {

/// Reads a record from its section; `whenAbsent` is the result where there is none.
template <class Record>
int ReadSection(ZAMXml& xml, ZAMTextView path, Record& record, int whenAbsent, ZAMLog* log) {
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

}  // namespace

int ZAMXMLFile::_ReadFromXML(ZAMXml& xml, int moveToLast, ZAMLog* log) {
  const zam::MemoryWatch memory(xml);
  Clear();
  if (!xml.GetNode(zam::RootPath)) {
    SetLog_Warring(ZAM_LOG_CATEGORY_DOCUMENT, u"Unknown XML file", u"[KESTRANE_ZAM] is not exist",
                   0);
    SafeLogCopy(log);
    return 0;
  }
  if (OnReadDocumentInfo(xml, log) == 0 || OnReadModification(xml, log) == 0) {
    return 0;
  }
  if (moveToLast != 0) {
    _SetHistory(xml, GetHistoryCount() - 1);
  }
  if (OnReadPatientInfo(xml, log) == 0 || OnReadOrderInfo(xml, log) == 0 ||
      OnReadStudyInfo(xml, log) == 0 || OnReadNonStandard(xml, log) == 0) {
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
  return ReadSection(xml, zam::ModificationsPath, m_Modifications, 1, log);
}

int ZAMXMLFile::OnReadNonStandard(ZAMXml& /*xml*/, ZAMLog* /*log*/) { return 1; }
