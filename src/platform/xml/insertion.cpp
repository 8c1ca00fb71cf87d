#include "platform/xml/insertion.h"

#include <string>

#include "zamxml/platform/error.h"

namespace zam {

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
