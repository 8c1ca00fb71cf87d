#pragma once

#include <functional>
#include <memory>

#include "zamxml/platform/export.h"
#include "zamxml/platform/log.h"
#include "zamxml/platform/text.h"

namespace zam {
struct FileIdentity;
}

/// The life of something that is kept in a file: the public operations end in the hooks
/// OnFileNew, OnFileOpen, OnFileSave and OnFileClose, which a derived class fills.
///
/// Int results are nonzero for success and 0 for failure: those of the hook. Paths are those of the
/// platform's file system, as Unicode text. A log argument may be null. Used by one thread at a
/// time.
class ZAMXML_API ZAMFile {
public:
  ZAMFile();
  ZAMFile(const ZAMFile&) = delete;
  ZAMFile& operator=(const ZAMFile&) = delete;
  /// Calls no hook: a derived class closes itself in its own destructor.
  virtual ~ZAMFile();

  /// Calls OnFileClose; afterwards nothing is opened and there is no current path.
  virtual void Close();

  /// Starts something new through OnFileNew: opened, without a current path.
  virtual int New(ZAMLog* log);

  /// Opens the file at the path through OnFileOpen. What is opened is closed first, so that nothing
  /// begun on one document can end in another. Success makes the path current; a failure, an
  /// exception included, leaves it closed and empty.
  virtual int Open(const _bstr_t& path, ZAMLog* log);

  /// Saves to the current path through OnFileSave. Without a current path the result is 0, an entry
  /// stands in the object's own log (when it is a ZAMLog), and nothing is touched.
  virtual int Save();

  /// Saves to the path through OnFileSave; success makes the path current and leaves it opened, a
  /// failure leaves the current path as it was. What a hook closed, or replaced by something else,
  /// keeps the path that it got there.
  virtual int SaveAs(const _bstr_t& path, ZAMLog* log);

  /// Nonzero from a successful Open or New (or a first SaveAs) until Close.
  int IsOpened() const noexcept { return m_nOpened; }

  /// 1 when the current path no longer leads to the file that was opened or last saved here:
  /// another file has been put there, it was written to (another size or modification time), or it
  /// is gone. 0 when it still does, and without a current path. Saving does not ask: it replaces
  /// what stands there.
  int IsFileChanged() const;

  /// The current path; empty when there is none.
  CString m_strFilePath;
  /// The file to which that path led when it was opened or saved. Who puts a path back puts this
  /// back with it.
  std::shared_ptr<const zam::FileIdentity> m_pFile;

protected:
  virtual void OnFileClose() = 0;
  virtual int OnFileNew(ZAMLog* log) = 0;
  virtual int OnFileOpen(const _bstr_t& path, ZAMLog* log) = 0;
  virtual int OnFileSave(const _bstr_t& path, ZAMLog* log) = 0;

  /// Takes a step that opens, sets what IsOpened gives, and hands on the result. A result of 0, or
  /// an exception, closes.
  int OpenOrClose(const std::function<int()>& step);
  /// For the hooks: the file that was read or written. It counts when the operation succeeds; when
  /// no hook says so, it is the one that the path leads to afterwards.
  void NoteFile(std::shared_ptr<const zam::FileIdentity> file) noexcept;
  /// Makes the path current, with the file that was noted.
  void MakeCurrent(CString path) noexcept;
  /// For derived classes that become opened in a way of their own.
  void SetOpened(int opened) noexcept { m_nOpened = opened; }
  /// Changes with every New, Open and Close (and what opens in a way of its own). An operation that
  /// calls hooks compares it to learn whether a hook closed the object or put something else into
  /// it.
  unsigned int Session() const noexcept { return m_Session; }

private:
  int m_nOpened = 0;
  unsigned int m_Session = 1;  ///< never 0
  std::shared_ptr<const zam::FileIdentity> m_pNoted;
};
