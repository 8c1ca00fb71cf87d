#include "platform/xml_document.h"

#include "platform/xml_insertion.h"
#include "zamxml/platform/error.h"

namespace zam {

int DepthOf(pugi::xml_node node) {
  int depth = 0;
  for (; node.type() == pugi::node_element; node = node.parent()) {
    ++depth;
  }
  return depth;
}

bool HasElements(pugi::xml_node node) { return static_cast<bool>(ElementFrom(node.first_child())); }

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
    m_Blanks.erase(node.internal_object());
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

void ZAMXmlDocument::MakeEmpty() {
  pugi::xml_node declaration = m_Tree.append_child(pugi::node_declaration);
  if (!declaration || !declaration.append_attribute("version").set_value("1.0") ||
      !m_Tree.append_child(pugi::node_pcdata).set_value("\n")) {
    throw _com_error(E_OUTOFMEMORY);
  }
}

void ZAMXmlDocument::AddRoot(const std::string& name) {
  zam::Insertion insertion(m_Tree);
  insertion.Before({}, pugi::node_element, name);
  insertion.Before({}, pugi::node_pcdata, "\n");
  insertion.Keep();
}

pugi::xml_node ZAMXmlDocument::AddElement(pugi::xml_node parent, const std::string& name) {
  if (zam::DepthOf(parent) >= zam::MaximumDepth) {
    return {};
  }
  const pugi::xml_node last = parent.last_child();
  const bool lastFormats = last && zam::IsFormatting(last);
  const bool blank = lastFormats && !last.previous_sibling();
  const Formatting formatting = FormattingFor(parent);
  const pugi::xml_node place = lastFormats && !blank ? last : pugi::xml_node();
  zam::Insertion insertion(parent);
  if (!formatting.m_BeforeChild.empty()) {
    insertion.Before(place, pugi::node_pcdata, formatting.m_BeforeChild);
  }
  const pugi::xml_node element = insertion.Before(place, pugi::node_element, name);
  if (!formatting.m_BeforeEnd.empty()) {
    insertion.Before(place, pugi::node_pcdata, formatting.m_BeforeEnd);
  }
  if (blank) {
    m_Blanks.insert_or_assign(parent.internal_object(), last.value());
    parent.remove_child(last);
  }
  insertion.Keep();
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
    RemoveElement(parent, child);
  }
  DropFormatting(parent);
}

void ZAMXmlDocument::RemoveElements(pugi::xml_node parent, const std::string& name, int first,
                                    int count) {
  m_Finder.Forget(parent);
  pugi::xml_node child = zam::ElementFrom(parent.first_child());
  for (int index = 0; child;) {
    const pugi::xml_node next = zam::ElementFrom(child.next_sibling());
    if (name == child.name() && index++ >= first) {
      if (count-- > 0) {
        RemoveElement(parent, child);
      } else if (const auto handle = m_Handles.find(child.internal_object());
                 handle != m_Handles.end()) {
        handle->second->m_Index = -1;
      }
    }
    child = next;
  }
  DropFormatting(parent);
}

void ZAMXmlDocument::RemoveElement(pugi::xml_node parent, pugi::xml_node child) {
  Forget(child, true);
  const pugi::xml_node before = child.previous_sibling();
  const pugi::xml_node behind = child.next_sibling();
  if (before && zam::IsFormatting(before)) {
    parent.remove_child(before);
  } else if (before.type() == pugi::node_pcdata && behind && zam::IsFormatting(behind)) {
    // White space next to a text would become a part of it.
    parent.remove_child(behind);
  }
  parent.remove_child(child);
}

void ZAMXmlDocument::RemoveContent(pugi::xml_node parent) {
  RememberFormatting(parent);
  Forget(parent, false);
  m_Finder.Forget(parent);
  m_TextLayouts.erase(parent.internal_object());
  m_Blanks.erase(parent.internal_object());
  parent.remove_children();
}
