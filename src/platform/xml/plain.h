#pragma once

#include <cstddef>
#include <string_view>

namespace zam {

/// Where a text has the children of a section, the first child of the root with its name. The
/// places are counted from the front of the text.
struct SectionPlaces {
  std::size_t m_Content = 0;     ///< behind its start tag
  std::size_t m_LastChild = 0;   ///< behind its last child element but one
  std::size_t m_EndTag = 0;      ///< where its end tag begins,
  std::size_t m_End = 0;         ///< and ends
  std::size_t m_RootEndTag = 0;  ///< where the end tag of the root begins,
  std::size_t m_RootEnd = 0;     ///< and ends
  std::string_view m_Root;       ///< name of the root
  std::string_view m_Name;       ///< name of the section
  int m_Count = 0;               ///< child elements
  /// Whether there are several children, of one name, and the content is, byte for byte, what the
  /// writer makes of it.
  bool m_IsUniform = false;
};

/// Whether a text in UTF-8 that follows the declaration is a well-formed document of the plain
/// kind, which pugixml reads as the strict parser would: names of ASCII letters, digits, "-", "_"
/// and ".", few attributes, no carriage return, no processing instruction, of the references only
/// those that this library writes. False says nothing about the text. The places of the section are
/// found on the way.
bool IsPlainDocument(std::string_view text, std::string_view section, SectionPlaces& places);

inline constexpr std::size_t BlockSize = 64;

/// Whether so many bytes are printable ASCII, without any that XML escapes. They are looked at
/// together, without a branch between them.
bool IsPlainBlock(const char* bytes);

}  // namespace zam
