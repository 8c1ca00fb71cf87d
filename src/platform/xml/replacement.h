#pragma once

#include <utility>
#include <vector>

#include "platform/xml/fields.h"

namespace zam {

/// Prepares children of one element beside those that they replace. Kept, they take their places;
/// otherwise they go again. Neither needs memory, so the element holds the old children or the new.
class Replacement {
public:
  /// The element is one of the tree and outlives the object.
  Replacement(ZAMXml& xml, const IXMLDOMNodePtr& element) noexcept
      : m_Xml(xml), m_Element(element) {}
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;
  /// Takes away what was prepared and not kept.
  ~Replacement();

  /// A copy of the first child of that name, or a new child where there is none. Null, logged, when
  /// it cannot be added.
  IXMLDOMNodePtr Copy(const FieldName& name);
  /// All children of that name go when what was prepared is kept.
  void Drop(const FieldName& name);
  /// A new child. Null, logged, when it cannot be added.
  IXMLDOMNodePtr Add(const FieldName& name);

  void Keep() noexcept;

private:
  IXMLDOMNodePtr Prepare(const FieldName& name, pugi::xml_node_struct* replaced);
  void Remove(pugi::xml_node_struct* child) noexcept;

  ZAMXml& m_Xml;
  const IXMLDOMNodePtr& m_Element;
  /// What was prepared, each with the child that it replaces or null.
  std::vector<std::pair<pugi::xml_node_struct*, pugi::xml_node_struct*>> m_Prepared;
  std::vector<pugi::xml_node_struct*> m_Dropped;
};

}  // namespace zam
