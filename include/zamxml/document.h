#pragma once

#include <memory>

#include "zamxml/changes.h"
#include "zamxml/platform/export.h"
#include "zamxml/platform/file.h"
#include "zamxml/platform/log.h"
#include "zamxml/platform/module.h"
#include "zamxml/platform/text.h"
#include "zamxml/platform/xml.h"
#include "zamxml/records.h"

namespace zam {
class KeptFile;
class TemporaryFolder;
}  // namespace zam

/// One examination document in a file.
///
/// The file holds the original content and the complete list of modifications. In memory the
/// document is shown at one position of that history: -1 is the original content, k the content
/// with modifications 0 to k applied, GetHistoryCount() - 1 the last state. Opening shows the last
/// state; saving stores the original content whatever position is shown.
///
/// Content is changed by recording modifications: BeginModify, any number of additions,
/// CommitModify; then SetHistoryToLast shows it. The records below may be read at any time. What a
/// host writes into them directly reaches a file only when the document's tree is built from them:
/// at the first save of a new document, and when the header's identifier differs from the default.
///
/// A host specialises the document by deriving from it and overriding the On... hooks. Int results
/// are 1 for success and 0 for failure; a log argument may be null. Errors of the document itself
/// are recorded in it (it is a ZAMLog). Exceptions of the tree or of undo and redo, such as
/// _com_error with E_OUTOFMEMORY or std::bad_alloc, pass to the host.
/// Used by one thread at a time; different documents may live in different threads.
class ZAMXML_API ZAMXMLFile : public ZAMFile, public ZAMLog {
public:
  ZAMXMLFile();
  /// Drops the tree and cancels an open edit; nothing is saved.
  ~ZAMXMLFile() override;

  /// Sets the shown position to -1, the header to the default one, and clears all other records.
  /// The tree and an open edit are not touched.
  virtual void Clear();

  /// Makes the document a copy of the tree, read and shown at its last state, opened without a
  /// path. An open edit stays open with the old values of the former document: the host ends it,
  /// and the document's log has a warning here and at CommitModify. 0 with the document as it was
  /// when the tree cannot be copied; closed and empty when the copy cannot be read.
  int OpenFromXML(ZAMXml& source, ZAMLog* log);

  /// The number of modifications.
  int GetHistoryCount() const;
  /// Shows the document at a position: moves the tree, reads all records again and calls
  /// OnHistoryChanged. 1, and nothing else, when it is shown already. 0 with nothing changed for a
  /// position outside -1 to GetHistoryCount() - 1. 0 when the moved tree cannot be read (code -2009
  /// in the document's log): the tree then stands at the position, the list of modifications is
  /// kept and the other records are incomplete. After that, or after an exception, the next call
  /// moves and reads the tree afresh.
  int SetHistory(int position);
  int SetHistoryToOriginal();
  int SetHistoryToLast();

  /// Begins an edit: takes a private snapshot of the last state, through a temporary file that is
  /// gone before this returns, and a pending modification for that user. An edit that was open is
  /// cancelled. 0 leaves no open edit; the document's log has code -2003 when the snapshot could
  /// not be saved. Saving for the snapshot may call OnHistoryChanged twice.
  int BeginModify(const _bstr_t& uid, const _bstr_t& userID, const _bstr_t& userName);

  /// Create a change item: its old value is taken from the snapshot (empty when there is no such
  /// element), its new value is empty, the text, the folded name or the folded list. Node is a
  /// path relative to the root element ("PatientInfo/Name"). The item belongs to the caller until
  /// AddChangeItem takes it. Null, with code -2 in the document's log, without an open edit.
  ZAMXMLChangeItem* CreateChangeItem(const _bstr_t& code, const _bstr_t& node,
                                     const _bstr_t& attribute, ZAMXML_VTYPE type);
  ZAMXMLChangeItem* CreateChangeItem(const _bstr_t& code, const _bstr_t& node,
                                     const _bstr_t& attribute, ZAMXML_VTYPE type,
                                     const _bstr_t& newValue);
  ZAMXMLChangeItem* CreateChangeItemName(const _bstr_t& code, const _bstr_t& node,
                                         const ZAMXMLName& name);
  ZAMXMLChangeItem* CreateChangeItemStatement(const _bstr_t& code, const _bstr_t& node,
                                              const ZAMXMLStatement& list);

  /// Appends the item to the pending modification, which then owns it, and returns its index. -1
  /// leaves it the caller's: no modification is pending, or the item is null.
  /// A change of a whole name or list that names an attribute gets the whole as its old value, with
  /// a warning in the document's log: that is what undo writes back. A "^" in one of the texts gets
  /// a warning too: such a text comes back cut there.
  int AddChangeItem(ZAMXMLChangeItem* item);
  /// Create and append in one step; the index, or -1 with nothing added.
  int AddChangeItem(const _bstr_t& code, const _bstr_t& node, const _bstr_t& attribute,
                    ZAMXML_VTYPE type, const _bstr_t& newValue);
  int AddChangeItemName(const _bstr_t& code, const _bstr_t& node, const ZAMXMLName& name);
  int AddChangeItemStatement(const _bstr_t& code, const _bstr_t& node, const ZAMXMLStatement& list);

  /// Stamps the pending modification with the local date and time, appends it to the history and
  /// ends the edit. A change whose type is none of string, name and statement cannot be stored: it
  /// is left out, with a warning in the document's log. What is shown does not change. 0 when no
  /// modification is pending; 0, with the reason in the document's log, when the tree has no place
  /// for the list: the modification is then in the list and the snapshot stays open. After an
  /// exception GetHistoryCount tells whether the modification is in the history; if it is, it is
  /// stored with it.
  int CommitModify();
  /// Ends the edit: drops the snapshot and the pending modification with its items.
  void CancelModify();

  ZAMXMLDocumentInfo m_DocInfo;     ///< the header, as shown
  ZAMXMLPatientInfo m_PatientInfo;  ///< as shown
  ZAMXMLOrderInfo m_OrderInfo;      ///< as shown
  ZAMXMLStudyInfo m_StudyInfo;      ///< as shown
  /// Committed modifications, oldest first. A move of the history reads them again; those that the
  /// tree still holds word for word stay where they are.
  ZAMXMLModificationGroup m_Modifications;
  ZAMXMLDocumentInfo m_DefaultDocInfo;  ///< what a cleared document's header becomes; its ID and
                                        ///< Version are stamped into every header written
  ZAMXml m_Xml;                         ///< tree of the document
  ZAMXml m_CloneXml;                    ///< snapshot of an open edit
  int m_nHistory;                       ///< shown position, -1 = original
  std::unique_ptr<ZAMXMLModification> m_pModification;  ///< pending modification, or null

protected:
  /// Close, New, Open, Save and SaveAs of ZAMFile end here.
  void OnFileClose() override;
  int OnFileNew(ZAMLog* log) override;
  int OnFileOpen(const _bstr_t& path, ZAMLog* log) override;
  int OnFileSave(const _bstr_t& path, ZAMLog* log) override;

  /// Asked when an opened tree has no root "KESTRANE_ZAM": nonzero accepts it, and the subclass has
  /// then read what it wants; nothing is cleared or read by this class. Default 0.
  virtual int OnOpenCompatible(ZAMXml& xml, ZAMLog* log);
  /// Called after SetHistory has moved and read the document. Default: nothing.
  virtual void OnHistoryChanged();

  /// Read one section each, in this order (OnReadModification after OnReadDocumentInfo); 0 ends the
  /// reading. A missing section is an error, except Modifications.
  virtual int OnReadDocumentInfo(ZAMXml& xml, ZAMLog* log);
  virtual int OnReadPatientInfo(ZAMXml& xml, ZAMLog* log);
  virtual int OnReadOrderInfo(ZAMXml& xml, ZAMLog* log);
  virtual int OnReadStudyInfo(ZAMXml& xml, ZAMLog* log);
  virtual int OnReadModification(ZAMXml& xml, ZAMLog* log);
  /// Reads sections of a subclass. Default 1.
  virtual int OnReadNonStandard(ZAMXml& xml, ZAMLog* log);

  /// Writes a template to the path that is being saved to and returns nonzero, or returns 0: none.
  /// Asked when the tree is built from the records; m_Xml is the former tree then, so that a host
  /// can save its own sections to the path. Default 0. Once the template is read, the file that was
  /// at the path comes back, unless the template was written into it in place; a process that is
  /// killed before leaves that to the next one that opens or saves the document.
  virtual int OnCopyXMLTemplate(const _bstr_t& path);

  /// Write one section each, creating its element when it is missing; 0 ends the writing. The tree
  /// is not whole meanwhile: SetHistory, Save, SaveAs and BeginModify give 0 in these hooks.
  /// OnWriteModification writes nothing when there are no modifications. A host that overrides it
  /// and writes nothing either keeps the history out of this save and every later one of the tree.
  virtual int OnWriteDocumentInfo(ZAMXml& xml, ZAMLog* log);
  virtual int OnWritePatientInfo(ZAMXml& xml, ZAMLog* log);
  virtual int OnWriteOrderInfo(ZAMXml& xml, ZAMLog* log);
  virtual int OnWriteStudyInfo(ZAMXml& xml, ZAMLog* log);
  virtual int OnWriteModification(ZAMXml& xml, ZAMLog* log);
  /// Writes sections of a subclass; any nonzero result is success. Default 1.
  virtual int OnWriteNonStandard(ZAMXml& xml, ZAMLog* log);

  /// Sets the default header; its institution name and matching UID become empty. m_DocInfo gets
  /// it at the next Clear, New or Close.
  void SetDefaultDocInfo(const _bstr_t& id, const _bstr_t& type, const _bstr_t& version,
                         const _bstr_t& author, const _bstr_t& application);

  /// Clears and reads the records from the tree; with a nonzero flag the tree is moved to its last
  /// history position after the header and the list are read.
  int _ReadFromXML(ZAMXml& xml, int moveToLast, ZAMLog* log);
  /// Writes all sections into the tree.
  int _WriteToXML(ZAMXml& xml, ZAMLog* log);
  /// Moves a tree from m_nHistory to the position without reading it, and sets m_nHistory.
  /// 1 moved or already there, 0 out of range.
  int _SetHistory(ZAMXml& xml, int position);

  /// The text of a value in the snapshot, folded for names and statements; empty when there is no
  /// such element. 0, with the result unchanged, without an open snapshot.
  int GetOldValue(const _bstr_t& node, const _bstr_t& attribute, ZAMXML_VTYPE type,
                  _bstr_t& result);

  /// Writes the XML resource of the module to the path, byte for byte; what stood there is
  /// replaced. 0 with the file untouched when it cannot be written; 0 with an empty file when the
  /// module is null or has no such resource. Of the identifier the low 16 bits count.
  static int CopyXMLTemplate(HINSTANCE module, unsigned int identifier, const _bstr_t& path);

private:
  class ZAMXML_LOCAL Rebuild;
  class ZAMXML_LOCAL KeptPaths;

  int ReadOpenedTree(const _bstr_t& function, int line, ZAMLog* log);
  /// How a save of the tree ended: no file was written, or one was, and the document shows its
  /// former position again or cannot.
  enum class Saved { Not, Whole, Unshown };

  int RequireWholeRecords(ZAMLog* log);
  int BuildTree(bool fromTemplate, const _bstr_t& path, zam::KeptFile& replaced, ZAMLog* log);
  bool IsBuilding() const noexcept;
  /// Whether a hook of a reading or writing that began in that session (0: none) has closed the
  /// document or put another in its place.
  bool IsReplaced(unsigned int session) const noexcept {
    return session != 0 && session != Session();
  }
  template <class Section>
  int ReadSection(ZAMXml& xml, ZAMTextView path, Section& record, int whenAbsent, ZAMLog* log);
  template <class Section>
  int WriteSection(ZAMXml& xml, ZAMTextView path, Section& record, ZAMLog* log);
  Saved SaveOriginal(const _bstr_t& path, ZAMLog* log);
  _bstr_t SectionsMissing(ZAMXml& former);
  int Show(int position);
  void MoveTree(int position);
  void RestoreList();
  int RereadRecords(int position);
  int TakeSnapshot();
  int SaveSnapshot(const _bstr_t& path);
  void PrepareSnapshot();
  void CloseSnapshot();
  int AddCreated(ZAMXMLChangeItem* created);
  template <class Record>
  void CheckWholeRecord(ZAMXMLChangeItem& item);
  void LeaveOutUnstorable();
  int StoreList();
  void RecordError(int type, int code, const _bstr_t& message);
  int Refuse(int code, const _bstr_t& message, ZAMLog* log);
  int RefuseReplaced(ZAMLog* log);
  int RefuseBuilding(ZAMLog* log);
  int FailWithoutMemory(ZAMLog* log) noexcept;
  void WarnOfDropped(const _bstr_t& sections);
  void WarnOfSeparator(const _bstr_t& node, bool held);
  void WarnOfForeignEdit();

  std::unique_ptr<zam::TemporaryFolder> m_SnapshotFolder;  ///< for the files of an open edit
  int m_nStale = 0;        ///< nonzero when tree or records may not be what m_nHistory says
  int m_nWithheld = 0;     ///< nonzero when no hook wrote the list into the tree
  int m_nForeignEdit = 0;  ///< nonzero when the open edit was begun on a former document
  unsigned int m_BuildingSession = 0;  ///< the session in which hooks are writing the tree, or 0
  unsigned int m_ReadingSession = 0;   ///< the session in which hooks are reading a tree, or 0
  ZAMXMLModificationGroup* m_pFormerList = nullptr;  ///< the list before it is read again, or null
};
