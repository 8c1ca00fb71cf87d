#include "document/road.h"
#include "document/sections.h"
#include "platform/codes.h"
#include "platform/system.h"
#include "platform/xml/raw.h"
#include "zamxml/document.h"
#include "zamxml/platform/util.h"

ZAMXMLFile::ZAMXMLFile() {
  for (ZAMXml* const tree : {&m_Xml, &m_CloneXml}) {
    zam::RawSection::Choose(*tree, zam::ModificationsName);
  }
  m_CloneXml.SetDurable(0);
  SetDefaultDocInfo(u"UNKNOWN", u"NA", u"0.0.0.0", u"KESTRANE Co.,Ltd.", u"KESTRANE ZAM");
  ZAMXMLFile::Clear();
}

ZAMXMLFile::~ZAMXMLFile() {
  m_Xml.Close();
  CancelModify();
  ZAMXMLFile::Clear();
}

void ZAMXMLFile::SetDefaultDocInfo(const _bstr_t& id, const _bstr_t& type, const _bstr_t& version,
                                   const _bstr_t& author, const _bstr_t& application) {
  // Made apart: the texts may be those of the header that is replaced.
  ZAMXMLDocumentInfo header;
  header.Clear();
  header.m_ID = id;
  header.m_Type = type;
  header.m_Version = version;
  header.m_Author = author;
  header.m_Application = application;
  m_DefaultDocInfo = header;
}

void ZAMXMLFile::Clear() {
  m_nHistory = -1;
  m_DocInfo = m_DefaultDocInfo;
  m_PatientInfo.Clear();
  m_OrderInfo.Clear();
  m_Modifications.Clear();
  m_StudyInfo.Clear();
}

int ZAMXMLFile::OnFileNew(ZAMLog* log) {
  CancelModify();
  Clear();
  m_nStale = 0;
  m_nWithheld = 0;
  return m_Xml.New(log);
}

void ZAMXMLFile::OnFileClose() {
  m_Xml.Close();
  CancelModify();
  Clear();
  m_nHistory = -1;
  m_nStale = 0;
  m_nWithheld = 0;
}

int ZAMXMLFile::OnFileOpen(const _bstr_t& path, ZAMLog* log) {
  if (m_Xml.Open(path, log) == 0) {
    return 0;
  }
  NoteFile(m_Xml.m_pFile);
  return ReadOpenedTree(u"ZAMXMLFile::OnFileOpen", __LINE__, log);
}

int ZAMXMLFile::OpenFromXML(ZAMXml& source, ZAMLog* log) {
  if (m_Xml.Copy(source, log) == 0) {
    return 0;
  }
  m_strFilePath.Empty();
  m_pFile.reset();
  const int opened =
      OpenOrClose([&] { return ReadOpenedTree(u"ZAMXMLFile::OpenFromXML", __LINE__, log); });
  if (opened != 0 && m_CloneXml.IsOpened() != 0) {
    m_nForeignEdit = 1;
    WarnOfForeignEdit();
  }
  return opened;
}

int ZAMXMLFile::ReadOpenedTree(const _bstr_t& function, int line, ZAMLog* log) {
  m_nStale = 0;
  m_nWithheld = 0;
  m_pFormerList = nullptr;  // a hook of a reading may open another document
  const zam::WarningScope warnings(m_Xml, log != nullptr ? log : this);
  if (m_Xml.GetNode(zam::RootPath)) {
    return _ReadFromXML(m_Xml, 1, log);
  }
  const zam::MemoryWatch memory(m_Xml);
  if (OnOpenCompatible(m_Xml, log) != 0) {
    return memory.RanShort() ? FailWithoutMemory(log) : 1;
  }
  SetLog_ZAMError(0, zam::CodeNotFound, u"Unknown XML file", u"ZAMXMLFile", function, line, 0);
  SafeLogCopy(log);
  return 0;
}

int ZAMXMLFile::OnOpenCompatible(ZAMXml& /*xml*/, ZAMLog* /*log*/) { return 0; }

void ZAMXMLFile::RecordError(int type, int code, const _bstr_t& message) {
  SetLog(type, 0, code, ZAMGF::ZAMErrorString(code), message, 1);
}

int ZAMXMLFile::Refuse(int code, const _bstr_t& message, ZAMLog* log) {
  RecordError(ZAM_LOG_TYPE_ERROR, code, message);
  if (log != nullptr && log != this) {
    log->SetLog(ZAM_LOG_TYPE_ERROR, 0, code, ZAMGF::ZAMErrorString(code), message, 1);
  }
  return 0;
}

int ZAMXMLFile::FailWithoutMemory(ZAMLog* log) noexcept {
  zam::RecordNoMemory(log != nullptr ? *log : *this, ZAM_LOG_CATEGORY_DOCUMENT);
  return 0;
}
