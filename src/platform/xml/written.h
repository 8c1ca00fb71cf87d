#pragma once

#include <string_view>

#include "platform/xml/fields.h"

namespace zam {

/// Compares what an element holds, node by node, with what writing it anew would make: child
/// elements without attributes, plain texts, the formatting that added elements get. Needs no
/// memory.
class WrittenCursor {
public:
  /// The formatting around the children is that of the first and the last of them.
  WrittenCursor(ZAMXml& xml, const IXMLDOMNodePtr& element);

  /// Moves to the next child. False, and of no more use, unless it has that name and is as if
  /// it had been added.
  bool Next(const FieldName& name) noexcept;
  /// Whether that child holds the text and nothing else.
  bool Holds(ZAMTextView text) const noexcept;
  /// What that child holds.
  WrittenCursor Inside() const noexcept;
  /// Whether no child follows.
  bool IsAtEnd() const noexcept;

private:
  friend class RawSection;
  WrittenCursor(const ZAMXmlDocument* document, pugi::xml_node_struct* parent,
                bool isOutermost) noexcept;
  bool IsBeforeChild(pugi::xml_node node) const noexcept;

  const ZAMXmlDocument* m_Document;
  pugi::xml_node_struct* m_Parent;
  pugi::xml_node_struct* m_Child = nullptr;
  bool m_IsOutermost = false;
  bool m_Formats = false;          ///< whether white space precedes each child:
  std::string_view m_Line;         ///< what precedes the end of the parent,
  std::string_view m_Indentation;  ///< and this
};

/// Finds out whether the fields of a record come next, as they would be written.
class WrittenFields {
public:
  explicit WrittenFields(WrittenCursor& cursor) : m_Cursor(cursor) {}

  void Text(const FieldName& name, ZAMTextView value) {
    m_IsSame = m_IsSame && m_Cursor.Next(name) && m_Cursor.Holds(value);
  }
  bool IsSame() const { return m_IsSame; }

private:
  WrittenCursor& m_Cursor;
  bool m_IsSame = true;
};

}  // namespace zam
