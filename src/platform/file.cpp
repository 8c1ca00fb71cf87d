#include "zamxml/platform/file.h"

#include <functional>
#include <utility>

#include "platform/codes.h"
#include "platform/system.h"

ZAMFile::ZAMFile() = default;
ZAMFile::~ZAMFile() = default;

void ZAMFile::Close() {
  ++m_Session;
  m_nOpened = 0;
  m_strFilePath.Empty();
  m_pFile.reset();
  OnFileClose();
}

int ZAMFile::OpenOrClose(const std::function<int()>& step) {
  const unsigned int session = ++m_Session;
  int result = 0;
  m_pNoted.reset();
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
  if (result == 0) {
    Close();
  }
  return result;
}

void ZAMFile::NoteFile(std::shared_ptr<const zam::FileIdentity> file) noexcept {
  m_pNoted = std::move(file);
}

void ZAMFile::MakeCurrent(CString path) noexcept {
  m_strFilePath = std::move(path);
  m_pFile = std::exchange(m_pNoted, nullptr);
  if (m_pFile != nullptr) {
    return;
  }
  try {
    if (const auto file = zam::IdentifyFile(_bstr_t(m_strFilePath).utf8())) {
      m_pFile = std::make_shared<zam::FileIdentity>(*file);
    }
  } catch (const std::exception&) {
    m_pFile.reset();  // not known to be the same, then
  }
}

int ZAMFile::New(ZAMLog* log) {
  m_strFilePath.Empty();
  m_pFile.reset();
  return OpenOrClose([&] { return OnFileNew(log); });
}

int ZAMFile::Open(const _bstr_t& path, ZAMLog* log) {
  // A copy: closing may change what the path refers to.
  const _bstr_t source = path;
  if (m_nOpened != 0) {
    Close();
  }
  CString current(source);
  const auto open = [&] { return OnFileOpen(source, log); };
  const int opened = OpenOrClose(std::ref(open));  // needs no memory
  if (opened != 0) {
    MakeCurrent(std::move(current));
  }
  return opened;
}

int ZAMFile::Save() {
  if (m_nOpened == 0 || m_strFilePath.IsEmpty()) {
    zam::RecordFileError(dynamic_cast<ZAMLog*>(this), zam::CodeNotWritten,
                         u"There is no opened document with a path.");
    return 0;
  }
  return ZAMFile::SaveAs(m_strFilePath, nullptr);
}

int ZAMFile::SaveAs(const _bstr_t& path, ZAMLog* log) {
  // A copy: what the path refers to may change while the object is saved.
  const _bstr_t target = path;
  CString current(target);
  const unsigned int session = m_Session;
  m_pNoted.reset();
  const int saved = OnFileSave(target, log);
  if (saved != 0 && session == m_Session) {
    MakeCurrent(std::move(current));
    m_nOpened = 1;
  }
  return saved;
}

int ZAMFile::IsFileChanged() const {
  if (m_strFilePath.IsEmpty()) {
    return 0;
  }
  const auto file = zam::IdentifyFile(_bstr_t(m_strFilePath).utf8());
  return m_pFile != nullptr && file == *m_pFile ? 0 : 1;
}
