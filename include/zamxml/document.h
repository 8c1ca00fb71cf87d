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
/// The file holds the original content and the complete list of modifications. In memory, the
/// document shows one position of this history: -1 is the original content, k the content after
/// modifications 0 to k, and GetHistoryCount() - 1 the last state. Open shows the last state.
/// Saving stores the original content, whatever position is shown.
///
/// To change content, record a modification: BeginModify, any number of AddChangeItem,
/// CommitModify; then SetHistoryToLast shows the new state. The records below may be read at any
/// time. Values that a host writes into them reach a file only if a save builds the tree from the
/// records: the first save of a new document, and any save while m_DocInfo.m_ID differs from
/// m_DefaultDocInfo.m_ID. Such a save keeps only the sections that a hook writes: a host whose
/// documents have an ID or sections of their own derives from this class.
///
/// A host derives from this class and overrides the On... hooks to add sections. An int result is 1
/// for success and 0 for failure. A log argument may be null. The document is a ZAMLog and records
/// its errors in itself. Exceptions of the tree and of undo and redo, such as _com_error
/// (E_OUTOFMEMORY) and std::bad_alloc, pass to the host.
///
/// Thread safety: used by one thread at a time; different documents may be used by different
/// threads.
class ZAMXML_API ZAMXMLFile : public ZAMFile, public ZAMLog {
public:
  ZAMXMLFile();
  /// Cancels an open edit. Saves nothing.
  ~ZAMXMLFile() override;

  /// Sets the shown position to -1, m_DocInfo to m_DefaultDocInfo, and clears all other records.
  /// Keeps the tree and an open edit. A hook that reads or writes must not call it.
  virtual void Clear();

  /// Replaces the document with a copy of `source`, shown at its last state. It is then open and
  /// has no path. An open edit stays open and keeps the old values of the former document: the
  /// document logs a warning here and in CommitModify. Returns 0 if `source` cannot be copied (the
  /// document is unchanged) or the copy cannot be read (the document is closed and empty).
  int OpenFromXML(ZAMXml& source, ZAMLog* log);

  /// Returns the number of modifications.
  int GetHistoryCount() const;
  /// Shows a position: moves the tree, reads all records and calls OnHistoryChanged. Returns 1 and
  /// does nothing if the position is shown already. Returns 0 and does nothing if it is not in -1
  /// to GetHistoryCount() - 1. Returns 0 and logs code -2009 if the records cannot be read: the
  /// tree is then at the position, the list of modifications is kept, and the other records are
  /// incomplete. After that, or after an exception, the next call moves and reads everything again.
  int SetHistory(int position);
  int SetHistoryToOriginal();
  int SetHistoryToLast();

  /// Begins an edit: takes a private snapshot of the last state and makes a pending modification
  /// for this user. Cancels an edit that is open. Saves the snapshot to a temporary file, which is
  /// removed before this returns; that save may call OnHistoryChanged twice. Returns 0, without an
  /// open edit, if it fails; the code is -2003 if the snapshot cannot be saved.
  [[nodiscard]] int BeginModify(const _bstr_t& uid, const _bstr_t& userID, const _bstr_t& userName);

  /// Create a change item. `node` is a path below the root element ("PatientInfo/Name"); an element
  /// that is missing is added when the change is redone, also for a mistyped path. The old value
  /// comes from the snapshot and is empty if there is no such element. The new value is empty, the
  /// text, the joined name or the joined list. The caller owns the item until AddChangeItem takes
  /// it. Return null and log code -2 if there is no open edit.
  ZAMXMLChangeItem* CreateChangeItem(const _bstr_t& code, const _bstr_t& node,
                                     const _bstr_t& attribute, ZAMXML_VTYPE type);
  ZAMXMLChangeItem* CreateChangeItem(const _bstr_t& code, const _bstr_t& node,
                                     const _bstr_t& attribute, ZAMXML_VTYPE type,
                                     const _bstr_t& newValue);
  ZAMXMLChangeItem* CreateChangeItemName(const _bstr_t& code, const _bstr_t& node,
                                         const ZAMXMLName& name);
  ZAMXMLChangeItem* CreateChangeItemStatement(const _bstr_t& code, const _bstr_t& node,
                                              const ZAMXMLStatement& list);

  /// Appends the item to the pending modification, which then owns it, and returns its index.
  /// Returns -1 if there is no pending modification or the item is null; the caller then keeps the
  /// item. Logs a warning for a name or list item with an attribute, whose old value becomes the
  /// whole name or list because that is what undo writes back, and for a "^" inside a part, which
  /// reads back as two parts.
  int AddChangeItem(ZAMXMLChangeItem* item);
  /// Create and append an item in one step. Return its index, or -1 with nothing added.
  int AddChangeItem(const _bstr_t& code, const _bstr_t& node, const _bstr_t& attribute,
                    ZAMXML_VTYPE type, const _bstr_t& newValue);
  int AddChangeItemName(const _bstr_t& code, const _bstr_t& node, const ZAMXMLName& name);
  int AddChangeItemStatement(const _bstr_t& code, const _bstr_t& node, const ZAMXMLStatement& list);

  /// Stamps the pending modification with the local date and time, appends it to the history and
  /// ends the edit. The shown position does not change. Leaves out a change whose type is not
  /// string, name or statement, and logs a warning. Returns 0 if no modification is pending, and in
  /// hooks that read or write the document, where the edit stays open. Returns 0 and logs the
  /// reason if the tree has no place for the list; the modification is then in the list and the
  /// snapshot stays open. After an exception, GetHistoryCount tells whether the modification is in
  /// the history.
  [[nodiscard]] int CommitModify();
  /// Ends the edit and deletes the snapshot and the pending modification with its items.
  void CancelModify();

  ZAMXMLDocumentInfo m_DocInfo;     ///< the header, as shown
  ZAMXMLPatientInfo m_PatientInfo;  ///< as shown
  ZAMXMLOrderInfo m_OrderInfo;      ///< as shown
  ZAMXMLStudyInfo m_StudyInfo;      ///< as shown
  /// Committed modifications, oldest first. A move of the history reads them again and keeps those
  /// that are still the same in the tree.
  ZAMXMLModificationGroup m_Modifications;
  ZAMXMLDocumentInfo m_DefaultDocInfo;  ///< the header of a new or cleared document; its ID and
                                        ///< Version go into every header that is written
  ZAMXml m_Xml;                         ///< tree of the document
  ZAMXml m_CloneXml;                    ///< snapshot of an open edit
  int m_nHistory;                       ///< shown position, -1 = original
  std::unique_ptr<ZAMXMLModification> m_pModification;  ///< pending modification, or null

protected:
  /// The hooks of ZAMFile.
  void OnFileClose() override;
  int OnFileNew(ZAMLog* log) override;
  int OnFileOpen(const _bstr_t& path, ZAMLog* log) override;
  int OnFileSave(const _bstr_t& path, ZAMLog* log) override;

  /// Called for an opened tree whose root is not "KESTRANE_ZAM". Return nonzero to accept it; this
  /// class then clears and reads nothing. Default: returns 0.
  virtual int OnOpenCompatible(ZAMXml& xml, ZAMLog* log);
  /// Called after SetHistory has moved and read the document. Default: does nothing.
  virtual void OnHistoryChanged();

  /// Read one section each, in this order, with OnReadModification right after OnReadDocumentInfo.
  /// A result of 0 ends the reading. A missing section is an error, except Modifications. While
  /// SetHistory reads the document again, and always until OnReadModification has returned,
  /// SetHistory, Save, SaveAs, BeginModify and CommitModify return 0.
  virtual int OnReadDocumentInfo(ZAMXml& xml, ZAMLog* log);
  virtual int OnReadPatientInfo(ZAMXml& xml, ZAMLog* log);
  virtual int OnReadOrderInfo(ZAMXml& xml, ZAMLog* log);
  virtual int OnReadStudyInfo(ZAMXml& xml, ZAMLog* log);
  virtual int OnReadModification(ZAMXml& xml, ZAMLog* log);
  /// Reads the sections of a derived class. Default: returns 1.
  virtual int OnReadNonStandard(ZAMXml& xml, ZAMLog* log);

  /// Called before a save builds the tree from the records. Write a template to `path` and return
  /// nonzero, or return 0 for none. m_Xml is still the former tree, so a host can save it there to
  /// keep its own sections. Default: returns 0. After the template is read, the file that was at
  /// `path` is put back, unless the template was written into that file in place. If the process is
  /// killed before, the next one that opens or saves the document puts it back.
  virtual int OnCopyXMLTemplate(const _bstr_t& path);

  /// Write one section each and create its element if it is missing. A result of 0 ends the
  /// writing. The tree is incomplete meanwhile: SetHistory, Save, SaveAs, BeginModify and
  /// CommitModify return 0 in these hooks. OnWriteModification writes nothing if there are no
  /// modifications. An override that always writes nothing keeps the history out of this and every
  /// later save of the tree.
  virtual int OnWriteDocumentInfo(ZAMXml& xml, ZAMLog* log);
  virtual int OnWritePatientInfo(ZAMXml& xml, ZAMLog* log);
  virtual int OnWriteOrderInfo(ZAMXml& xml, ZAMLog* log);
  virtual int OnWriteStudyInfo(ZAMXml& xml, ZAMLog* log);
  virtual int OnWriteModification(ZAMXml& xml, ZAMLog* log);
  /// Writes the sections of a derived class. Default: returns 1.
  virtual int OnWriteNonStandard(ZAMXml& xml, ZAMLog* log);

  /// Sets m_DefaultDocInfo, with an empty institution name and matching UID. m_DocInfo changes with
  /// the next Clear, New or Close.
  void SetDefaultDocInfo(const _bstr_t& id, const _bstr_t& type, const _bstr_t& version,
                         const _bstr_t& author, const _bstr_t& application);

  /// Clears the records and reads them from the tree. If `moveToLast` is nonzero, moves the tree to
  /// its last position after the header and the list are read.
  int _ReadFromXML(ZAMXml& xml, int moveToLast, ZAMLog* log);
  /// Writes all sections into the tree.
  int _WriteToXML(ZAMXml& xml, ZAMLog* log);
  /// Moves a tree from m_nHistory to the position without reading it, and sets m_nHistory. Returns
  /// 1 if the tree is at the position now, 0 if the position is out of range.
  int _SetHistory(ZAMXml& xml, int position);

  /// Sets `result` to a value in the snapshot; names and statements are joined. The value is empty
  /// if there is no such element. Returns 0 and changes nothing if there is no open snapshot.
  int GetOldValue(const _bstr_t& node, const _bstr_t& attribute, ZAMXML_VTYPE type,
                  _bstr_t& result);

  /// Writes an XML resource of the module to the file at `path`, which is replaced. The low 16 bits
  /// of the identifier count. Returns 0 and keeps the old file if it cannot be written. Returns 0
  /// and writes an empty file if the module is null or has no such resource.
  static int CopyXMLTemplate(HINSTANCE module, unsigned int identifier, const _bstr_t& path);

private:
  class ZAMXML_LOCAL Rebuild;
  class ZAMXML_LOCAL KeptPaths;

  int ReadOpenedTree(const _bstr_t& function, int line, ZAMLog* log);
  /// How a save of the tree ended: no file was written, or one was written and the document shows
  /// its former position again (Whole) or cannot (Unshown).
  enum class Saved { Not, Whole, Unshown };

  int RequireWholeRecords(ZAMLog* log);
  int BuildTree(bool fromTemplate, const _bstr_t& path, zam::KeptFile& replaced, ZAMLog* log);
  bool IsBusy() const noexcept;
  /// Returns whether a hook has closed or replaced the document since that session; false for 0.
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
  int RefuseBusy(ZAMLog* log);
  int FailWithoutMemory(ZAMLog* log) noexcept;
  void WarnOfDropped(const _bstr_t& sections);
  void WarnOfSeparator(const _bstr_t& node, bool held);
  void WarnOfForeignEdit();

  std::unique_ptr<zam::TemporaryFolder> m_SnapshotFolder;  ///< for the files of an open edit
  int m_nStale = 0;                ///< nonzero when tree or records may not be what m_nHistory says
  int m_nWithheld = 0;             ///< nonzero when no hook wrote the list into the tree
  int m_nForeignEdit = 0;          ///< nonzero when the open edit was begun on a former document
  unsigned int m_BusySession = 0;  ///< the session in which hooks write or reread the tree, or 0
  unsigned int m_ReadingSession = 0;  ///< the session in which hooks are reading a tree, or 0
  ZAMXMLModificationGroup* m_pFormerList = nullptr;  ///< the list before it is read again, or null
};
