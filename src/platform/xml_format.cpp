#include <string_view>

#include "platform/xml_document.h"

/// The indentation of what is added: read off the document, so that the tree and the file stay the
/// same thing.

namespace zam {

bool IsFormatting(pugi::xml_node node) {
  return node.type() == pugi::node_pcdata &&
         std::string_view(node.value()).find_first_not_of(" \t\n") == std::string_view::npos;
}

namespace {

/// The line break and indentation that a piece of white space ends with; empty without a line
/// break.
std::string LastLine(pugi::xml_node whiteSpace) {
  const std::string_view value = whiteSpace.value();
  const auto line = value.rfind('\n');
  return line == std::string_view::npos ? std::string() : std::string(value.substr(line));
}

}  // namespace
}  // namespace zam

void ZAMXmlDocument::LearnIndentation() {
  const pugi::xml_node first = Root().first_child();
  m_Lines =
      first && zam::IsFormatting(first) && first.next_sibling() && !zam::LastLine(first).empty();
  m_IndentUnit = m_Lines ? zam::LastLine(first).substr(1) : std::string();
}

ZAMXmlDocument::Formatting ZAMXmlDocument::FormattingFor(pugi::xml_node parent) {
  const auto emptied = m_Emptied.find(parent.internal_object());
  if (emptied != m_Emptied.end()) {
    return emptied->second;
  }
  if (!m_Lines || parent.type() != pugi::node_element) {
    return {};
  }
  std::string own = "\n";
  if (parent != Root()) {
    const pugi::xml_node before = parent.previous_sibling();
    own = before && zam::IsFormatting(before) ? zam::LastLine(before) : std::string();
    if (own.empty()) {
      return {};
    }
  }
  return {own + m_IndentUnit, own};
}

void ZAMXmlDocument::RememberFormatting(pugi::xml_node parent) {
  const pugi::xml_node first = parent.first_child();
  const pugi::xml_node last = parent.last_child();
  if (!first || !first.next_sibling()) {
    return;
  }
  Formatting formatting;
  if (zam::IsFormatting(first)) {
    formatting.m_BeforeChild = first.value();
  }
  if (zam::IsFormatting(last)) {
    formatting.m_BeforeEnd = last.value();
  }
  m_Emptied.insert_or_assign(parent.internal_object(), std::move(formatting));
}
