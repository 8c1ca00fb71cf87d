#include <algorithm>
#include <array>

#include "platform/xml_document.h"
#include "zamxml/platform/error.h"

/// The text of an element: how it is put together from pieces, and how it is stored so that it
/// comes back unchanged.

namespace {

bool IsElement(pugi::xml_node node) { return node.type() == pugi::node_element; }

bool HasElements(pugi::xml_node element) {
  const auto children = element.children();
  return std::any_of(children.begin(), children.end(), IsElement);
}

/// Whether a node is a piece of its parent's text.
bool IsText(pugi::xml_node node, bool elements) {
  return node.type() == pugi::node_cdata ||
         (node.type() == pugi::node_pcdata && !(elements && zam::IsFormatting(node)));
}

pugi::xml_node Checked(pugi::xml_node node, const std::string& value) {
  if (!node || !node.set_value(value.c_str())) {
    throw _com_error(E_OUTOFMEMORY);
  }
  return node;
}

/// Puts pieces one after the other at the front of an element.
class FrontInserter {
public:
  explicit FrontInserter(pugi::xml_node element) : m_Element(element) {}

  void Insert(pugi::xml_node_type type, const std::string& value) {
    m_Last = Checked(
        m_Last ? m_Element.insert_child_after(type, m_Last) : m_Element.prepend_child(type), value);
  }

private:
  pugi::xml_node m_Element;
  pugi::xml_node m_Last;
};

/// Stores a text in CDATA sections, which nobody takes for formatting and which do not run into the
/// white space that follows. What CDATA cannot hold is cut in two ("]]>") or stands as text between
/// two sections (a carriage return, written as a reference).
void InsertProtected(FrontInserter& front, const std::string& text) {
  for (std::size_t position = 0; position < text.size();) {
    const std::size_t end = std::min(text.find('\r', position), text.size());
    while (position < end) {
      const std::size_t cut = text.find("]]>", position);
      const std::size_t next = cut < end ? cut + 2 : end;
      front.Insert(pugi::node_cdata, text.substr(position, next - position));
      position = next;
    }
    const std::size_t behind = std::min(text.find_first_not_of('\r', end), text.size());
    if (end < behind) {
      front.Insert(pugi::node_pcdata, text.substr(end, behind - end));
      position = behind;
      if (behind == text.size()) {
        front.Insert(pugi::node_cdata, std::string());
      }
    }
  }
}

}  // namespace

std::string ZAMXmlDocument::Text(pugi::xml_node element) const {
  const pugi::xml_node first = element.first_child();
  if (!first.next_sibling()) {
    return first && IsText(first, false) ? first.value() : "";
  }
  const bool elements = HasElements(element);
  std::string text;
  for (const pugi::xml_node child : element.children()) {
    if (IsText(child, elements)) {
      text += child.value();
    }
  }
  return text;
}

void ZAMXmlDocument::SetText(pugi::xml_node element, const std::string& text) {
  const bool elements = HasElements(element);
  RememberText(element, elements);
  int others = 0;
  for (pugi::xml_node child = element.first_child(); child;) {
    const pugi::xml_node next = child.next_sibling();
    if (IsText(child, elements)) {
      element.remove_child(child);
    } else {
      ++others;
    }
    child = next;
  }
  const auto layout = m_TextLayouts.find(element.internal_object());
  if (layout != m_TextLayouts.end() && layout->second.m_Text == text &&
      layout->second.m_Others == others) {
    RestoreText(element, layout->second);
  } else {
    InsertText(element, text, elements);
  }
}

void ZAMXmlDocument::InsertText(pugi::xml_node element, const std::string& text, bool elements) {
  if (text.empty()) {
    return;
  }
  FrontInserter front(element);
  if (elements || text.find_first_not_of(" \t\n") == std::string::npos) {
    InsertProtected(front, text);
  } else {
    front.Insert(pugi::node_pcdata, text);
  }
}

void ZAMXmlDocument::RememberText(pugi::xml_node element, bool elements) {
  const pugi::xml_node first = element.first_child();
  const bool plain = !first.next_sibling() && first.type() != pugi::node_cdata;
  if (plain || m_TextLayouts.contains(element.internal_object())) {
    return;
  }
  TextLayout layout;
  layout.m_Others = 0;
  for (const pugi::xml_node child : element.children()) {
    if (IsText(child, elements)) {
      layout.m_Text += child.value();
      layout.m_Pieces.push_back({child.type(), child.value(), layout.m_Others});
    } else {
      ++layout.m_Others;
    }
  }
  if (!layout.m_Pieces.empty()) {
    m_TextLayouts.emplace(element.internal_object(), std::move(layout));
  }
}

void ZAMXmlDocument::RestoreText(pugi::xml_node element, const TextLayout& layout) {
  pugi::xml_node other = element.first_child();
  int passed = 0;
  for (const TextPiece& piece : layout.m_Pieces) {
    for (; passed < piece.m_Before; ++passed) {
      other = other.next_sibling();
    }
    Checked(other ? element.insert_child_before(piece.m_Type, other)
                  : element.append_child(piece.m_Type),
            piece.m_Value);
  }
}
