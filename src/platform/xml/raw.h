#pragma once

#include <memory>

#include "platform/xml/fields.h"
#include "platform/xml/written.h"
#include "zamxml/platform/xml.h"

namespace zam {

struct RawChildren;

/// A section with many children is read as bytes. Only the last child, to which others are added,
/// is made of nodes; the others stay raw until somebody looks at one of them. Saved, raw children
/// are the same bytes again.
class RawSection {
public:
  /// Chooses the section of all documents that a tree reads from now on: the first child of that
  /// name of the root. Its children stay raw if they are of one name and written as the library
  /// writes them. The name is a constant.
  static void Choose(ZAMXml& xml, const char* name) noexcept;

  /// The element is one of the tree. The tree outlives the object.
  RawSection(ZAMXml& xml, const IXMLDOMNodePtr& element);

  /// Whether the element has raw children. A search among its children, or a change of them, ends
  /// that.
  explicit operator bool() const noexcept { return m_Raw != nullptr; }
  /// What the raw children are. Two sections that give the same pointer have the same.
  const std::shared_ptr<const RawChildren>& Children() const noexcept { return m_Raw; }
  /// The number of raw child elements.
  int GetCount() const noexcept;

  /// The element with its other children only, to be asked for children of their name.
  FieldCursor Rest() const noexcept { return {m_Xml, m_Element}; }
  WrittenCursor WrittenRest() const noexcept;

private:
  friend class RawParts;

  ZAMXml& m_Xml;
  pugi::xml_node_struct* m_Element;
  std::shared_ptr<const RawChildren> m_Raw;
};

/// Goes through raw children in parts. Each is read into a tree of its own, below an element that
/// has the section's name.
class RawParts {
public:
  explicit RawParts(const RawSection& section);

  /// Goes on to the next part; false behind the last one. Raises std::bad_alloc.
  bool Next();

  ZAMXml& Tree() noexcept { return m_Tree; }
  FieldCursor Element() noexcept;
  /// Compares with children that are written like those of the rest.
  WrittenCursor Written(const WrittenCursor& rest) noexcept;

private:
  const RawSection& m_Section;
  ZAMXml m_Tree;
  std::size_t m_Part = 0;
  std::size_t m_Begin = 0;
};

}  // namespace zam
