#include <set>

#include "document/road.h"
#include "document/sections.h"
#include "platform/codes.h"
#include "platform/system.h"
#include "platform/xml/raw.h"
#include "zamxml/document.h"

/// Writes a record into its section, which is created when it is missing.
template <class Section>
int ZAMXMLFile::WriteSection(ZAMXml& xml, ZAMTextView path, Section& record, ZAMLog* log) {
  if (IsReplaced(m_BusySession)) {
    return 0;
  }
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

/// What a document was before its tree is built from the records. It comes back unless the tree
/// that was built is saved, or a hook has put something else in its place.
class ZAMXMLFile::Rebuild {
public:
  Rebuild(ZAMXMLFile& document, bool hasRoot)
      : m_Document(document),
        m_HasRoot(hasRoot),
        m_Session(document.Session()),
        m_ID(document.m_DocInfo.m_ID),
        m_Version(document.m_DocInfo.m_Version),
        m_nHistory(document.m_nHistory),
        m_nWithheld(document.m_nWithheld) {
    m_Former.Swap(document.m_Xml);
  }
  Rebuild(const Rebuild&) = delete;
  Rebuild& operator=(const Rebuild&) = delete;
  ~Rebuild() { GiveBack(); }

  ZAMXml& Former() noexcept { return m_Former; }
  void Saved() noexcept { m_Done = true; }

  void GiveBack() noexcept {
    // Once the records of a new document could not be read again, only the new tree has them.
    if (m_Done || m_Session != m_Document.Session() || (!m_HasRoot && m_Document.m_nStale != 0)) {
      return;
    }
    m_Done = true;
    m_Former.Swap(m_Document.m_Xml);
    m_Document.m_DocInfo.m_ID = m_ID;
    m_Document.m_DocInfo.m_Version = m_Version;
    m_Document.m_nWithheld = m_nWithheld;
    if (m_HasRoot && m_Document.m_nHistory != m_nHistory) {
      m_Document.m_nHistory = m_nHistory;
      m_Document.m_nStale = 1;
    }
  }

private:
  ZAMXMLFile& m_Document;
  ZAMXml m_Former;
  bool m_HasRoot;
  unsigned int m_Session;
  _bstr_t m_ID;
  _bstr_t m_Version;
  int m_nHistory;
  int m_nWithheld;
  bool m_Done = false;
};

int ZAMXMLFile::OnFileSave(const _bstr_t& path, ZAMLog* log) {
  if (IsBusy()) {
    return RefuseBusy(log);
  }
  const zam::WarningScope warnings(m_Xml, log != nullptr ? log : this);
  if (m_Xml.GetNode(zam::RootPath) && m_DocInfo.m_ID == m_DefaultDocInfo.m_ID) {
    return SaveOriginal(path, log) == Saved::Whole ? 1 : 0;
  }
  if (RequireWholeRecords(log) == 0) {
    return 0;
  }
  const unsigned int session = Session();
  zam::KeptFile replaced(path.utf8());
  const bool copied = OnCopyXMLTemplate(path) != 0;
  replaced.HostIsDone();
  if (session != Session()) {
    return RefuseReplaced(log);
  }
  if (RequireWholeRecords(log) == 0) {
    return 0;
  }
  const bool hasRoot = static_cast<bool>(m_Xml.GetNode(zam::RootPath));
  Rebuild rebuild(*this, hasRoot);
  if (BuildTree(copied, path, replaced, log) != 0) {
    const _bstr_t dropped = SectionsMissing(rebuild.Former());
    const Saved saved = SaveOriginal(path, log);
    if (saved != Saved::Not) {
      rebuild.Saved();
      WarnOfDropped(dropped);
      return saved == Saved::Whole ? 1 : 0;
    }
  }
  const int shown = m_nHistory;
  rebuild.GiveBack();
  if (session == Session() && hasRoot && m_nStale != 0) {
    Show(shown);  // a hook has moved the history
  }
  return 0;
}

/// Records that could not be read after a move of the history must not become the document.
int ZAMXMLFile::RequireWholeRecords(ZAMLog* log) {
  if (m_nStale != 0 && m_Xml.GetNode(zam::RootPath) && SetHistory(m_nHistory) == 0) {
    SafeLogCopy(log);
    return 0;
  }
  return 1;
}

int ZAMXMLFile::BuildTree(bool fromTemplate, const _bstr_t& path, zam::KeptFile& replaced,
                          ZAMLog* log) {
  const zam::MemoryWatch memory(m_Xml);
  const unsigned int session = Session();
  const int started = fromTemplate
                          ? m_Xml.Open(path, log)
                          : m_Xml.New(nullptr) != 0 && m_Xml.CreateRoot(zam::RootPath) != 0;
  replaced.PutBack();
  if (started == 0) {
    m_Xml.SafeLogCopy(this);
    return 0;
  }
  int written = 0;
  {
    // The tree is not whole meanwhile: nothing that reads or saves it is done.
    const zam::Scoped building(m_BusySession, session);
    written = _WriteToXML(m_Xml, log != nullptr ? log : this);
  }
  if (session != Session()) {
    return RefuseReplaced(log);
  }
  if (memory.RanShort()) {
    return Refuse(zam::CodeNoMemory, u"The document was not built whole.", log);
  }
  m_nWithheld = GetHistoryCount() > 0 && !m_Xml.GetNode(zam::ModificationsPath) ? 1 : 0;
  return written;
}

bool ZAMXMLFile::IsBusy() const noexcept { return m_BusySession == Session(); }

int ZAMXMLFile::RefuseBusy(ZAMLog* log) {
  return Refuse(zam::CodeNotWritten,
                u"A hook is reading or writing the document: it cannot be moved, saved or edited.",
                log);
}

ZAMXMLFile::Saved ZAMXMLFile::SaveOriginal(const _bstr_t& path, ZAMLog* log) {
  const unsigned int session = Session();
  const int shown = m_nHistory;
  SetHistoryToOriginal();
  if (session != Session()) {
    RefuseReplaced(log);
    return Saved::Not;
  }
  if (m_nHistory > -1) {
    Refuse(zam::CodeNotWritten, u"The history was moved while the document was being saved.", log);
    return Saved::Not;
  }
  if (m_nStale != 0) {
    RestoreList();
  }
  const int saved = m_Xml.SaveAs(path, log);
  const auto file = m_Xml.m_pFile;
  if (saved == 0) {
    m_Xml.SafeLogCopy(this);
  }
  const zam::MemoryWatch memory(m_Xml);
  const bool again = SetHistory(shown) != 0 || session != Session() || !memory.RanShort();
  if (!again) {
    Refuse(zam::CodeNoMemory,
           saved != 0 ? u"The document is saved, but it cannot be shown again."
                      : u"The document cannot be shown again.",
           log);
  }
  // Meanwhile a host may have saved it to the same path once more.
  NoteFile(m_Xml.m_strFilePath == path ? m_Xml.m_pFile : file);
  return saved == 0 ? Saved::Not : again ? Saved::Whole : Saved::Unshown;
}

int ZAMXMLFile::RefuseReplaced(ZAMLog* log) {
  return Refuse(zam::CodeNotWritten,
                u"The document was closed or replaced while it was being saved.", log);
}

/// The sections of the former tree that the new one does not have, joined by ", ". An empty list of
/// modifications is no loss.
_bstr_t ZAMXMLFile::SectionsMissing(ZAMXml& former) {
  std::set<_bstr_t> present{u"Modifications"};
  const auto collect = [&present](ZAMXml& xml) {
    CString added;
    for (auto section = xml.GetFirstChildNode(xml.GetRootNode()); section;
         section = xml.GetNextNode(section)) {
      const _bstr_t name = xml.GetNodeName(section);
      if (present.insert(name).second) {
        added += added.IsEmpty() ? u"" : u", ";
        added += name;
      }
    }
    return _bstr_t(added);
  };
  const auto hasHistory = [](ZAMXml& xml) {
    const IXMLDOMNodePtr section = xml.GetNode(zam::ModificationsPath);
    return zam::RawSection(xml, section) || xml.GetFirstChildNode(section);
  };
  if (hasHistory(former) && !hasHistory(m_Xml)) {
    present.clear();
  }
  collect(m_Xml);
  return collect(former);
}

void ZAMXMLFile::WarnOfDropped(const _bstr_t& sections) {
  if (sections.length() != 0) {
    SetLog_Warring(ZAM_LOG_CATEGORY_DOCUMENT,
                   u"The document was built anew from its records. What no hook writes is gone.",
                   sections, 0);
  }
}

int ZAMXMLFile::_WriteToXML(ZAMXml& xml, ZAMLog* log) {
  return OnWriteDocumentInfo(xml, log) != 0 && OnWritePatientInfo(xml, log) != 0 &&
                 OnWriteOrderInfo(xml, log) != 0 && OnWriteStudyInfo(xml, log) != 0 &&
                 OnWriteModification(xml, log) != 0 && OnWriteNonStandard(xml, log) != 0
             ? 1
             : 0;
}

int ZAMXMLFile::OnWriteDocumentInfo(ZAMXml& xml, ZAMLog* log) {
  if (!IsReplaced(m_BusySession)) {
    m_DocInfo.m_ID = m_DefaultDocInfo.m_ID;
    m_DocInfo.m_Version = m_DefaultDocInfo.m_Version;
  }
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

int ZAMXMLFile::OnCopyXMLTemplate(const _bstr_t& /*path*/) { return 0; }

int ZAMXMLFile::CopyXMLTemplate(HINSTANCE module, unsigned int identifier, const _bstr_t& path) {
  const auto resource =
      module != nullptr ? module->FindXmlResource(identifier) : std::optional<std::string_view>();
  std::string reason;
  const auto written = zam::WriteFile(
      path.utf8(),
      [&](const zam::WriteBlock& write) { return write(resource.value_or(std::string_view())); },
      zam::Durability::Transient, reason);
  return written && resource ? 1 : 0;
}
