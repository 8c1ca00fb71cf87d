#include "platform/xml/format.h"

#include <string>

#include "platform/xml/document.h"
#include "zamxml/platform/error.h"

/// The indentation of what is added: read off the document, so that the tree and the file stay the
/// same thing.

namespace zam {

bool IsFormatting(pugi::xml_node node) {
  return node.type() == pugi::node_pcdata &&
         std::string_view(node.value()).find_first_not_of(" \t\n") == std::string_view::npos;
}

std::string_view LastLine(pugi::xml_node whiteSpace) {
  const std::string_view value = whiteSpace.value();
  const auto line = value.rfind('\n');
  return line == std::string_view::npos ? std::string_view() : value.substr(line);
}

Insertion::~Insertion() {
  for (const pugi::xml_node node : m_Nodes) {
    m_Parent.remove_child(node);
  }
}

pugi::xml_node Insertion::Before(pugi::xml_node place, pugi::xml_node_type type,
                                 std::string_view content) {
  m_Nodes.emplace_back();
  pugi::xml_node& node = m_Nodes.back();
  node = place ? m_Parent.insert_child_before(type, place) : m_Parent.append_child(type);
  if (!(type == pugi::node_element ? node.set_name(std::string(content).c_str())
                                   : node.set_value(content.data(), content.size()))) {
    throw _com_error(E_OUTOFMEMORY);
  }
  return node;
}

}  // namespace zam

void ZAMXmlDocument::LearnIndentation() {
  const pugi::xml_node first = Root().first_child();
  m_Lines =
      first && zam::IsFormatting(first) && first.next_sibling() && !zam::LastLine(first).empty();
  m_IndentUnit = m_Lines ? std::string(zam::LastLine(first).substr(1)) : std::string();
}

zam::Formatting ZAMXmlDocument::FormattingFor(pugi::xml_node parent) {
  const pugi::xml_node last = parent.last_child();
  const bool lastFormats = last && zam::IsFormatting(last);
  const bool first = !last || (lastFormats && !last.previous_sibling());
  const zam::ElementMemory* const memory = FindMemory(parent);
  if (memory != nullptr && memory->m_Emptied) {
    // White space next to a text would become a part of it.
    const bool behindText = !first && !lastFormats && last.type() == pugi::node_pcdata;
    const bool putBack = !memory->m_Emptied->m_Others.m_Pieces.empty();
    return {behindText ? "" : memory->m_Emptied->m_BeforeChild,
            putBack ? "" : memory->m_Emptied->m_BeforeEnd};
  }
  if (!first) {
    const pugi::xml_node sibling = lastFormats ? last.previous_sibling() : last;
    const pugi::xml_node before = sibling.previous_sibling();
    const bool indented =
        before && zam::IsFormatting(before) && sibling.type() != pugi::node_pcdata;
    return {indented ? before.value() : "", ""};
  }
  if (!m_Lines || parent.type() != pugi::node_element) {
    return {};
  }
  std::string own = "\n";
  if (parent != Root()) {
    const pugi::xml_node before = parent.previous_sibling();
    own = before && zam::IsFormatting(before) ? zam::LastLine(before) : std::string_view();
    if (own.empty()) {
      return {};
    }
  }
  return {own + m_IndentUnit, own};
}

void ZAMXmlDocument::RememberFormatting(pugi::xml_node parent, std::string_view name) {
  const pugi::xml_node first = zam::ElementFrom(parent.first_child());
  const pugi::xml_node before = first.previous_sibling();
  const pugi::xml_node last = parent.last_child();
  if (!first) {
    return;
  }
  zam::Formatting formatting;
  if (before && zam::IsFormatting(before)) {
    formatting.m_BeforeChild = before.value();
  }
  if (zam::IsFormatting(last)) {
    formatting.m_BeforeEnd = last.value();
  }
  zam::TextLayout& others = formatting.m_Others;
  for (pugi::xml_node child = parent.first_child(); child && !name.empty();
       child = child.next_sibling()) {
    if (zam::IsFormatting(child)) {
      if (!zam::IsElement(child.next_sibling(), name)) {
        others.m_Pieces.push_back({pugi::node_pcdata, child.value(), others.m_Others});
      }
    } else if (!zam::IsElement(child, name)) {
      if (child.type() == pugi::node_element) {
        return;
      }
      ++others.m_Others;
    }
  }
  Memory(parent).m_Emptied = std::move(formatting);
}

void ZAMXmlDocument::PutBackFormatting(pugi::xml_node parent, zam::Insertion& insertion) {
  const zam::ElementMemory* const memory = FindMemory(parent);
  if (memory == nullptr || !memory->m_Emptied || memory->m_Emptied->m_Others.m_Pieces.empty()) {
    return;
  }
  const zam::TextLayout& layout = memory->m_Emptied->m_Others;
  const zam::Nodes others(parent.children().begin(), parent.children().end());
  if (others.size() != layout.m_Others) {
    return;
  }
  for (const zam::TextLayout::Piece& piece : layout.m_Pieces) {
    insertion.Before(piece.m_Before < others.size() ? others[piece.m_Before] : pugi::xml_node(),
                     piece.m_Type, piece.m_Value);
  }
}

void ZAMXmlDocument::DropFormatting(pugi::xml_node parent) {
  zam::ElementMemory* const memory = FindMemory(parent);
  const auto forgetEmptied = [memory] {
    if (memory != nullptr) {
      memory->m_Emptied.reset();
    }
  };
  if (zam::HasElements(parent)) {
    forgetEmptied();
    return;
  }
  const auto isContent = [](pugi::xml_node node) { return !zam::IsFormatting(node); };
  const bool content = parent.find_child(isContent);
  const auto isText = [&](pugi::xml_node node) {
    return node.type() == pugi::node_cdata || (node.type() == pugi::node_pcdata && isContent(node));
  };
  const bool text = parent.find_child(isText);
  if (content && !text && memory != nullptr && memory->m_Blank) {
    // It is text again, as it was before the first child came.
    forgetEmptied();
    return;
  }
  if ((!content || text) && memory != nullptr && memory->m_Emptied) {
    memory->m_Emptied->m_Others = {};
  }
  // Without child elements around it, white space would be taken for a part of the text.
  for (pugi::xml_node child = parent.first_child(); child;) {
    const pugi::xml_node next = child.next_sibling();
    if (zam::IsFormatting(child)) {
      parent.remove_child(child);
    }
    child = next;
  }
  if (!content && memory != nullptr && memory->m_Blank && !memory->m_Blank->empty()) {
    zam::Insertion insertion(parent);
    insertion.Before({}, pugi::node_pcdata, *memory->m_Blank);
    insertion.Keep();
  }
}
