#include "zamxml/platform/util.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <ctime>
#include <string>

#include "platform/codes.h"
#include "platform/system.h"

_bstr_t ZAMGF::ZAMErrorString(int code) {
  switch (code) {
    case zam::CodeNotFound:
      return u"The element or the kind of document that was expected is not there.";
    case zam::CodeNoMemory:
      return u"There is not enough memory.";
    case zam::CodeNotRead:
      return u"The file cannot be read.";
    case zam::CodeNotWritten:
      return u"The file cannot be written.";
    case zam::CodeNoTemporaryFile:
      return u"A temporary file cannot be created.";
    case zam::CodeNotWellFormed:
      return u"The file is not a well-formed XML document.";
    case zam::CodeNotAdded:
      return u"The element cannot be added.";
    case zam::CodeNotLocked:
      return u"The file cannot be locked.";
    case zam::CodeTreeNotReread:
      return u"The document cannot be read at the position that was asked for.";
    default:
      return _bstr_t::FromUtf8("Error " + std::to_string(code) + ".");
  }
}

_bstr_t ZAMGF::GetSystemTempDir() {
  const auto folder = zam::PrivateTempFolder();
  return folder ? _bstr_t::FromUtf8(*folder) : _bstr_t();
}

_bstr_t ZAMGF::MakeDateTimeFileName(const _bstr_t& prefix, const _bstr_t& suffix,
                                    const _bstr_t& extension) {
  static std::atomic<unsigned long> counter{0};
  const std::tm now = zam::LocalTime();
  std::array<char, 32> stamp{};
  std::strftime(stamp.data(), stamp.size(), "%Y%m%d_%H%M%S", &now);
  const std::string unique = std::string(stamp.data()) + '_' +
                             std::to_string(zam::ProcessNumber()) + '_' + std::to_string(++counter);
  return prefix + _bstr_t::FromUtf8(unique) + suffix + u"." + extension;
}

_bstr_t ZAMGF::MakePath(const _bstr_t& directory, const _bstr_t& name) {
  if (directory.length() == 0 || name.length() == 0) {
    return {};
  }
  return directory.view().ends_with(u'/') ? directory + name : directory + u"/" + name;
}

int ZAMGF::WriteFile(const _bstr_t& path, std::string_view bytes, ZAMLog* log) {
  try {
    std::string reason;
    if (zam::WriteFile(
            path.utf8(), [&](const zam::WriteBlock& write) { return write(bytes); },
            zam::Durability::Durable, reason)) {
      return 1;
    }
    zam::RecordFileError(log, zam::CodeNotWritten, zam::FileDetail(path, reason));
  } catch (const std::exception&) {
    if (log != nullptr) {
      zam::RecordNoMemory(*log, ZAM_LOG_CATEGORY_FILE);
    }
  }
  return 0;
}

int ZAMGF::DeleteFileW(const _bstr_t& path, int /*flag*/) {
  return zam::RemoveFile(path.utf8()) ? 1 : 0;
}

int ZAMGF::IsHostBigEndian() { return std::endian::native == std::endian::big ? 1 : 0; }

int ZAMGF::InvertByte(unsigned char* bytes, int count) {
  if (bytes == nullptr || count < 0) {
    return 0;
  }
  std::reverse(bytes, bytes + count);
  return 1;
}
