#include "platform/xml_document.h"

#include <new>
#include <utility>

#include "zamxml/platform/error.h"

namespace zam {

int DepthOf(pugi::xml_node node) {
  int depth = 0;
  for (; node.type() == pugi::node_element; node = node.parent()) {
    ++depth;
  }
  return depth;
}

pugi::xml_node ElementFrom(pugi::xml_node node) {
  while (node && node.type() != pugi::node_element) {
    node = node.next_sibling();
  }
  return node;
}

}  // namespace zam

ZAMXmlNode::ZAMXmlNode(ZAMXmlDocument& document, pugi::xml_node node, int index)
    : m_Document(&document), m_Node(node), m_Index(index) {
  m_Document->m_Handles.emplace(node.internal_object(), this);
}

ZAMXmlNode::~ZAMXmlNode() {
  if (m_Document != nullptr) {
    m_Document->m_Handles.erase(m_Node.internal_object());
  }
}

ZAMXmlDocument::~ZAMXmlDocument() {
  for (const auto& [node, handle] : m_Handles) {
    handle->m_Document = nullptr;
  }
}

IXMLDOMNodePtr ZAMXmlDocument::Handle(pugi::xml_node node, int index) {
  if (!node) {
    return {};
  }
  const auto known = m_Handles.find(node.internal_object());
  if (known != m_Handles.end()) {
    return IXMLDOMNodePtr(known->second->shared_from_this());
  }
  return IXMLDOMNodePtr(std::make_shared<ZAMXmlNode>(*this, node, index));
}

void ZAMXmlDocument::Forget(pugi::xml_node subtree, bool itself) {
  const auto forget = [this](pugi::xml_node node) {
    m_Finder.Forget(node);
    m_Emptied.erase(node.internal_object());
    m_TextLayouts.erase(node.internal_object());
    const auto handle = m_Handles.find(node.internal_object());
    if (handle != m_Handles.end()) {
      handle->second->m_Document = nullptr;
      m_Handles.erase(handle);
    }
  };
  pugi::xml_node node = subtree;
  for (;;) {
    if (node.type() == pugi::node_element && (itself || node != subtree)) {
      forget(node);
    }
    if (node.first_child()) {
      node = node.first_child();
      continue;
    }
    while (node != subtree && !node.next_sibling()) {
      node = node.parent();
    }
    if (node == subtree) {
      return;
    }
    node = node.next_sibling();
  }
}

namespace {

void Check(bool done) {
  if (!done) {
    throw _com_error(E_OUTOFMEMORY);
  }
}

}  // namespace

void ZAMXmlDocument::MakeEmpty() {
  pugi::xml_node declaration = m_Tree.append_child(pugi::node_declaration);
  Check(declaration && declaration.append_attribute("version").set_value("1.0") &&
        m_Tree.append_child(pugi::node_pcdata).set_value("\n"));
}

void ZAMXmlDocument::AddRoot(const std::string& name) {
  Check(m_Tree.append_child(pugi::node_element).set_name(name.c_str()) &&
        m_Tree.append_child(pugi::node_pcdata).set_value("\n"));
}

pugi::xml_node ZAMXmlDocument::AddElement(pugi::xml_node parent, const std::string& name) {
  if (zam::DepthOf(parent) >= zam::MaximumDepth) {
    return {};
  }
  const pugi::xml_node last = parent.last_child();
  const bool lastFormats = last && zam::IsFormatting(last);
  pugi::xml_node element;
  if (!last || (lastFormats && !last.previous_sibling())) {
    const Formatting formatting = FormattingFor(parent);
    if (last) {
      parent.remove_child(last);
    }
    if (!formatting.m_BeforeChild.empty()) {
      Check(parent.append_child(pugi::node_pcdata).set_value(formatting.m_BeforeChild.c_str()));
    }
    element = parent.append_child(pugi::node_element);
    if (!formatting.m_BeforeEnd.empty()) {
      Check(parent.append_child(pugi::node_pcdata).set_value(formatting.m_BeforeEnd.c_str()));
    }
  } else {
    const pugi::xml_node sibling = lastFormats ? last.previous_sibling() : last;
    const pugi::xml_node before = sibling.previous_sibling();
    const bool indented =
        before && zam::IsFormatting(before) && sibling.type() != pugi::node_pcdata;
    element = parent.insert_child_after(pugi::node_element, sibling);
    if (element && indented) {
      Check(parent.insert_child_before(pugi::node_pcdata, element).set_value(before.value()));
    }
  }
  Check(element.set_name(name.c_str()));
  m_Emptied.erase(parent.internal_object());
  m_Finder.Added(element);
  return element;
}

void ZAMXmlDocument::RemoveElements(pugi::xml_node parent, const std::string& name) {
  const std::vector<pugi::xml_node> children = m_Finder.All(parent, name);
  if (children.empty()) {
    return;
  }
  RememberFormatting(parent);
  m_Finder.Removing(parent, name);
  for (const pugi::xml_node child : children) {
    Forget(child, true);
    const pugi::xml_node before = child.previous_sibling();
    if (before && zam::IsFormatting(before)) {
      parent.remove_child(before);
    }
    parent.remove_child(child);
  }
  const pugi::xml_node rest = parent.first_child();
  if (rest && rest == parent.last_child() && zam::IsFormatting(rest)) {
    parent.remove_child(rest);
  }
  if (parent.first_child()) {
    m_Emptied.erase(parent.internal_object());
  }
}

void ZAMXmlDocument::RemoveContent(pugi::xml_node parent) {
  RememberFormatting(parent);
  Forget(parent, false);
  m_Finder.Forget(parent);
  m_TextLayouts.erase(parent.internal_object());
  parent.remove_children();
}
