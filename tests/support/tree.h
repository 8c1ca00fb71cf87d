#pragma once

#include <ZAMXMLData.h>

#include <filesystem>
#include <iosfwd>
#include <string>
#include <string_view>

/// Texts in failure messages: UTF-8 in quotes, or null.
void PrintTo(const _bstr_t& text, std::ostream* stream);

namespace test {

/// A folder of its own, removed at the end with all that it holds.
class TemporaryFolder {
public:
  enum class Medium { Disk, Memory };

  /// A folder in memory makes many small files cheap; it is on the disk where there is none.
  explicit TemporaryFolder(Medium medium = Medium::Disk);
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  std::filesystem::path Path(std::string_view name) const { return m_Path / name; }

private:
  std::filesystem::path m_Path;
};

/// All bytes of a file; throws when it cannot be read.
std::string ReadBytes(const std::filesystem::path& path);
void WriteBytes(const std::filesystem::path& path, std::string_view bytes);

/// A text as bytes in UTF-16.
std::string Utf16(const _bstr_t& text, bool bigEndian = false);

/// Makes the tree hold the document of those bytes; throws with the reason when it cannot.
void Load(ZAMXml& xml, std::string_view bytes);

/// The bytes as which the tree is saved, without waiting for the disk; throws with the reason when
/// it cannot be.
std::string Saved(ZAMXml& xml);

/// The text with every match of a regular expression replaced; <regex> is slow to compile.
std::string Replaced(const std::string& text, const char* pattern, const char* replacement);

/// The saved document from the root element on, with every element without content as an
/// empty-element tag.
std::string Content(ZAMXml& xml);

}  // namespace test
