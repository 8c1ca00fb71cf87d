#pragma once

#include <functional>

#include "zamxml/platform/export.h"
#include "zamxml/platform/log.h"
#include "zamxml/platform/text.h"

/// The life of something that is kept in a file: the public operations end in the hooks
/// OnFileNew, OnFileOpen, OnFileSave and OnFileClose, which a derived class fills.
///
/// Int results are 1 for success and 0 for failure. Paths are those of the platform's file system,
/// as Unicode text. A log argument may be null. Used by one thread at a time.
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

  /// The current path; empty when there is none.
  CString m_strFilePath;

protected:
  virtual void OnFileClose() = 0;
  virtual int OnFileNew(ZAMLog* log) = 0;
  virtual int OnFileOpen(const _bstr_t& path, ZAMLog* log) = 0;
  virtual int OnFileSave(const _bstr_t& path, ZAMLog* log) = 0;

  /// Takes a step that opens, and sets what IsOpened gives. Any result but success, an exception
  /// included, closes.
  int OpenOrClose(const std::function<int()>& step);
  /// For derived classes that become opened in a way of their own.
  void SetOpened(int opened) noexcept { m_nOpened = opened; }
  /// Changes with every New, Open and Close (and what opens in a way of its own). An operation that
  /// calls hooks compares it to learn whether a hook closed the object or put something else into
  /// it.
  unsigned int Session() const noexcept { return m_Session; }

private:
  int m_nOpened = 0;
  unsigned int m_Session = 0;
};
