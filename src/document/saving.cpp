#include "document/sections.h"
#include "platform/codes.h"
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

/// What a document was before its tree is built from the records: it comes back, unless the tree
/// that was built has been saved.
class ZAMXMLFile::Rebuild {
public:
  explicit Rebuild(ZAMXMLFile& document)
      : m_Document(document),
        m_ID(document.m_DocInfo.m_ID),
        m_Version(document.m_DocInfo.m_Version),
        m_nHistory(document.m_nHistory) {
    m_Former.Swap(document.m_Xml);
  }
  Rebuild(const Rebuild&) = delete;
  Rebuild& operator=(const Rebuild&) = delete;
  ~Rebuild() {
    if (!m_Saved) {
      m_Former.Swap(m_Document.m_Xml);
      m_Document.m_DocInfo.m_ID = m_ID;
      m_Document.m_DocInfo.m_Version = m_Version;
      if (m_Document.m_nHistory != m_nHistory) {
        m_Document.m_nHistory = m_nHistory;
        m_Document.m_nStale = 1;
      }
    }
  }

  void Saved() noexcept { m_Saved = true; }

private:
  ZAMXMLFile& m_Document;
  ZAMXml m_Former;
  _bstr_t m_ID;
  _bstr_t m_Version;
  int m_nHistory;
  bool m_Saved = false;
};

int ZAMXMLFile::OnFileSave(const _bstr_t& path, ZAMLog* log) {
  if (m_Xml.GetNode(zam::RootPath) && m_DocInfo.m_ID == m_DefaultDocInfo.m_ID) {
    return SaveOriginal(path, log);
  }
  // Records that could not be read after a move of the history must not become the document.
  if (m_nStale != 0 && SetHistory(m_nHistory) == 0) {
    SafeLogCopy(log);
    return 0;
  }
  zam::KeptFile replaced(path.utf8());
  Rebuild rebuild(*this);
  if (BuildTree(path, log) == 0 || SaveOriginal(path, log) == 0) {
    return 0;
  }
  rebuild.Saved();
  replaced.Forget();
  return 1;
}

int ZAMXMLFile::BuildTree(const _bstr_t& path, ZAMLog* log) {
  const int started = OnCopyXMLTemplate(path) != 0
                          ? m_Xml.Open(path, log)
                          : m_Xml.New(nullptr) != 0 && m_Xml.CreateRoot(zam::RootPath) != 0;
  if (started == 0) {
    m_Xml.SafeLogCopy(this);
    return 0;
  }
  return _WriteToXML(m_Xml, log);
}

int ZAMXMLFile::SaveOriginal(const _bstr_t& path, ZAMLog* log) {
  const int shown = m_nHistory;
  SetHistoryToOriginal();
  if (m_nHistory > -1) {
    RecordError(ZAM_LOG_TYPE_ERROR, zam::CodeNotWritten,
                u"The history was moved while the document was being saved.");
    return 0;
  }
  const int saved = m_Xml.SaveAs(path, log);
  if (saved == 0) {
    m_Xml.SafeLogCopy(this);
  }
  SetHistory(shown);
  return saved != 0 ? 1 : 0;
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
