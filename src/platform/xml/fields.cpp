#include "platform/xml/fields.h"

#include "platform/codes.h"
#include "platform/utf.h"
#include "platform/xml/access.h"

namespace zam {

FieldCursor::FieldCursor(ZAMXml& xml, const IXMLDOMNodePtr& element)
    : FieldCursor(xml, StructureOf(ZAMXml::Access{xml}.Present(element))) {}

FieldCursor FieldCursor::Below(const FieldName& name) {
  return ZAMXml::Access{*m_Xml}.Allocating(
      [&] { return FieldCursor(*m_Xml, StructureOf(Find(name))); });
}

FieldCursor FieldCursor::Next(const FieldName& name) const noexcept {
  pugi::xml_node next = ElementFrom(NodeOf(m_Element).next_sibling());
  while (StructureOf(next) != nullptr && !IsNamed(next.name(), name.view())) {
    next = ElementFrom(next.next_sibling());
  }
  return {*m_Xml, StructureOf(next)};
}

pugi::xml_node FieldCursor::Find(const FieldName& name) {
  if (m_Last != nullptr && IsNamed(m_LastName, name.view())) {
    return NodeOf(m_Last);
  }
  if (m_InOrder) {
    const pugi::xml_node next = NextElement();
    if (StructureOf(next) == nullptr) {
      return next;
    }
    const char* const nextName = next.name();
    if (IsNamed(nextName, name.view())) {
      m_Last = StructureOf(next);
      m_LastName = nextName;
      return next;
    }
  }
  const pugi::xml_node parent = NodeOf(m_Element);
  const pugi::xml_node found =
      m_Element != nullptr ? m_Xml->m_Document->Child(parent, name.view(), 0) : parent;
  if (StructureOf(found) != nullptr) {
    m_InOrder = false;
    m_Last = StructureOf(found);
    m_LastName = found.name();
  }
  return found;
}

pugi::xml_node FieldCursor::FindOrAdd(const FieldName& name) {
  pugi::xml_node child = Find(name);
  if (!child && m_Element != nullptr) {
    const pugi::xml_node parent(m_Element);
    const bool behindLast = HasSeenAll();
    child = m_Xml->m_Document->AddElement(parent, name.view());
    m_InOrder = behindLast;
    m_Last = StructureOf(child);
    m_LastName = child.name();
  }
  if (!child) {
    const std::u16string text(name.view().begin(), name.view().end());
    const pugi::xml_node parent(m_Element);
    ZAMXml::Access{*m_Xml}.RefuseChild(
        parent ? m_Xml->m_Document->Handle(parent) : IXMLDOMNodePtr(), text);
  }
  return child;
}

IXMLDOMNodePtr FieldCursor::Handle(int index) const {
  return ZAMXml::Access{*m_Xml}.Allocating(
      [&] { return m_Xml->m_Document->Handle(pugi::xml_node(m_Element), index); });
}

IXMLDOMNodePtr FieldCursor::TryHandle(int index) const noexcept {
  try {
    return Handle(index);
  } catch (const _com_error&) {
    return {};
  }
}

pugi::xml_node FieldCursor::NextElement() const noexcept {
  return ElementFrom(m_Last != nullptr ? NodeOf(m_Last).next_sibling()
                                       : NodeOf(m_Element).first_child());
}

bool FieldCursor::IsNext(const FieldName& name) const noexcept {
  return IsNamed(NextElement().name(), name.view());
}

bool FieldCursor::HasSeenAll() const noexcept { return m_InOrder && !NextElement(); }

void FieldCursor::ReadText(const FieldName& name, _bstr_t& text) {
  ZAMXml::Access{*m_Xml}.Allocating([&] {
    std::string joined;
    const std::string_view bytes = ZAMXmlDocument::Text(Find(name), joined);
    if (!text || !IsSame(text.view(), bytes)) {
      text = m_Xml->m_Document->Shared(bytes);
    }
  });
}

bool FieldCursor::Holds(const FieldName& name, ZAMTextView text) {
  return ZAMXml::Access{*m_Xml}.Allocating([&] {
    std::string joined;
    return !text.IsNull() && IsSame(text.view(), ZAMXmlDocument::Text(Find(name), joined));
  });
}

void FieldCursor::ReadAttribute(const FieldName& child, const FieldName& attribute,
                                _bstr_t& value) {
  const ZAMXml::Access access{*m_Xml};
  access.Allocating([&] {
    ZAMXml::Access::Assign(value, Find(child).attribute(attribute.c_str()).value());
    return 1;
  });
}

IXMLDOMNodePtr FieldCursor::Child(const FieldName& name) {
  return ZAMXml::Access{*m_Xml}.Allocating([&]() -> IXMLDOMNodePtr {
    const pugi::xml_node child = Find(name);
    return child ? m_Xml->m_Document->Handle(child, 0) : IXMLDOMNodePtr();
  });
}

bool FieldCursor::HoldsOnly(const FieldName& name) const {
  const pugi::xml_node parent(m_Element);
  return HasElements(parent) && !parent.find_child([&name](pugi::xml_node child) {
    return !IsFormatting(child) && !IsElement(child, name.view());
  });
}

bool FieldCursor::WriteText(const FieldName& name, ZAMTextView text) {
  const ZAMXml::Access access{*m_Xml};
  return access.Allocating([&] { return access.SetText(FindOrAdd(name), text) != 0; });
}

bool FieldCursor::WriteAttribute(const FieldName& child, const FieldName& attribute,
                                 ZAMTextView value) {
  const ZAMXml::Access access{*m_Xml};
  return access.Allocating(
      [&] { return access.SetAttribute(FindOrAdd(child), attribute.c_str(), value) != 0; });
}

IXMLDOMNodePtr FieldCursor::ChildToWrite(const FieldName& name) {
  return ZAMXml::Access{*m_Xml}.Allocating([&]() -> IXMLDOMNodePtr {
    const pugi::xml_node child = FindOrAdd(name);
    return child ? m_Xml->m_Document->Handle(child, 0) : IXMLDOMNodePtr();
  });
}

}  // namespace zam
