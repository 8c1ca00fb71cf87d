#include <algorithm>

#include "platform/utf.h"
#include "platform/xml/document.h"
#include "platform/xml/format.h"
#include "zamxml/platform/error.h"

/// The text of an element: how it is put together from pieces, and how it is stored so that it
/// comes back unchanged.

namespace {

/// Whether a node is a piece of its parent's text.
bool IsText(pugi::xml_node node, bool elements) {
  return node.type() == pugi::node_cdata ||
         (node.type() == pugi::node_pcdata && !(elements && zam::IsFormatting(node)));
}

/// Stores a text in CDATA sections, which nobody takes for formatting and which do not run into the
/// white space that follows. What CDATA cannot hold is cut in two ("]]>") or becomes text between
/// two sections (a carriage return, written as a reference).
void InsertProtected(zam::Insertion& insertion, pugi::xml_node front, const std::string& text) {
  for (std::size_t position = 0; position < text.size();) {
    const std::size_t end = std::min(text.find('\r', position), text.size());
    while (position < end) {
      const std::string_view run(text.data() + position, end - position);
      const std::size_t cut = run.find("]]>");
      const std::size_t next = cut != run.npos ? position + cut + 2 : end;
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

/// Whether a text would be taken for formatting.
bool IsBlank(std::string_view text) {
  return text.find_first_not_of(" \t\n") == std::string_view::npos;
}

void InsertText(zam::Insertion& insertion, pugi::xml_node front, const std::string& text,
                bool elements) {
  if (elements || zam::TextTypeOf(text) == pugi::node_cdata) {
    InsertProtected(insertion, front, text);
  } else {
    insertion.Before(front, pugi::node_pcdata, text);
  }
}

}  // namespace

pugi::xml_node_type zam::TextTypeOf(std::string_view text) {
  return IsBlank(text) ? pugi::node_cdata : pugi::node_pcdata;
}

std::string_view ZAMXmlDocument::Text(pugi::xml_node element, std::string& joined) {
  const pugi::xml_node first = element.first_child();
  if (zam::StructureOf(first) == nullptr) {
    return {};
  }
  if (zam::StructureOf(first.next_sibling()) == nullptr) {
    const pugi::xml_node_type type = first.type();
    return type == pugi::node_pcdata || type == pugi::node_cdata ? first.value() : "";
  }
  const bool elements = zam::HasElements(element);
  joined.clear();
  for (const pugi::xml_node child : element.children()) {
    if (IsText(child, elements)) {
      joined += child.value();
    }
  }
  return joined;
}

_bstr_t ZAMXmlDocument::Shared(std::string_view bytes) {
  constexpr std::size_t Longest = 32;
  if (bytes.empty() || bytes.size() > Longest) {
    return _bstr_t::FromUtf8(bytes);
  }
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  const std::size_t sum = bytes.size() * 11 + byte(0) * 7U + byte(bytes.size() / 2) * 31U +
                          byte(bytes.size() - 1) * 127U;
  _bstr_t& last = m_LastTexts[sum % m_LastTexts.size()];
  if (!last || !zam::IsSame(last.view(), bytes)) {
    last = _bstr_t::FromUtf8(bytes);
  }
  return last;
}

void ZAMXmlDocument::SetText(pugi::xml_node element, const std::string& text) {
  RequireNodes(element);
  zam::ElementMemory* const known = FindMemory(element);
  pugi::xml_node only = element.first_child();
  if (only && !only.next_sibling() && only.type() == pugi::node_pcdata && !IsBlank(text) &&
      (known == nullptr || !known->m_Text)) {
    // One plain text in the place of another.
    if (!only.set_value(text.c_str(), text.size())) {
      throw _com_error(E_OUTOFMEMORY);
    }
    if (known != nullptr) {
      known->m_Blank.reset();
    }
    return;
  }
  const bool elements = zam::HasElements(element);
  RememberText(element, elements);
  zam::Nodes replaced;
  zam::Nodes others;
  for (const pugi::xml_node child : element.children()) {
    (IsText(child, elements) ? replaced : others).push_back(child);
  }
  zam::ElementMemory* const memory = FindMemory(element);
  const zam::TextLayout* const layout =
      memory != nullptr && memory->m_Text ? &*memory->m_Text : nullptr;
  zam::Insertion insertion(element);
  if (layout != nullptr && layout->m_Text == text && Fits(*layout, others)) {
    for (const zam::TextLayout::Piece& piece : layout->m_Pieces) {
      insertion.Before(piece.m_Before < others.size() ? others[piece.m_Before] : pugi::xml_node(),
                       piece.m_Type, piece.m_Value);
    }
  } else {
    InsertText(insertion, element.first_child(), text, elements);
  }
  insertion.Keep();
  if (memory != nullptr) {
    memory->m_Blank.reset();
  }
  for (const pugi::xml_node piece : replaced) {
    element.remove_child(piece);
  }
}

bool ZAMXmlDocument::Fits(const zam::TextLayout& layout, const zam::Nodes& others) {
  if (layout.m_Others != others.size()) {
    return false;
  }
  // White space next to a text would become a part of it.
  const std::vector<zam::TextLayout::Piece>& pieces = layout.m_Pieces;
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
  // What would be stored anew as it is need not be remembered.
  const std::string_view value = first.value();
  const bool isAsAnew = first.type() != pugi::node_cdata || (!value.empty() && IsBlank(value));
  const bool plain = !first.next_sibling() && isAsAnew;
  const zam::ElementMemory* const memory = FindMemory(element);
  if (plain || (memory != nullptr && memory->m_Text)) {
    return;
  }
  zam::TextLayout layout;
  for (const pugi::xml_node child : element.children()) {
    if (IsText(child, elements)) {
      layout.m_Text += child.value();
      layout.m_Pieces.push_back({child.type(), child.value(), layout.m_Others});
    } else {
      ++layout.m_Others;
    }
  }
  if (!layout.m_Pieces.empty()) {
    Memory(element).m_Text = std::move(layout);
  }
}
