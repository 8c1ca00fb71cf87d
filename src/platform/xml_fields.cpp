#include "platform/xml_fields.h"

#include "platform/codes.h"
#include "platform/utf.h"
#include "platform/xml_access.h"

namespace zam {

FieldCursor::FieldCursor(ZAMXml& xml, const IXMLDOMNodePtr& element) noexcept
    : FieldCursor(xml, ZAMXml::Access{xml}.Element(element).internal_object()) {}

FieldCursor FieldCursor::Below(const FieldName& name) {
  return ZAMXml::Access{*m_Xml}.Allocating(
      [&] { return FieldCursor(*m_Xml, Find(name).internal_object()); });
}

FieldCursor FieldCursor::Next(const FieldName& name) const noexcept {
  pugi::xml_node next = ElementFrom(pugi::xml_node(m_Element).next_sibling());
  while (next && !IsElement(next, name.view())) {
    next = ElementFrom(next.next_sibling());
  }
  return {*m_Xml, next.internal_object()};
}

pugi::xml_node FieldCursor::Find(const FieldName& name) {
  const pugi::xml_node parent(m_Element);
  const pugi::xml_node last(m_Last);
  if (last && IsElement(last, name.view())) {
    return last;
  }
  if (m_InOrder) {
    const pugi::xml_node next = NextElement();
    if (!next) {
      return next;
    }
    if (IsElement(next, name.view())) {
      m_Last = next.internal_object();
      return next;
    }
  }
  const pugi::xml_node found =
      parent ? m_Xml->m_Document->Child(parent, name.view(), 0) : pugi::xml_node();
  if (found) {
    m_InOrder = false;
    m_Last = found.internal_object();
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
    m_Last = child.internal_object();
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

pugi::xml_node FieldCursor::NextElement() const noexcept {
  return ElementFrom(m_Last != nullptr ? pugi::xml_node(m_Last).next_sibling()
                                       : pugi::xml_node(m_Element).first_child());
}

bool FieldCursor::IsNext(const FieldName& name) const noexcept {
  return IsElement(NextElement(), name.view());
}

bool FieldCursor::HasSeenAll() const noexcept { return m_InOrder && !NextElement(); }

void FieldCursor::ReadText(const FieldName& name, _bstr_t& text) {
  const ZAMXml::Access access{*m_Xml};
  access.Allocating([&] { return access.GetText(Find(name), text); });
}

bool FieldCursor::Holds(const FieldName& name, ZAMTextView text) {
  return ZAMXml::Access{*m_Xml}.Allocating([&] {
    const pugi::xml_node child = Find(name);
    std::string joined;
    return !text.IsNull() &&
           IsSame(text.view(), child ? ZAMXmlDocument::Text(child, joined) : std::string_view());
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
