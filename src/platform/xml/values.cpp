#include <algorithm>
#include <iterator>
#include <utility>

#include "platform/codes.h"
#include "platform/utf.h"
#include "platform/xml/access.h"
#include "platform/xml/name.h"
#include "zamxml/platform/util.h"

/// The texts and attributes of the elements of a ZAMXml.

namespace {

/// How many siblings are counted to tell the place of an element: a warning for each of many texts
/// must not count all of them each time.
constexpr int MaximumCounted = 256;

}  // namespace

void ZAMXml::Access::Assign(_bstr_t& text, std::string_view bytes) {
  if (!text || !zam::IsSame(text.view(), bytes)) {
    text = _bstr_t::FromUtf8(bytes);
  }
}

void ZAMXml::Access::Assign(CString& text, std::string_view bytes) {
  text = _bstr_t::FromUtf8(bytes);
}

pugi::xml_node ZAMXml::Access::Child(const IXMLDOMNodePtr& handle, ZAMTextView path,
                                     int index) const {
  const pugi::xml_node element = Element(handle);
  return element ? m_Xml.m_Document->Find(element, zam::Path(path.view()), index) : element;
}

pugi::xml_node ZAMXml::Access::ChildToSet(const IXMLDOMNodePtr& handle, ZAMTextView path,
                                          int index) const {
  const pugi::xml_node element = Element(handle);
  if (!element) {
    RefuseChild(handle, path);
    return element;
  }
  const zam::Path steps(path.view());
  const pugi::xml_node found = m_Xml.m_Document->Find(element, steps, index);
  const pugi::xml_node child = found ? found : m_Xml.m_Document->Add(element, steps);
  if (!child) {
    RefuseChild(handle, path);
  }
  return child;
}

void ZAMXml::Access::RefuseChild(const IXMLDOMNodePtr& parent, ZAMTextView path) const {
  m_Xml.Fail(zam::CodeNotAdded,
             m_Xml.GetNodePath(parent) + u": \"" + _bstr_t(path) +
                 (m_Xml.HasNode(parent) != 0 ? u"\" would be nested too deep."
                                             : u"\" has no element to be in."),
             nullptr);
}

std::string ZAMXml::Access::Stored(ZAMTextView text, pugi::xml_node element) const {
  bool replaced = false;
  std::string stored = zam::ToXmlUtf8(text.view(), replaced);
  if (replaced) {
    const _bstr_t what = u"Characters that XML cannot carry were stored as U+FFFD.";
    const _bstr_t where = _bstr_t::FromUtf8(PathOf(element, -1));
    m_Xml.SetLog_Warring(ZAM_LOG_CATEGORY_XML, what, where, 0);
    if (m_Xml.m_pWarningLog != nullptr) {
      m_Xml.m_pWarningLog->SetLog_Warring(ZAM_LOG_CATEGORY_XML, what, where, 0);
    }
  }
  return stored;
}

int ZAMXml::Access::SetText(pugi::xml_node element, ZAMTextView text) const {
  if (!element) {
    return 0;
  }
  m_Xml.m_Document->SetText(element, Stored(text, element));
  return 1;
}

template <class Text>
int ZAMXml::Access::GetAttribute(pugi::xml_node element, ZAMTextView name, Text& value) const {
  const pugi::xml_attribute attribute = element.attribute(zam::StoredName(name.view()).c_str());
  Assign(value, attribute.value());
  return attribute ? 1 : 0;
}

int ZAMXml::Access::SetAttribute(pugi::xml_node element, const char* name,
                                 ZAMTextView value) const {
  if (!element) {
    return 0;
  }
  const std::string bytes = Stored(value, element);
  const pugi::xml_attribute known = element.attribute(name);
  const auto attributes = element.attributes();
  if (!known && std::distance(attributes.begin(), attributes.end()) >= zam::MaximumAttributes) {
    return m_Xml.Fail(zam::CodeNotAdded,
                      _bstr_t::FromUtf8(PathOf(element, -1)) + u": the element has as many " +
                          u"attributes as can be read again.",
                      nullptr);
  }
  pugi::xml_attribute attribute = known ? known : element.append_attribute(name);
  if ((!known && !attribute.set_name(name)) || !attribute.set_value(bytes.c_str(), bytes.size())) {
    if (!known) {
      element.remove_attribute(attribute);
    }
    throw _com_error(E_OUTOFMEMORY);
  }
  return 1;
}

int ZAMXml::Access::CountBefore(pugi::xml_node element) const {
  // Raw children have the name of the first one behind them.
  const zam::RawChildren* const raw = m_Xml.m_Document->Raw().get();
  const pugi::xml_node first = raw != nullptr && raw->m_Parent == element.parent()
                                   ? zam::ElementFrom(raw->m_Parent.first_child())
                                   : pugi::xml_node();
  int count = zam::IsElement(first, element.name()) ? raw->m_Count : 0;
  for (auto sibling = element.previous_sibling(element.name()); sibling && count < MaximumCounted;
       sibling = sibling.previous_sibling(element.name())) {
    count += sibling.type() == pugi::node_element ? 1 : 0;
  }
  return std::min(count, MaximumCounted);
}

std::string ZAMXml::Access::PathOf(pugi::xml_node element, int index) const {
  std::string path;
  for (; element.type() == pugi::node_element; element = element.parent(), index = -1) {
    const char* more = "]";
    if (index < 0) {
      index = CountBefore(element);
      more = index == MaximumCounted ? " or later]" : more;
    }
    const std::string position = index > 0 ? '[' + std::to_string(index) + more : std::string();
    path = element.name() + position + (path.empty() ? "" : "/") + path;
  }
  return path;
}

int ZAMXml::GetChildNodeText(const IXMLDOMNodePtr& node, ZAMTextView name, _bstr_t& text,
                             int index) {
  Access access{*this};
  return access.Allocating([&] { return access.GetText(access.Child(node, name, index), text); });
}

int ZAMXml::GetChildNodeText(const IXMLDOMNodePtr& node, ZAMTextView name, CString& text,
                             int index) {
  Access access{*this};
  return access.Allocating([&] { return access.GetText(access.Child(node, name, index), text); });
}

int ZAMXml::SetChildNodeText(const IXMLDOMNodePtr& node, ZAMTextView name, ZAMTextView text,
                             int index) {
  Access access{*this};
  return access.Allocating(
      [&] { return access.SetText(access.ChildToSet(node, name, index), text); });
}

int ZAMXml::GetChildNodeAttribute(const IXMLDOMNodePtr& node, ZAMTextView child,
                                  ZAMTextView attribute, _bstr_t& value, int index) {
  Access access{*this};
  return access.Allocating(
      [&] { return access.GetAttribute(access.Child(node, child, index), attribute, value); });
}

int ZAMXml::GetChildNodeAttribute(const IXMLDOMNodePtr& node, ZAMTextView child,
                                  ZAMTextView attribute, CString& value, int index) {
  Access access{*this};
  return access.Allocating(
      [&] { return access.GetAttribute(access.Child(node, child, index), attribute, value); });
}

int ZAMXml::SetChildNodeAttribute(const IXMLDOMNodePtr& node, ZAMTextView child,
                                  ZAMTextView attribute, ZAMTextView value, int index) {
  Access access{*this};
  return access.Allocating([&] {
    return access.SetAttribute(access.ChildToSet(node, child, index),
                               zam::StoredName(attribute.view()).c_str(), value);
  });
}

int ZAMXml::GetNodeText(const IXMLDOMNodePtr& node, _bstr_t& text) {
  Access access{*this};
  return access.Allocating([&] { return access.GetText(access.Element(node), text); });
}

int ZAMXml::GetNodeText(const IXMLDOMNodePtr& node, CString& text) {
  Access access{*this};
  return access.Allocating([&] { return access.GetText(access.Element(node), text); });
}

int ZAMXml::SetNodeText(const IXMLDOMNodePtr& node, ZAMTextView text) {
  Access access{*this};
  return access.Allocating([&] { return access.SetText(access.Element(node), text); });
}

int ZAMXml::GetNodeAttribute(const IXMLDOMNodePtr& node, ZAMTextView attribute, _bstr_t& value) {
  Access access{*this};
  return access.Allocating(
      [&] { return access.GetAttribute(access.Itself(node), attribute, value); });
}

int ZAMXml::GetNodeAttribute(const IXMLDOMNodePtr& node, ZAMTextView attribute, CString& value) {
  Access access{*this};
  return access.Allocating(
      [&] { return access.GetAttribute(access.Itself(node), attribute, value); });
}

int ZAMXml::SetNodeAttribute(const IXMLDOMNodePtr& node, ZAMTextView attribute, ZAMTextView value) {
  Access access{*this};
  return access.Allocating([&] {
    return access.SetAttribute(access.Itself(node), zam::StoredName(attribute.view()).c_str(),
                               value);
  });
}

int ZAMXml::GetAttributeCount(const IXMLDOMNodePtr& node) {
  const auto attributes = Access{*this}.Itself(node).attributes();
  return static_cast<int>(std::distance(attributes.begin(), attributes.end()));
}

int ZAMXml::GetAttribute(const IXMLDOMNodePtr& node, int index, _bstr_t& name, _bstr_t& value) {
  Access access{*this};
  return access.Allocating([&] {
    for (const pugi::xml_attribute attribute : access.Itself(node).attributes()) {
      if (index-- == 0) {
        _bstr_t found = _bstr_t::FromUtf8(attribute.value());
        name = _bstr_t::FromUtf8(attribute.name());
        value = std::move(found);
        return 1;
      }
    }
    return 0;
  });
}
