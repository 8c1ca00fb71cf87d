#include "platform/xml/replacement.h"

#include <string>

#include "platform/xml/access.h"

namespace zam {
namespace {

/// Copies the attributes and all that an element holds.
void CopyContent(pugi::xml_node from, pugi::xml_node to) {
  for (const pugi::xml_attribute attribute : from.attributes()) {
    if (!to.append_copy(attribute)) {
      throw std::bad_alloc();
    }
  }
  for (const pugi::xml_node child : from.children()) {
    if (!to.append_copy(child)) {
      throw std::bad_alloc();
    }
  }
}

}  // namespace

Replacement::~Replacement() {
  for (const auto& [node, replaced] : m_Prepared) {
    Remove(node);
  }
}

IXMLDOMNodePtr Replacement::Prepare(const FieldName& name, pugi::xml_node_struct* replaced) {
  const ZAMXml::Access access{m_Xml};
  return access.Allocating([&]() -> IXMLDOMNodePtr {
    const pugi::xml_node parent = access.Element(m_Element);
    m_Prepared.emplace_back();
    const pugi::xml_node added =
        parent ? m_Xml.m_Document->AddElement(parent, name.view()) : pugi::xml_node();
    if (!added) {
      m_Prepared.pop_back();
      access.RefuseChild(m_Element, std::u16string(name.view().begin(), name.view().end()));
      return {};
    }
    m_Prepared.back() = {added.internal_object(), replaced};
    CopyContent(pugi::xml_node(replaced), added);
    return m_Xml.m_Document->Handle(added);
  });
}

IXMLDOMNodePtr Replacement::Copy(const FieldName& name) {
  const ZAMXml::Access access{m_Xml};
  const pugi::xml_node parent = access.Itself(m_Element);
  const pugi::xml_node first = access.Allocating(
      [&] { return parent ? m_Xml.m_Document->Child(parent, name.view(), 0) : pugi::xml_node(); });
  return Prepare(name, first.internal_object());
}

IXMLDOMNodePtr Replacement::Add(const FieldName& name) { return Prepare(name, nullptr); }

void Replacement::Drop(const FieldName& name) {
  const ZAMXml::Access access{m_Xml};
  access.Allocating([&] {
    if (const pugi::xml_node parent = access.Element(m_Element)) {
      for (const pugi::xml_node child : m_Xml.m_Document->All(parent, name.view())) {
        m_Dropped.push_back(child.internal_object());
      }
    }
    return 0;
  });
}

void Replacement::Keep() noexcept {
  const pugi::xml_node parent = ZAMXml::Access{m_Xml}.Itself(m_Element);
  for (const auto& [node, replaced] : m_Prepared) {
    if (replaced != nullptr) {
      m_Xml.m_Document->Replace(parent, pugi::xml_node(replaced), pugi::xml_node(node));
    }
  }
  m_Prepared.clear();
  for (pugi::xml_node_struct* const child : m_Dropped) {
    Remove(child);
  }
  m_Dropped.clear();
}

void Replacement::Remove(pugi::xml_node_struct* child) noexcept {
  try {
    m_Xml.m_Document->RemoveElement(ZAMXml::Access{m_Xml}.Itself(m_Element), pugi::xml_node(child));
  } catch (const std::exception&) {
    m_Xml.ReportShortage();  // white space that was there before is missing
  }
}

}  // namespace zam
