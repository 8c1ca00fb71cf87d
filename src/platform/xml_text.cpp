#include <algorithm>

#include "platform/xml_document.h"
#include "platform/xml_insertion.h"

/// The text of an element: how it is put together from pieces, and how it is stored so that it
/// comes back unchanged.

namespace {

/// Whether a node is a piece of its parent's text.
bool IsText(pugi::xml_node node, bool elements) {
  return node.type() == pugi::node_cdata ||
         (node.type() == pugi::node_pcdata && !(elements && zam::IsFormatting(node)));
}

/// Stores a text in CDATA sections, which nobody takes for formatting and which do not run into the
/// white space that follows. What CDATA cannot hold is cut in two ("]]>") or stands as text between
/// two sections (a carriage return, written as a reference).
void InsertProtected(zam::Insertion& insertion, pugi::xml_node front, const std::string& text) {
  for (std::size_t position = 0; position < text.size();) {
    const std::size_t end = std::min(text.find('\r', position), text.size());
    while (position < end) {
      const std::size_t cut = text.find("]]>", position);
      const std::size_t next = cut < end ? cut + 2 : end;
      insertion.Before(front, pugi::node_cdata, text.substr(position, next - position));
      position = next;
    }
    const std::size_t behind = std::min(text.find_first_not_of('\r', end), text.size());
    if (end < behind) {
      insertion.Before(front, pugi::node_pcdata, text.substr(end, behind - end));
      position = behind;
      if (behind == text.size()) {
        insertion.Before(front, pugi::node_cdata, std::string());
      }
    }
  }
}

void InsertText(zam::Insertion& insertion, pugi::xml_node front, const std::string& text,
                bool elements) {
  if (elements || text.find_first_not_of(" \t\n") == std::string::npos) {
    InsertProtected(insertion, front, text);
  } else {
    insertion.Before(front, pugi::node_pcdata, text);
  }
}

}  // namespace

std::string ZAMXmlDocument::Text(pugi::xml_node element) const {
  const pugi::xml_node first = element.first_child();
  if (!first.next_sibling()) {
    return first && IsText(first, false) ? first.value() : "";
  }
  const bool elements = zam::HasElements(element);
  std::string text;
  for (const pugi::xml_node child : element.children()) {
    if (IsText(child, elements)) {
      text += child.value();
    }
  }
  return text;
}

void ZAMXmlDocument::SetText(pugi::xml_node element, const std::string& text) {
  const bool elements = zam::HasElements(element);
  RememberText(element, elements);
  std::vector<pugi::xml_node> replaced;
  std::vector<pugi::xml_node> others;
  for (const pugi::xml_node child : element.children()) {
    (IsText(child, elements) ? replaced : others).push_back(child);
  }
  const auto layout = m_TextLayouts.find(element.internal_object());
  zam::Insertion insertion(element);
  if (layout != m_TextLayouts.end() && layout->second.m_Text == text &&
      Fits(layout->second, others)) {
    for (const TextPiece& piece : layout->second.m_Pieces) {
      insertion.Before(piece.m_Before < others.size() ? others[piece.m_Before] : pugi::xml_node(),
                       piece.m_Type, piece.m_Value);
    }
  } else {
    InsertText(insertion, element.first_child(), text, elements);
  }
  insertion.Keep();
  m_Blanks.erase(element.internal_object());
  for (const pugi::xml_node piece : replaced) {
    element.remove_child(piece);
  }
}

bool ZAMXmlDocument::Fits(const TextLayout& layout, const std::vector<pugi::xml_node>& others) {
  if (layout.m_Others != others.size()) {
    return false;
  }
  // White space next to a text would become a part of it.
  const std::vector<TextPiece>& pieces = layout.m_Pieces;
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    const std::size_t place = pieces[i].m_Before;
    const bool first = i == 0 || pieces[i - 1].m_Before != place;
    const bool last = i + 1 == pieces.size() || pieces[i + 1].m_Before != place;
    if (pieces[i].m_Type == pugi::node_pcdata &&
        ((first && place > 0 && zam::IsFormatting(others[place - 1])) ||
         (last && place < others.size() && zam::IsFormatting(others[place])))) {
      return false;
    }
  }
  return true;
}

void ZAMXmlDocument::RememberText(pugi::xml_node element, bool elements) {
  const pugi::xml_node first = element.first_child();
  const bool plain = !first.next_sibling() && first.type() != pugi::node_cdata;
  if (plain || m_TextLayouts.contains(element.internal_object())) {
    return;
  }
  TextLayout layout;
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
