#include "platform/xml_writer.h"

#include <array>
#include <string_view>

namespace zam {
namespace {

/// What stands for a character in a text or an attribute; null where it stands for itself.
using References = std::array<const char*, 256>;

constexpr References TextReferences = [] {
  References references{};
  references['&'] = "&amp;";
  references['<'] = "&lt;";
  references['>'] = "&gt;";
  references['\r'] = "&#13;";
  return references;
}();

constexpr References AttributeReferences = [] {
  References references = TextReferences;
  references['"'] = "&quot;";
  references['\t'] = "&#9;";
  references['\n'] = "&#10;";
  return references;
}();

void AppendEscaped(std::string& out, std::string_view text, const References& references) {
  const char* run = text.data();
  const char* const end = run + text.size();
  for (const char* at = run; at != end; ++at) {
    if (const char* const reference = references[static_cast<unsigned char>(*at)]) {
      out.append(run, at).append(reference);
      run = at + 1;
    }
  }
  out.append(run, end);
}

void AppendAttributes(std::string& out, pugi::xml_node node) {
  for (pugi::xml_attribute attribute = node.first_attribute(); attribute;
       attribute = attribute.next_attribute()) {
    out.append(1, ' ').append(attribute.name()).append("=\"");
    AppendEscaped(out, attribute.value(), AttributeReferences);
    out += '"';
  }
}

void AppendDeclaration(std::string& out, pugi::xml_node declaration) {
  out += "<?xml version=\"1.0\" encoding=\"UTF-8\"";
  if (const pugi::xml_attribute standalone = declaration.attribute("standalone")) {
    out.append(" standalone=\"").append(standalone.value()).append("\"");
  }
  out += "?>";
}

/// What stands before the children of a node; all of it, when it has none.
void AppendStart(std::string& out, pugi::xml_node node) {
  switch (node.type()) {
    case pugi::node_element:
      out.append("<").append(node.name());
      AppendAttributes(out, node);
      out += node.first_child() ? ">" : "/>";
      break;
    case pugi::node_pcdata:
      AppendEscaped(out, node.value(), TextReferences);
      break;
    case pugi::node_cdata:
      out.append("<![CDATA[").append(node.value()).append("]]>");
      break;
    case pugi::node_comment:
      out.append("<!--").append(node.value()).append("-->");
      break;
    case pugi::node_pi:
      out.append("<?").append(node.name());
      if (*node.value() != '\0') {
        out.append(" ").append(node.value());
      }
      out += "?>";
      break;
    case pugi::node_declaration:
      AppendDeclaration(out, node);
      break;
    default:
      break;
  }
}

}  // namespace

std::string WriteDocument(const pugi::xml_document& tree) {
  std::string out;
  pugi::xml_node node = tree.first_child();
  while (node) {
    AppendStart(out, node);
    if (node.first_child()) {
      node = node.first_child();
      continue;
    }
    while (node != tree && !node.next_sibling()) {
      node = node.parent();
      if (node.type() == pugi::node_element) {
        out.append("</").append(node.name()).append(">");
      }
    }
    node = node.next_sibling();
  }
  return out;
}

}  // namespace zam
