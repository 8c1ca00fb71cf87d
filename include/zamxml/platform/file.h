#pragma once

#include <functional>
#include <memory>

#include "zamxml/platform/export.h"
#include "zamxml/platform/log.h"
#include "zamxml/platform/text.h"

namespace zam {
struct FileIdentity;
}

/// The life cycle of an object that is kept in a file. The public operations call the hooks
/// OnFileNew, OnFileOpen, OnFileSave and OnFileClose, which a derived class implements.
///
/// An int result is the hook's own: nonzero for success, 0 for failure. Paths are paths of the
/// platform's file system. A log argument may be null.
///
/// Thread safety: used by one thread at a time.
class ZAMXML_API ZAMFile {
public:
  ZAMFile();
  ZAMFile(const ZAMFile&) = delete;
  ZAMFile& operator=(const ZAMFile&) = delete;
  /// Calls no hook. A derived class closes itself in its own destructor.
  virtual ~ZAMFile();

  /// Calls OnFileClose. Afterwards nothing is open and there is no current path.
  virtual void Close();

  /// Starts a new object through OnFileNew. It is then open and has no current path.
  virtual int New(ZAMLog* log);

  /// Opens the file at `path` through OnFileOpen and makes `path` current. Closes first what is
  /// open, so that an edit of one document can never end in another. Closed and empty after a
  /// failure or an exception.
  [[nodiscard]] virtual int Open(const _bstr_t& path, ZAMLog* log);

  /// Saves to the current path through OnFileSave. Returns 0 and changes nothing if there is no
  /// current path; an object that is a ZAMLog then logs the reason in itself.
  [[nodiscard]] virtual int Save();

  /// Saves to `path` through OnFileSave and makes `path` current; the object is then open. A
  /// failure keeps the current path. If a hook closes the object, or opens another in its place,
  /// the path that the hook set stays.
  [[nodiscard]] virtual int SaveAs(const _bstr_t& path, ZAMLog* log);

  /// Returns nonzero from a successful Open, New or SaveAs until Close.
  int IsOpened() const noexcept { return m_nOpened; }

  /// Returns 1 if the file at the current path is not the one that was opened or last saved here:
  /// it was replaced, written to (size or modification time differ), or removed. Returns 0
  /// otherwise and if there is no current path. Saving does not check this: it replaces whatever is
  /// there.
  int IsFileChanged() const;

  /// The current path; empty when there is none.
  CString m_strFilePath;
  /// The identity of the file at the current path when it was opened or saved. Code that restores a
  /// path restores this with it.
  std::shared_ptr<const zam::FileIdentity> m_pFile;

protected:
  virtual void OnFileClose() = 0;
  virtual int OnFileNew(ZAMLog* log) = 0;
  virtual int OnFileOpen(const _bstr_t& path, ZAMLog* log) = 0;
  virtual int OnFileSave(const _bstr_t& path, ZAMLog* log) = 0;

  /// Calls `step`, which opens the object, and returns its result. Closes the object if the result
  /// is 0 or `step` throws.
  int OpenOrClose(const std::function<int()>& step);
  /// A hook calls this to tell which file it has read or written. Without it, the file is looked up
  /// under its path afterwards.
  void NoteFile(std::shared_ptr<const zam::FileIdentity> file) noexcept;
  /// Makes `path` current, together with the file of NoteFile.
  void MakeCurrent(CString path) noexcept;
  /// For a derived class that opens in a way of its own.
  void SetOpened(int opened) noexcept { m_nOpened = opened; }
  /// Returns a number that changes with every New, Open and Close. An operation compares it before
  /// and after a hook to learn whether the hook closed or replaced the object.
  unsigned int Session() const noexcept { return m_Session; }

private:
  int m_nOpened = 0;
  unsigned int m_Session = 1;  ///< never 0
  std::shared_ptr<const zam::FileIdentity> m_pNoted;
};
