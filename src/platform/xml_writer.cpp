#include "platform/xml_writer.h"

#include <string_view>

namespace zam {
namespace {

/// Appends a text, each of the special characters as a reference.
void AppendEscaped(std::string& out, std::string_view text, const char* special) {
  for (;;) {
    const auto position = text.find_first_of(special);
    out += text.substr(0, position);
    if (position == std::string_view::npos) {
      return;
    }
    switch (text[position]) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\t':
        out += "&#9;";
        break;
      case '\n':
        out += "&#10;";
        break;
      default:
        out += "&#13;";
        break;
    }
    text.remove_prefix(position + 1);
  }
}

void AppendText(std::string& out, std::string_view text) { AppendEscaped(out, text, "&<>\r"); }

void AppendAttributes(std::string& out, pugi::xml_node node) {
  for (const pugi::xml_attribute attribute : node.attributes()) {
    out.append(" ").append(attribute.name()).append("=\"");
    AppendEscaped(out, attribute.value(), "&<>\"\t\n\r");
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
      AppendText(out, node.value());
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
