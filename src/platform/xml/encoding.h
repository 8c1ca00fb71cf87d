#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zam {

/// The white space of XML.
inline constexpr std::string_view Blanks = " \t\r\n";

/// Why bytes are no document: "line L, column C: reason", for the character at the
/// place in a text in UTF-8. Thrown by value.
struct Refusal {
  Refusal(std::string_view text, std::size_t place, std::string_view reason);

  std::string m_Reason;
};

struct XmlDeclaration {
  std::string_view m_Encoding;    ///< empty where it says none
  std::string_view m_Standalone;  ///< "yes", "no", or empty
  std::size_t m_Size = 0;         ///< 0 where there is no declaration
};

/// The text of a file as UTF-8, without byte order mark. The views point into it, or into the bytes
/// where these need no conversion.
struct XmlText {
  /// Throws a Refusal when the encoding is unknown, when bytes are none in that encoding or zero,
  /// or when the declaration is malformed. A byte order mark outranks the declaration.
  explicit XmlText(std::string_view bytes);
  XmlText(const XmlText&) = delete;
  XmlText& operator=(const XmlText&) = delete;

  /// What follows the declaration.
  std::string_view Content() const { return m_Text.substr(m_Declaration.m_Size); }

  std::string m_Converted;  ///< empty where the bytes are in UTF-8 already
  std::string_view m_Text;
  XmlDeclaration m_Declaration;

private:
  void Convert(std::string_view bytes);
};

}  // namespace zam
