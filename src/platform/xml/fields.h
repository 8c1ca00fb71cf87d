#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "zamxml/platform/text.h"
#include "zamxml/platform/xml.h"

namespace pugi {
class xml_node;
struct xml_node_struct;
}  // namespace pugi

namespace zam {

/// The name of a field: a plain ASCII XML name, encoded when the program is compiled.
class FieldName {
public:
  template <std::size_t Size>
  consteval FieldName(const char16_t (&name)[Size]) : m_Length(Size - 1) {
    static_assert(Size <= Capacity);
    for (std::size_t i = 0; i < m_Length; ++i) {
      const bool letter =
          (name[i] >= u'a' && name[i] <= u'z') || (name[i] >= u'A' && name[i] <= u'Z');
      m_Bytes[i] = letter ? static_cast<char>(name[i]) : throw "a name of letters only";
    }
  }

  constexpr std::string_view view() const noexcept { return {m_Bytes.data(), m_Length}; }
  constexpr const char* c_str() const noexcept { return m_Bytes.data(); }

private:
  static constexpr std::size_t Capacity = 24;
  std::array<char, Capacity> m_Bytes{};
  std::size_t m_Length;
};

/// Reads and writes the first child of each name below one element. Names that are asked for in the
/// order of the children are found in one pass; a name is asked for again only right after itself.
/// What the operations of ZAMXml say of texts, missing children and memory holds here too.
class FieldCursor {
public:
  /// The element is one of the tree and outlives the cursor.
  FieldCursor(ZAMXml& xml, const IXMLDOMNodePtr& element);

  /// Cursors on the first child of that name, and on the next sibling; false when there is none.
  FieldCursor Below(const FieldName& name);
  FieldCursor Next(const FieldName& name) const noexcept;
  explicit operator bool() const noexcept { return m_Element != nullptr; }
  /// The handle to the element, which is the index-th of its name.
  IXMLDOMNodePtr Handle(int index) const;
  /// Null where there is no memory for it.
  IXMLDOMNodePtr TryHandle(int index) const noexcept;

  /// Whether the child element behind those that were asked for has that name.
  bool IsNext(const FieldName& name) const noexcept;

  void ReadText(const FieldName& name, _bstr_t& text);
  /// Whether ReadText would read that text.
  bool Holds(const FieldName& name, ZAMTextView text);
  void ReadAttribute(const FieldName& child, const FieldName& attribute, _bstr_t& value);
  /// Null when there is none.
  IXMLDOMNodePtr Child(const FieldName& name);

  /// Whether there is a child of that name and nothing else but others of it and formatting.
  bool HoldsOnly(const FieldName& name) const;

  /// False, logged, when the child is missing and cannot be added.
  bool WriteText(const FieldName& name, ZAMTextView text);
  bool WriteAttribute(const FieldName& child, const FieldName& attribute, ZAMTextView value);
  /// Added when it is missing; null, logged, when that fails.
  IXMLDOMNodePtr ChildToWrite(const FieldName& name);

private:
  friend class RawSection;
  FieldCursor(ZAMXml& xml, pugi::xml_node_struct* element) noexcept
      : m_Xml(&xml), m_Element(element) {}

  pugi::xml_node NextElement() const noexcept;
  /// Whether every child element was found, each under a name of its own.
  bool HasSeenAll() const noexcept;
  pugi::xml_node Find(const FieldName& name);
  pugi::xml_node FindOrAdd(const FieldName& name);

  ZAMXml* m_Xml;
  pugi::xml_node_struct* m_Element;
  pugi::xml_node_struct* m_Last = nullptr;  ///< the child that was found last,
  const char* m_LastName = nullptr;         ///< and its name in the tree
  bool m_InOrder = true;  ///< every child element up to the last was found under a name of its own
};

}  // namespace zam
