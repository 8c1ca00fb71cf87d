#pragma once

#include <ZAMXMLData.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

/// What the fuzz targets share.
namespace fuzz {

/// Stops the process where something does not hold, and says what.
inline void Require(bool holds, const char* what) {
  if (!holds) {
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
  }
}

/// A file of its own that is removed at the end.
class ScratchFile {
public:
  explicit ScratchFile(const char16_t* name)
      : m_Path(ZAMGF::MakePath(ZAMGF::GetSystemTempDir(),
                               ZAMGF::MakeDateTimeFileName(name, u"", u"xml"))
                   .utf8()) {}
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;
  ~ScratchFile() { Remove(); }

  const char* Path() const { return m_Path.c_str(); }

  void Remove() const {
    std::error_code ignored;
    std::filesystem::remove(m_Path, ignored);
  }

  void Write(const std::uint8_t* data, std::size_t size) const {
    std::ofstream file(m_Path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    Require(static_cast<bool>(file.flush()), "the input can be written");
  }

  std::string Read() const {
    std::ifstream file(m_Path, std::ios::binary);
    Require(static_cast<bool>(file), "the file can be read");
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

private:
  std::string m_Path;
};

}  // namespace fuzz
