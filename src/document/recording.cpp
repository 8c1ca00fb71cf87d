#include <array>
#include <ctime>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "document/sections.h"
#include "platform/codes.h"
#include "platform/system.h"
#include "zamxml/document.h"
#include "zamxml/platform/util.h"

namespace {

/// Gives a member its value back at the end of a scope, however that ends.
template <class Member>
class Restored {
public:
  explicit Restored(Member& member) : m_Member(member), m_Value(member) {}
  Restored(const Restored&) = delete;
  Restored& operator=(const Restored&) = delete;
  ~Restored() { std::swap(m_Member, m_Value); }

private:
  Member& m_Member;
  Member m_Value;
};

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

int ZAMXMLFile::BeginModify(const _bstr_t& uid, const _bstr_t& userID, const _bstr_t& userName) {
  CancelModify();
  const int count = GetHistoryCount();
  const _bstr_t path = ZAMGF::MakePath(ZAMGF::GetSystemTempDir(),
                                       ZAMGF::MakeDateTimeFileName(u"ZAMRE_", u"_temp", u"xml"));
  try {
    {
      const TemporaryFile snapshot(path);
      if (SaveSnapshot(path) == 0) {
        RecordError(ZAM_LOG_TYPE_ERROR, zam::CodeNoTemporaryFile, u"Fail to create temporary file");
        return 0;
      }
      if (m_CloneXml.Open(path, nullptr) == 0) {
        CancelModify();
        return 0;
      }
    }
    PrepareSnapshot(count);
  } catch (...) {
    CancelModify();
    throw;
  }
  m_pModification.reset(new (std::nothrow) ZAMXMLModification);
  if (m_pModification == nullptr) {
    RecordError(ZAM_LOG_TYPE_ERROR, zam::CodeNoMemory, u"Fail to memory allocation");
    CancelModify();
    return 0;
  }
  m_pModification->m_UID = uid;
  m_pModification->m_UserID = userID;
  m_pModification->m_UserName = userName;
  return 1;
}

int ZAMXMLFile::SaveSnapshot(const _bstr_t& path) {
  int saved = 0;
  {
    const Restored documentPath(m_strFilePath);
    const Restored treePath(m_Xml.m_strFilePath);
    const TransientSaves transient(m_Xml);
    saved = SaveAs(path, nullptr);
  }
  // A host may have closed the document in OnHistoryChanged.
  if (IsOpened() == 0) {
    m_strFilePath.Empty();
    return 0;
  }
  return saved;
}

void ZAMXMLFile::PrepareSnapshot(int count) {
  if (count > 0) {
    const Restored shown(m_nHistory);
    m_nHistory = -1;
    _SetHistory(m_CloneXml, count - 1);
  }
  const _bstr_t copy = ZAMGF::MakePath(ZAMGF::GetSystemTempDir(), u"Clone.xml");
  m_SnapshotCopy = copy.utf8();
  m_CloneXml.SaveAs(copy, nullptr);
}

void ZAMXMLFile::CloseSnapshot() {
  m_CloneXml.Close();
  zam::RemoveFile(m_SnapshotCopy);
  m_SnapshotCopy.clear();
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
  result = u"";
  const IXMLDOMNodePtr root = m_CloneXml.GetNode(zam::RootPath);
  IXMLDOMNodePtr element = m_CloneXml.GetChildNode(root, node);
  if (!element) {
    return 1;
  }
  if (attribute.length() != 0) {
    m_CloneXml.GetNodeAttribute(element, attribute, result);
  } else if (type == ZAMXML_VTYPE_NAME) {
    ZAMXMLName name;
    RequireRead(name.ReadFromXML(m_CloneXml, element, nullptr));
    ZAMXMLChangeItem::EncodeXMLName(name, result);
  } else if (type == ZAMXML_VTYPE_STATEMENT) {
    ZAMXMLStatement list;
    RequireRead(list.ReadFromXML(m_CloneXml, element, nullptr));
    ZAMXMLChangeItem::EncodeXMLStatement(list, result);
  } else {
    m_CloneXml.GetNodeText(element, result);
  }
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
  return CreateChangeItem(code, node, u"", ZAMXML_VTYPE_NAME, text);
}

ZAMXMLChangeItem* ZAMXMLFile::CreateChangeItemStatement(const _bstr_t& code, const _bstr_t& node,
                                                        const ZAMXMLStatement& list) {
  _bstr_t text;
  ZAMXMLChangeItem::EncodeXMLStatement(list, text);
  return CreateChangeItem(code, node, u"", ZAMXML_VTYPE_STATEMENT, text);
}

int ZAMXMLFile::AddChangeItem(ZAMXMLChangeItem* item) {
  if (m_pModification == nullptr || item == nullptr) {
    return -1;
  }
  if (!CanBeStored(item->m_ValueType)) {
    SetLog_Warring(ZAM_LOG_CATEGORY_DOCUMENT, u"A change of an unknown value type was refused.",
                   item->m_Node, 0);
    return -1;
  }
  return m_pModification->m_Changes.Add(item);
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
  const std::tm now = zam::LocalTime();
  m_pModification->m_Date = Formatted(now, "%Y-%m-%d");
  m_pModification->m_Time = Formatted(now, "%H:%M:%S");
  ZAMLog failures;
  m_Modifications.m_ModificationList.Add(m_pModification.get());
  m_pModification.release();
  // Until the list stands in the tree, however this ends: the next move of the history writes it.
  const int stale = std::exchange(m_nStale, 1);
  IXMLDOMNodePtr section = m_Xml.GetNode(zam::ModificationsPath);
  if (!section) {
    section = m_Xml.AddNode(zam::ModificationsPath, nullptr);
  }
  if (!section) {
    m_Xml.SafeLogCopy(this);
    return 0;
  }
  m_Modifications.WriteToXML(m_Xml, section, &failures);
  if (failures.GetLogCount() == 0) {
    m_nStale = stale;
  }
  CloseSnapshot();
  return 1;
}
