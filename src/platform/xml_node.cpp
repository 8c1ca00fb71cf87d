#include <utility>

#include "platform/xml_document.h"
#include "zamxml/platform/error.h"

IXMLDOMNodePtr::IXMLDOMNodePtr() noexcept = default;
IXMLDOMNodePtr::IXMLDOMNodePtr(std::nullptr_t) noexcept {}
IXMLDOMNodePtr::IXMLDOMNodePtr(std::shared_ptr<ZAMXmlNode> node) noexcept
    : m_Node(std::move(node)) {}
IXMLDOMNodePtr::IXMLDOMNodePtr(const IXMLDOMNodePtr&) noexcept = default;
IXMLDOMNodePtr::IXMLDOMNodePtr(IXMLDOMNodePtr&&) noexcept = default;
IXMLDOMNodePtr& IXMLDOMNodePtr::operator=(const IXMLDOMNodePtr&) noexcept = default;
IXMLDOMNodePtr& IXMLDOMNodePtr::operator=(IXMLDOMNodePtr&&) noexcept = default;
IXMLDOMNodePtr::~IXMLDOMNodePtr() = default;

IXMLDOMNodePtr::operator bool() const noexcept {
  return m_Node != nullptr && m_Node->m_Document != nullptr;
}

bool operator==(const IXMLDOMNodePtr& left, const IXMLDOMNodePtr& right) noexcept {
  return left ? left.m_Node == right.m_Node : !right;
}

void IXMLDOMNodePtr::Release() {
  const bool alive = static_cast<bool>(*this);
  m_Node.reset();
  if (!alive) {
    throw _com_error(E_POINTER);
  }
}
