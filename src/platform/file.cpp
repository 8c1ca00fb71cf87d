#include "zamxml/platform/file.h"

#include <utility>

#include "platform/codes.h"
#include "zamxml/platform/util.h"

ZAMFile::ZAMFile() = default;
ZAMFile::~ZAMFile() = default;

void ZAMFile::Close() {
  ++m_Session;
  m_nOpened = 0;
  m_strFilePath.Empty();
  OnFileClose();
}

int ZAMFile::OpenOrClose(const std::function<int()>& step) {
  const unsigned int session = ++m_Session;
  int result = 0;
  try {
    result = step();
  } catch (...) {
    if (session == m_Session) {
      Close();
    }
    throw;
  }
  if (session != m_Session) {
    return 0;  // a hook has closed it or opened something else
  }
  m_nOpened = result != 0 ? 1 : 0;
  if (m_nOpened == 0) {
    Close();
  }
  return m_nOpened;
}

int ZAMFile::New(ZAMLog* log) {
  m_strFilePath.Empty();
  return OpenOrClose([&] { return OnFileNew(log); });
}

int ZAMFile::Open(const _bstr_t& path, ZAMLog* log) {
  // A copy: closing may change what the path refers to.
  const _bstr_t source = path;
  if (m_nOpened != 0) {
    Close();
  }
  CString current(source);
  if (OpenOrClose([&] { return OnFileOpen(source, log); }) == 0) {
    return 0;
  }
  m_strFilePath = std::move(current);
  return 1;
}

int ZAMFile::Save() {
  if (m_nOpened == 0 || m_strFilePath.IsEmpty()) {
    if (auto* own = dynamic_cast<ZAMLog*>(this)) {
      own->SetLog(ZAM_LOG_TYPE_ERROR, ZAM_LOG_CATEGORY_FILE, zam::CodeNotWritten,
                  ZAMGF::ZAMErrorString(zam::CodeNotWritten),
                  u"There is no opened document with a path.", 0);
    }
    return 0;
  }
  return OnFileSave(m_strFilePath, nullptr);
}

int ZAMFile::SaveAs(const _bstr_t& path, ZAMLog* log) {
  // A copy: what the path refers to may change while the object is saved.
  const _bstr_t target = path;
  CString current(target);
  const unsigned int session = m_Session;
  if (OnFileSave(target, log) == 0) {
    return 0;
  }
  if (session == m_Session) {
    m_strFilePath = std::move(current);
    m_nOpened = 1;
  }
  return 1;
}
