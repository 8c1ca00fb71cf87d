#include "zamxml/platform/file.h"

#include <utility>

#include "platform/codes.h"
#include "zamxml/platform/util.h"

ZAMFile::ZAMFile() = default;
ZAMFile::~ZAMFile() = default;

void ZAMFile::Close() {
  m_nOpened = 0;
  m_strFilePath.Empty();
  OnFileClose();
}

int ZAMFile::OpenOrClose(const std::function<int()>& step) {
  try {
    m_nOpened = step() != 0 ? 1 : 0;
  } catch (...) {
    Close();
    throw;
  }
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
  if (m_nOpened != 0) {
    Close();
  }
  CString current(path);
  if (OpenOrClose([&] { return OnFileOpen(path, log); }) == 0) {
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
  CString current(path);
  const int opened = m_nOpened;
  if (OnFileSave(path, log) == 0) {
    return 0;
  }
  if (opened != 0 && m_nOpened == 0) {
    return 1;  // closed by a hook, after it was saved
  }
  m_strFilePath = std::move(current);
  m_nOpened = 1;
  return 1;
}
