#include <utility>

#include "platform/xml/document.h"
#include "zamxml/platform/error.h"

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
