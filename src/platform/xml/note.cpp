#include "platform/xml/note.h"

#include <utility>

#include "platform/xml/document.h"
#include "zamxml/platform/error.h"

/// Handles, and the notes that they refer to.

IXMLDOMNodePtr::IXMLDOMNodePtr() noexcept = default;
IXMLDOMNodePtr::IXMLDOMNodePtr(std::nullptr_t) noexcept {}
IXMLDOMNodePtr::IXMLDOMNodePtr(ZAMXmlNode* node) noexcept : m_Node(node) {
  if (m_Node != nullptr) {
    ++m_Node->m_References;
  }
}
IXMLDOMNodePtr::IXMLDOMNodePtr(const IXMLDOMNodePtr& other) noexcept
    : IXMLDOMNodePtr(other.m_Node) {}
IXMLDOMNodePtr::IXMLDOMNodePtr(IXMLDOMNodePtr&& other) noexcept
    : m_Node(std::exchange(other.m_Node, nullptr)) {}
IXMLDOMNodePtr& IXMLDOMNodePtr::operator=(IXMLDOMNodePtr other) noexcept {
  std::swap(m_Node, other.m_Node);
  return *this;
}
IXMLDOMNodePtr::~IXMLDOMNodePtr() {
  if (m_Node != nullptr && --m_Node->m_References == 0) {
    ZAMXmlDocument::Release(m_Node);
  }
}

IXMLDOMNodePtr::operator bool() const noexcept {
  return m_Node != nullptr && m_Node->m_Document != nullptr;
}

bool operator==(const IXMLDOMNodePtr& left, const IXMLDOMNodePtr& right) noexcept {
  return left ? left.m_Node == right.m_Node : !right;
}

void IXMLDOMNodePtr::Release() {
  const bool alive = static_cast<bool>(*this);
  *this = nullptr;
  if (!alive) {
    throw _com_error(E_POINTER);
  }
}

ZAMXmlNode* ZAMXmlDocument::FindNote(pugi::xml_node element) const noexcept {
  const auto note = m_Notes.find(element.internal_object());
  return note != m_Notes.end() ? note->second : nullptr;
}

ZAMXmlNode& ZAMXmlDocument::Note(pugi::xml_node element) {
  ZAMXmlNode*& note = m_Notes[element.internal_object()];
  if (note == nullptr) {
    try {
      note = new ZAMXmlNode(*this, element);
    } catch (...) {
      m_Notes.erase(element.internal_object());
      throw;
    }
  }
  return *note;
}

zam::ElementMemory* ZAMXmlDocument::FindMemory(pugi::xml_node element) const noexcept {
  const ZAMXmlNode* note = FindNote(element);
  return note != nullptr ? note->m_Memory.get() : nullptr;
}

zam::ElementMemory& ZAMXmlDocument::Memory(pugi::xml_node element) {
  auto memory = FindMemory(element) == nullptr ? std::make_unique<zam::ElementMemory>() : nullptr;
  ZAMXmlNode& note = Note(element);
  if (memory) {
    note.m_Memory = std::move(memory);
  }
  return *note.m_Memory;
}

IXMLDOMNodePtr ZAMXmlDocument::Handle(pugi::xml_node node, int index) {
  if (!node) {
    return {};
  }
  ZAMXmlNode& note = Note(node);
  if (note.m_References == 0) {
    note.m_Index = index;
  }
  return IXMLDOMNodePtr(&note);
}

void ZAMXmlDocument::Release(ZAMXmlNode* note) noexcept {
  if (note->m_Document != nullptr) {
    if (note->m_Memory) {
      return;
    }
    note->m_Document->m_Notes.erase(note->m_Node.internal_object());
  }
  delete note;
}

void ZAMXmlDocument::Forget(pugi::xml_node element) noexcept {
  const auto found = m_Notes.find(element.internal_object());
  if (found == m_Notes.end()) {
    return;
  }
  ZAMXmlNode* const note = found->second;
  m_Notes.erase(found);
  note->m_Document = nullptr;
  note->m_Memory.reset();
  if (note->m_References == 0) {
    delete note;
  }
}

void ZAMXmlDocument::Forget(pugi::xml_node subtree, bool itself) noexcept {
  m_LastWalk = {};
  if (m_Raw && zam::IsInside(m_Raw->m_Parent, subtree)) {
    m_Raw.reset();
  }
  pugi::xml_node node = subtree;
  while (!m_Notes.empty()) {
    if (node.type() == pugi::node_element && (itself || node != subtree)) {
      Forget(node);
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
