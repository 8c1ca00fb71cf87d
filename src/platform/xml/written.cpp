#include "platform/xml/written.h"

#include "platform/utf.h"
#include "platform/xml/access.h"

namespace zam {

WrittenCursor::WrittenCursor(ZAMXml& xml, const IXMLDOMNodePtr& element)
    : WrittenCursor(xml.m_Document.get(), StructureOf(ZAMXml::Access{xml}.Present(element)), true) {
}

WrittenCursor::WrittenCursor(const ZAMXmlDocument* document, pugi::xml_node_struct* parent,
                             bool isOutermost) noexcept
    : m_Document(document), m_Parent(parent), m_IsOutermost(isOutermost) {
  const pugi::xml_node first = isOutermost ? NodeOf(m_Parent).first_child() : pugi::xml_node();
  m_Formats = first && IsFormatting(first);
  m_Line = m_Formats ? first.value() : "";
}

bool WrittenCursor::IsBeforeChild(pugi::xml_node node) const noexcept {
  const std::string_view value = node.value();
  return node.type() == pugi::node_pcdata && value.size() == m_Line.size() + m_Indentation.size() &&
         value.starts_with(m_Line) && value.ends_with(m_Indentation);
}

bool WrittenCursor::Next(const FieldName& name) noexcept {
  pugi::xml_node next =
      m_Child != nullptr ? NodeOf(m_Child).next_sibling() : NodeOf(m_Parent).first_child();
  if (m_Formats) {
    if (!IsBeforeChild(next)) {
      return false;
    }
    next = next.next_sibling();
  }
  if (!IsElement(next, name.view()) || next.first_attribute()) {
    return false;
  }
  m_Child = StructureOf(next);
  return true;
}

bool WrittenCursor::Holds(ZAMTextView text) const noexcept {
  const pugi::xml_node piece = NodeOf(m_Child).first_child();
  const bool empty = StructureOf(piece) == nullptr;
  if (empty || text.length() == 0) {
    return empty && text.length() == 0;
  }
  const std::string_view value = piece.value();
  return piece.type() == TextTypeOf(value) && !piece.next_sibling() && IsSame(text.view(), value);
}

WrittenCursor WrittenCursor::Inside() const noexcept {
  WrittenCursor inside(m_Document, m_Child, false);
  const pugi::xml_node before = pugi::xml_node(m_Child).previous_sibling();
  if (m_Document->m_Lines && before && IsFormatting(before)) {
    inside.m_Line = LastLine(before);
    inside.m_Indentation = m_Document->m_IndentUnit;
    inside.m_Formats = !inside.m_Line.empty();
  }
  return inside;
}

bool WrittenCursor::IsAtEnd() const noexcept {
  if (m_Child == nullptr) {
    return !pugi::xml_node(m_Parent).first_child();
  }
  const pugi::xml_node next = pugi::xml_node(m_Child).next_sibling();
  if (!next) {
    return m_IsOutermost || !m_Formats;
  }
  const bool ends = m_IsOutermost ? IsFormatting(next) : m_Formats && next.value() == m_Line;
  return ends && next.type() == pugi::node_pcdata && !next.next_sibling();
}

}  // namespace zam
