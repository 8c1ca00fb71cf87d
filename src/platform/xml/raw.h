#pragma once

#include <array>
#include <memory>
#include <string>
#include <string_view>

#include "platform/xml/fields.h"
#include "platform/xml/written.h"
#include "zamxml/platform/xml.h"

namespace zam {

struct RawChildren;

/// A section with many children is read as bytes. Only the last child, to which others are added,
/// is made of nodes; the others stay raw until somebody looks at one of them. Saved, raw children
/// are the same bytes again.
class RawSection {
public:
  /// Chooses the section of all documents that a tree reads from now on: the first child of that
  /// name of the root. Its children stay raw if they are of one name and written as the library
  /// writes them. The name is a constant.
  static void Choose(ZAMXml& xml, const char* name) noexcept;

  /// The element is one of the tree. The tree outlives the object.
  RawSection(ZAMXml& xml, const IXMLDOMNodePtr& element);

  /// Whether the element has raw children. A search among its children, or a change of them, ends
  /// that.
  explicit operator bool() const noexcept { return m_Raw != nullptr; }
  /// What the raw children are. Two sections that give the same pointer have the same.
  const std::shared_ptr<const RawChildren>& Children() const noexcept { return m_Raw; }
  /// The number of raw child elements.
  int GetCount() const noexcept;

  /// The element with its other children only, to be asked for children of their name.
  FieldCursor Rest() const noexcept { return {m_Xml, m_Element}; }
  WrittenCursor WrittenRest() const noexcept { return {m_Xml.m_Document.get(), m_Element, true}; }

private:
  friend class RawCursor;

  ZAMXml& m_Xml;
  pugi::xml_node_struct* m_Element;
  std::shared_ptr<const RawChildren> m_Raw;
};

/// Goes through raw children that hold records as they are written: each field once, in order. A
/// step that meets anything else is false and leaves the cursor where it is.
class RawCursor {
public:
  explicit RawCursor(const RawSection& section);

  /// Goes on into the next child, which has that name and holds other elements.
  bool Enter(const FieldName& name);
  /// Goes on to behind that child, of which nothing is left.
  bool Leave(const FieldName& name);
  /// Passes the next child, which has that name and is empty.
  bool PassEmpty(const FieldName& name);
  /// Passes the next child, which has that name and holds a text. The bytes are valid until the
  /// next step.
  bool PassText(const FieldName& name, std::string_view& bytes);
  bool ReadText(const FieldName& name, _bstr_t& text);

  bool IsAtEnd() const noexcept { return m_Rest.empty(); }
  /// Whether all that was passed is, with the formatting around it, as it would be written anew.
  bool IsWritten() const noexcept { return m_IsWritten; }

private:
  /// Takes the white space that comes next. A step that fails gives it back.
  class Formatting;

  const std::string& BeforeChild() const { return m_Depth == 0 ? m_First : m_Levels[m_Depth]; }
  bool Take(std::string_view bytes) noexcept;
  bool TakeTag(std::string_view opening, const FieldName& name, std::string_view closing) noexcept;
  /// Takes the pieces of a text up to a tag.
  std::string_view TakePieces();

  ZAMXmlDocument& m_Document;
  std::string_view m_Rest;
  std::size_t m_Depth = 0;
  const char* m_Entered = nullptr;      ///< where the child that was entered last begins
  std::string m_First;                  ///< what precedes each of the raw children,
  std::array<std::string, 4> m_Levels;  ///< and the other children and end tags of each depth
  std::string m_Joined;
  bool m_IsWritten = true;
};

/// Reads the fields of a record.
class RawFields {
public:
  explicit RawFields(RawCursor& cursor) : m_Cursor(cursor) {}

  void Text(const FieldName& name, _bstr_t& value) {
    m_IsRead = m_IsRead && m_Cursor.ReadText(name, value);
  }
  bool IsRead() const { return m_IsRead; }

private:
  RawCursor& m_Cursor;
  bool m_IsRead = true;
};

}  // namespace zam
