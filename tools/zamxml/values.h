#pragma once

#include <ZAMXMLData.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "value_path.h"

/// One text of a document and its place.
struct Value {
  ValuePath m_Path;
  _bstr_t m_Text;
};

/// Calls the function for every child element with its name and its index among the siblings of
/// that name; takes time in proportion to their number.
void ForEachChild(ZAMXml& tree, const IXMLDOMNodePtr& parent,
                  const std::function<void(const IXMLDOMNodePtr& child, const std::string& name,
                                           int index)>& visit);

/// A step as it is printed: "Extra", or "Extra[1]" after a first one.
std::string Step(const std::string& name, int index);

/// Asked about an element and its path before anything of it is read; true leaves it out.
using LeaveOut = std::function<bool(const IXMLDOMNodePtr& element, const std::string& path)>;

/// All values of a tree in document order, the history left out: the attributes, and the texts of
/// the elements that have one or hold no other element.
std::vector<Value> ReadValues(ZAMXml& tree, const LeaveOut& isLeftOut = {});

/// The same with the attributes and the text of the root element, whose path is empty.
std::vector<Value> ReadAllValues(ZAMXml& tree);

/// What the place that a change item names holds, folded for names and statements; nothing when the
/// element (or the attribute) is missing.
std::optional<_bstr_t> ReadHeld(ZAMXml& tree, const _bstr_t& node, const _bstr_t& attribute,
                                ZAMXML_VTYPE type);

/// The single values behind that place: one, the parts of a name, or the statements of a list.
std::vector<Value> ReadTouched(ZAMXml& tree, const ZAMXMLChangeItem& item);

/// The parts behind a folded name or list: a name's six, or the entries that have a character.
std::vector<_bstr_t> Unfold(const _bstr_t& folded, ZAMXML_VTYPE type);

/// The element names of a name's parts, in the order of folding.
extern const char16_t* const NameParts[6];
