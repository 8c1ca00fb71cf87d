#include <optional>

#include "document/sections.h"
#include "platform/system.h"
#include "zamxml/document.h"

namespace {

/// Writes a record into its section, which is created when it is missing.
template <class Record>
int WriteSection(ZAMXml& xml, ZAMTextView path, Record& record, ZAMLog* log) {
  IXMLDOMNodePtr section = xml.GetNode(path);
  if (!section) {
    section = xml.AddNode(path, nullptr);
  }
  if (record.WriteToXML(xml, section, log) == 0) {
    xml.SafeLogCopy(log);
    return 0;
  }
  return 1;
}

}  // namespace

int ZAMXMLFile::OnFileSave(const _bstr_t& path, ZAMLog* log) {
  std::optional<zam::KeptFile> replaced;
  if (!m_Xml.GetNode(zam::RootPath) || m_DocInfo.m_ID != m_DefaultDocInfo.m_ID) {
    // Records that could not be read after a move of the history must not become the document.
    if (m_nStale != 0 && SetHistory(m_nHistory) == 0) {
      SafeLogCopy(log);
      return 0;
    }
    replaced.emplace(path.utf8());
    const int fromTemplate = OnCopyXMLTemplate(path);
    if (fromTemplate == 0) {
      replaced.reset();
    }
    if (BuildTree(log, fromTemplate, path) == 0) {
      return 0;
    }
  }
  const int shown = m_nHistory;
  SetHistoryToOriginal();
  const int saved = m_Xml.SaveAs(path, log);
  if (saved == 0) {
    m_Xml.SafeLogCopy(this);
  } else if (replaced) {
    replaced->Forget();
  }
  SetHistory(shown);
  return saved != 0 ? 1 : 0;
}

int ZAMXMLFile::BuildTree(ZAMLog* log, int fromTemplate, const _bstr_t& path) {
  const int started = fromTemplate != 0
                          ? m_Xml.Open(path, log)
                          : m_Xml.New(nullptr) != 0 && m_Xml.CreateRoot(zam::RootPath) != 0;
  if (started == 0) {
    m_Xml.SafeLogCopy(this);
    return 0;
  }
  return _WriteToXML(m_Xml, log);
}

int ZAMXMLFile::_WriteToXML(ZAMXml& xml, ZAMLog* log) {
  return OnWriteDocumentInfo(xml, log) != 0 && OnWritePatientInfo(xml, log) != 0 &&
                 OnWriteOrderInfo(xml, log) != 0 && OnWriteStudyInfo(xml, log) != 0 &&
                 OnWriteModification(xml, log) != 0 && OnWriteNonStandard(xml, log) != 0
             ? 1
             : 0;
}

int ZAMXMLFile::OnWriteDocumentInfo(ZAMXml& xml, ZAMLog* log) {
  m_DocInfo.m_ID = m_DefaultDocInfo.m_ID;
  m_DocInfo.m_Version = m_DefaultDocInfo.m_Version;
  return WriteSection(xml, zam::DocumentInfoPath, m_DocInfo, log);
}

int ZAMXMLFile::OnWritePatientInfo(ZAMXml& xml, ZAMLog* log) {
  return WriteSection(xml, zam::PatientInfoPath, m_PatientInfo, log);
}

int ZAMXMLFile::OnWriteOrderInfo(ZAMXml& xml, ZAMLog* log) {
  return WriteSection(xml, zam::OrderInfoPath, m_OrderInfo, log);
}

int ZAMXMLFile::OnWriteStudyInfo(ZAMXml& xml, ZAMLog* log) {
  return WriteSection(xml, zam::StudyInfoPath, m_StudyInfo, log);
}

int ZAMXMLFile::OnWriteModification(ZAMXml& xml, ZAMLog* log) {
  return m_Modifications.GetCount() == 0
             ? 1
             : WriteSection(xml, zam::ModificationsPath, m_Modifications, log);
}

int ZAMXMLFile::OnWriteNonStandard(ZAMXml& /*xml*/, ZAMLog* /*log*/) { return 1; }
