#include "document/sections.h"
#include "platform/codes.h"
#include "zamxml/document.h"
#include "zamxml/platform/util.h"

ZAMXMLFile::ZAMXMLFile() {
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
  m_DefaultDocInfo.Clear();
  m_DefaultDocInfo.m_ID = id;
  m_DefaultDocInfo.m_Type = type;
  m_DefaultDocInfo.m_Version = version;
  m_DefaultDocInfo.m_Author = author;
  m_DefaultDocInfo.m_Application = application;
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
  return m_Xml.New(log);
}

void ZAMXMLFile::OnFileClose() {
  m_Xml.Close();
  CancelModify();
  Clear();
  m_nHistory = -1;
  m_nStale = 0;
}

int ZAMXMLFile::OnFileOpen(const _bstr_t& path, ZAMLog* log) {
  if (m_Xml.Open(path, log) == 0) {
    return 0;
  }
  return ReadOpenedTree(u"ZAMXMLFile::OnFileOpen", __LINE__, log);
}

int ZAMXMLFile::OpenFromXML(ZAMXml& source, ZAMLog* log) {
  if (m_Xml.Copy(source, log) == 0) {
    return 0;
  }
  m_strFilePath.Empty();
  return OpenOrClose([&] { return ReadOpenedTree(u"ZAMXMLFile::OpenFromXML", __LINE__, log); });
}

int ZAMXMLFile::ReadOpenedTree(const _bstr_t& function, int line, ZAMLog* log) {
  m_nStale = 0;
  if (m_Xml.GetNode(zam::RootPath)) {
    return _ReadFromXML(m_Xml, 1, log);
  }
  if (OnOpenCompatible(m_Xml, log) != 0) {
    return 1;
  }
  SetLog_ZAMError(0, zam::CodeNotFound, u"Unknown XML file", u"ZAMXMLFile", function, line, 0);
  SafeLogCopy(log);
  return 0;
}

int ZAMXMLFile::OnOpenCompatible(ZAMXml& /*xml*/, ZAMLog* /*log*/) { return 0; }

void ZAMXMLFile::RecordError(int type, int code, const _bstr_t& message) {
  SetLog(type, 0, code, ZAMGF::ZAMErrorString(code), message, 1);
}
