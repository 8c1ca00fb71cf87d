#include <array>
#include <ctime>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "changes/value_encoding.h"
#include "document/road.h"
#include "document/sections.h"
#include "platform/codes.h"
#include "platform/system.h"
#include "zamxml/document.h"
#include "zamxml/platform/util.h"

namespace {

/// A file that is gone at the end of a scope, however that ends: its path is made ready beforehand,
/// so that removing it needs no memory.
class TemporaryFile {
public:
  explicit TemporaryFile(const _bstr_t& path) : m_Path(path.utf8()) {}
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() { zam::RemoveFile(m_Path); }

private:
  std::string m_Path;
};

/// The path of a file in the folder; null without a folder.
_bstr_t PathIn(const zam::TemporaryFolder* folder, const _bstr_t& name) {
  return folder != nullptr ? ZAMGF::MakePath(_bstr_t::FromUtf8(folder->Path()), name) : _bstr_t();
}

/// Saves of a tree inside a scope do not wait for the disk.
class TransientSaves {
public:
  explicit TransientSaves(ZAMXml& xml) : m_Xml(xml), m_nBefore(xml.SetDurable(0)) {}
  TransientSaves(const TransientSaves&) = delete;
  TransientSaves& operator=(const TransientSaves&) = delete;
  ~TransientSaves() { m_Xml.SetDurable(m_nBefore); }

private:
  ZAMXml& m_Xml;
  int m_nBefore;
};

_bstr_t Formatted(const std::tm& time, const char* format) {
  std::array<char, 16> text{};
  std::strftime(text.data(), text.size(), format, &time);
  return text.data();
}

/// An old value that could not be read must not be recorded as an empty one.
void RequireRead(int read) {
  if (read == 0) {
    throw _com_error(E_OUTOFMEMORY);
  }
}

bool CanBeStored(ZAMXML_VTYPE type) {
  return type == ZAMXML_VTYPE_STRING || type == ZAMXML_VTYPE_NAME || type == ZAMXML_VTYPE_STATEMENT;
}

}  // namespace

/// The paths of a document and its tree while it is saved to another one. They come back, unless a
/// hook has closed the document or put something else in its place.
class ZAMXMLFile::KeptPaths {
public:
  explicit KeptPaths(ZAMXMLFile& document)
      : m_Document(document),
        m_Session(document.Session()),
        m_DocumentPath(document.m_strFilePath),
        m_TreePath(document.m_Xml.m_strFilePath),
        m_DocumentFile(document.m_pFile),
        m_TreeFile(document.m_Xml.m_pFile) {}
  KeptPaths(const KeptPaths&) = delete;
  KeptPaths& operator=(const KeptPaths&) = delete;
  ~KeptPaths() {
    if (m_Session == m_Document.Session()) {
      std::swap(m_Document.m_strFilePath, m_DocumentPath);
      std::swap(m_Document.m_Xml.m_strFilePath, m_TreePath);
      m_Document.m_pFile = m_DocumentFile;
      m_Document.m_Xml.m_pFile = m_TreeFile;
    }
  }

private:
  ZAMXMLFile& m_Document;
  unsigned int m_Session;
  CString m_DocumentPath;
  CString m_TreePath;
  std::shared_ptr<const zam::FileIdentity> m_DocumentFile;
  std::shared_ptr<const zam::FileIdentity> m_TreeFile;
};

int ZAMXMLFile::BeginModify(const _bstr_t& uid, const _bstr_t& userID, const _bstr_t& userName) {
  // Copies: the texts may be those of a record or modification that is read again meanwhile.
  const std::array<_bstr_t, 3> texts{uid, userID, userName};
  if (IsBusy()) {
    return RefuseBusy(nullptr);
  }
  CancelModify();
  try {
    if (TakeSnapshot() != 0) {
      m_pModification.reset(new (std::nothrow) ZAMXMLModification);
      if (m_pModification == nullptr) {
        RecordError(ZAM_LOG_TYPE_ERROR, zam::CodeNoMemory, u"Fail to memory allocation");
      }
    }
  } catch (...) {
    CancelModify();
    throw;
  }
  if (m_pModification == nullptr) {
    CancelModify();
    return 0;
  }
  m_pModification->m_UID = texts[0];
  m_pModification->m_UserID = texts[1];
  m_pModification->m_UserName = texts[2];
  return 1;
}

int ZAMXMLFile::TakeSnapshot() {
  auto folder = zam::TemporaryFolder::Make();
  const _bstr_t path =
      PathIn(folder.get(), ZAMGF::MakeDateTimeFileName(u"ZAMRE_", u"_temp", u"xml"));
  {
    const TemporaryFile snapshot(path);
    if (SaveSnapshot(path) == 0) {
      RecordError(ZAM_LOG_TYPE_ERROR, zam::CodeNoTemporaryFile, u"Fail to create temporary file");
      return 0;
    }
    CancelModify();  // a hook may have begun an edit
    m_SnapshotFolder = std::move(folder);
    if (m_CloneXml.Open(path, nullptr) == 0) {
      return 0;
    }
  }
  PrepareSnapshot();
  return 1;
}

int ZAMXMLFile::SaveSnapshot(const _bstr_t& path) {
  const unsigned int session = Session();
  const KeptPaths paths(*this);
  const TransientSaves transient(m_Xml);
  const int saved = SaveAs(path, nullptr);
  return session == Session() ? saved : 0;
}

void ZAMXMLFile::PrepareSnapshot() {
  if (GetHistoryCount() > 0) {
    const zam::MemoryWatch memory(m_CloneXml);
    const zam::Scoped shown(m_nHistory, -1);
    _SetHistory(m_CloneXml, GetHistoryCount() - 1);
    memory.RequireEnough();
  }
  // The edit goes by the tree: it needs no second copy that cannot be written.
  static_cast<void>(m_CloneXml.SaveAs(PathIn(m_SnapshotFolder.get(), u"Clone.xml"), nullptr));
}

void ZAMXMLFile::CloseSnapshot() {
  m_nForeignEdit = 0;
  m_CloneXml.Close();
  m_SnapshotFolder.reset();
}

void ZAMXMLFile::CancelModify() {
  CloseSnapshot();
  m_pModification.reset();
}

int ZAMXMLFile::GetOldValue(const _bstr_t& node, const _bstr_t& attribute, ZAMXML_VTYPE type,
                            _bstr_t& result) {
  if (m_CloneXml.IsOpened() == 0) {
    return 0;
  }
  const IXMLDOMNodePtr root = m_CloneXml.GetNode(zam::RootPath);
  IXMLDOMNodePtr element = m_CloneXml.GetChildNode(root, node);
  // Set last: the result may be one of the arguments.
  _bstr_t value = u"";
  if (!element) {
    result = value;
    return 1;
  }
  if (attribute.length() != 0) {
    m_CloneXml.GetNodeAttribute(element, attribute, value);
  } else if (type == ZAMXML_VTYPE_NAME) {
    ZAMXMLName name;
    RequireRead(name.ReadFromXML(m_CloneXml, element, nullptr));
    ZAMXMLChangeItem::EncodeXMLName(name, value);
  } else if (type == ZAMXML_VTYPE_STATEMENT) {
    ZAMXMLStatement list;
    RequireRead(list.ReadFromXML(m_CloneXml, element, nullptr));
    ZAMXMLChangeItem::EncodeXMLStatement(list, value);
  } else {
    m_CloneXml.GetNodeText(element, value);
  }
  result = value;
  return 1;
}

ZAMXMLChangeItem* ZAMXMLFile::CreateChangeItem(const _bstr_t& code, const _bstr_t& node,
                                               const _bstr_t& attribute, ZAMXML_VTYPE type) {
  std::unique_ptr<ZAMXMLChangeItem> item(new (std::nothrow) ZAMXMLChangeItem);
  if (item == nullptr) {
    RecordError(ZAM_LOG_TYPE_ERROR, zam::CodeNoMemory, u"Fail to memory allocation");
    return nullptr;
  }
  item->m_Code = code;
  item->m_Node = node;
  item->m_Attribute = attribute;
  item->m_ValueType = type;
  if (GetOldValue(node, attribute, type, item->m_OldValue) == 0) {
    RecordError(ZAM_LOG_TYPE_ERROR, zam::CodeNotFound, u"Can not find XML node");
    return nullptr;
  }
  return item.release();
}

ZAMXMLChangeItem* ZAMXMLFile::CreateChangeItem(const _bstr_t& code, const _bstr_t& node,
                                               const _bstr_t& attribute, ZAMXML_VTYPE type,
                                               const _bstr_t& newValue) {
  ZAMXMLChangeItem* item = CreateChangeItem(code, node, attribute, type);
  if (item != nullptr) {
    item->m_NewValue = newValue;
  }
  return item;
}

ZAMXMLChangeItem* ZAMXMLFile::CreateChangeItemName(const _bstr_t& code, const _bstr_t& node,
                                                   const ZAMXMLName& name) {
  _bstr_t text;
  ZAMXMLChangeItem::EncodeXMLName(name, text);
  std::unique_ptr<ZAMXMLChangeItem> item(
      CreateChangeItem(code, node, u"", ZAMXML_VTYPE_NAME, text));
  // After the texts are copied: they may be those of an entry that a full log drops.
  if (item != nullptr) {
    WarnOfSeparator(item->m_Node, zam::HoldsSeparator(name));
  }
  return item.release();
}

ZAMXMLChangeItem* ZAMXMLFile::CreateChangeItemStatement(const _bstr_t& code, const _bstr_t& node,
                                                        const ZAMXMLStatement& list) {
  _bstr_t text;
  ZAMXMLChangeItem::EncodeXMLStatement(list, text);
  std::unique_ptr<ZAMXMLChangeItem> item(
      CreateChangeItem(code, node, u"", ZAMXML_VTYPE_STATEMENT, text));
  // After the texts are copied: they may be those of an entry that a full log drops.
  if (item != nullptr) {
    WarnOfSeparator(item->m_Node, zam::HoldsSeparator(list));
  }
  return item.release();
}

int ZAMXMLFile::AddChangeItem(ZAMXMLChangeItem* item) {
  if (m_pModification == nullptr || item == nullptr) {
    return -1;
  }
  if (item->m_ValueType == ZAMXML_VTYPE_NAME) {
    CheckWholeRecord<ZAMXMLName>(*item);
  } else if (item->m_ValueType == ZAMXML_VTYPE_STATEMENT) {
    CheckWholeRecord<ZAMXMLStatement>(*item);
  }
  return m_pModification->m_Changes.Add(item);
}

/// Undo writes the old value over the whole record, whatever attribute the change names.
template <class Record>
void ZAMXMLFile::CheckWholeRecord(ZAMXMLChangeItem& item) {
  if (item.m_Attribute.length() != 0 &&
      GetOldValue(item.m_Node, u"", item.m_ValueType, item.m_OldValue) != 0) {
    SetLog_Warring(
        ZAM_LOG_CATEGORY_DOCUMENT,
        u"A change of a whole name or list names an attribute. It changes the whole, and "
        u"its old value is that of the whole.",
        item.m_Node + u"@" + item.m_Attribute, 0);
  }
  IXMLDOMNodePtr element = m_CloneXml.GetChildNode(m_CloneXml.GetNode(zam::RootPath), item.m_Node);
  Record record;
  if (element) {
    RequireRead(record.ReadFromXML(m_CloneXml, element, nullptr));
  }
  WarnOfSeparator(item.m_Node, zam::HoldsSeparator(record));
}

void ZAMXMLFile::WarnOfSeparator(const _bstr_t& node, bool held) {
  if (held) {
    SetLog_Warring(
        ZAM_LOG_CATEGORY_DOCUMENT,
        u"A text holds \"^\", which joins the texts of a change: it comes back cut there.", node,
        0);
  }
}

void ZAMXMLFile::WarnOfForeignEdit() {
  SetLog_Warring(
      ZAM_LOG_CATEGORY_DOCUMENT,
      u"The open edit was begun on the document that was open before: its old values are "
      u"those of that document.",
      nullptr, 0);
}

int ZAMXMLFile::AddCreated(ZAMXMLChangeItem* created) {
  std::unique_ptr<ZAMXMLChangeItem> item(created);
  const int index = AddChangeItem(item.get());
  if (index >= 0) {
    item.release();
  }
  return index;
}

int ZAMXMLFile::AddChangeItem(const _bstr_t& code, const _bstr_t& node, const _bstr_t& attribute,
                              ZAMXML_VTYPE type, const _bstr_t& newValue) {
  return AddCreated(CreateChangeItem(code, node, attribute, type, newValue));
}

int ZAMXMLFile::AddChangeItemName(const _bstr_t& code, const _bstr_t& node,
                                  const ZAMXMLName& name) {
  return AddCreated(CreateChangeItemName(code, node, name));
}

int ZAMXMLFile::AddChangeItemStatement(const _bstr_t& code, const _bstr_t& node,
                                       const ZAMXMLStatement& list) {
  return AddCreated(CreateChangeItemStatement(code, node, list));
}

int ZAMXMLFile::CommitModify() {
  if (m_pModification == nullptr) {
    return 0;
  }
  if (IsBusy()) {
    return RefuseBusy(nullptr);
  }
  const zam::WarningScope warnings(m_Xml, this);
  LeaveOutUnstorable();
  if (m_nForeignEdit != 0) {
    WarnOfForeignEdit();
  }
  const std::tm now = zam::LocalTime();
  m_pModification->m_Date = Formatted(now, "%Y-%m-%d");
  m_pModification->m_Time = Formatted(now, "%H:%M:%S");
  m_Modifications.m_ModificationList.Add(m_pModification.get());
  m_pModification.release();
  if (m_nWithheld == 0 && StoreList() == 0) {
    return 0;
  }
  CloseSnapshot();
  return 1;
}

/// Stored, a change without a value type would come back as an empty text and wipe what it names.
void ZAMXMLFile::LeaveOutUnstorable() {
  auto& changes = m_pModification->m_Changes;
  for (int index = changes.GetCount() - 1; index >= 0; --index) {
    if (!CanBeStored(changes[index]->m_ValueType)) {
      SetLog_Warring(ZAM_LOG_CATEGORY_DOCUMENT,
                     u"A change of an unknown value type was left out of the modification.",
                     changes[index]->m_Node, 0);
      delete changes[index];
      changes.RemoveAt(index);
    }
  }
}

int ZAMXMLFile::StoreList() {
  // Until the tree holds the list, however this ends: the next move of the history writes it.
  const int stale = std::exchange(m_nStale, 1);
  const zam::MemoryWatch memory(m_Xml);
  IXMLDOMNodePtr section = m_Xml.GetNode(zam::ModificationsPath);
  if (!section) {
    section = m_Xml.AddNode(zam::ModificationsPath, nullptr);
  }
  if (!section) {
    m_Xml.SafeLogCopy(this);
    return 0;
  }
  ZAMLog failures;
  m_Modifications.WriteToXML(m_Xml, section, &failures);
  if (failures.GetLogCount() == 0 && !memory.RanShort()) {
    m_nStale = stale;
  }
  failures.SafeLogCopy(this);
  return 1;
}
