#pragma once

#include <new>
#include <string>

#include "platform/xml/document.h"
#include "zamxml/platform/error.h"
#include "zamxml/platform/xml.h"

/// What the operations of ZAMXml share: from handles and texts of the host to elements and bytes of
/// the tree, and back.
struct ZAMXml::Access {
  ZAMXml& m_Xml;

  /// The element behind a handle of this document, or a null node. Its children may be raw.
  pugi::xml_node Itself(const IXMLDOMNodePtr& handle) const noexcept {
    return m_Xml.HasNode(handle) != 0 ? handle.m_Node->m_Node : pugi::xml_node();
  }
  /// The same for a step that looks at the children. Raises std::bad_alloc.
  pugi::xml_node Element(const IXMLDOMNodePtr& handle) const {
    const pugi::xml_node element = Itself(handle);
    if (element) {
      m_Xml.m_Document->RequireNodes(element);
    }
    return element;
  }

  pugi::xml_node Child(const IXMLDOMNodePtr& handle, ZAMTextView path, int index) const;
  /// That child; made as the last one when it is missing. A null node, logged, when it cannot be.
  pugi::xml_node ChildToSet(const IXMLDOMNodePtr& handle, ZAMTextView path, int index) const;
  /// Records why no child can be added at the path.
  void RefuseChild(const IXMLDOMNodePtr& parent, ZAMTextView path) const;

  /// A text as the tree stores it; the log is warned about what XML cannot carry.
  std::string Stored(ZAMTextView text, pugi::xml_node element) const;

  template <class Text>
  int GetText(pugi::xml_node element, Text& text) const;
  int SetText(pugi::xml_node element, ZAMTextView text) const;
  template <class Text>
  int GetAttribute(pugi::xml_node element, ZAMTextView name, Text& value) const;
  /// The attribute's name is a stored one.
  int SetAttribute(pugi::xml_node element, const char* name, ZAMTextView value) const;

  /// Sets a text to bytes of the tree. A text that is these bytes already stays as it is.
  static void Assign(_bstr_t& text, std::string_view bytes);
  static void Assign(CString& text, std::string_view bytes);

  /// Takes a step that may run out of memory: the tree counts that, and _com_error is raised.
  template <class Step>
  auto Allocating(Step step) const {
    try {
      return step();
    } catch (const std::bad_alloc&) {
      m_Xml.ReportShortage();
      throw _com_error(E_OUTOFMEMORY);
    } catch (const _com_error& error) {
      if (error.Error() == E_OUTOFMEMORY) {
        m_Xml.ReportShortage();
      }
      throw;
    }
  }

  /// Element, outside Allocating. Raises _com_error (E_OUTOFMEMORY).
  pugi::xml_node Present(const IXMLDOMNodePtr& handle) const {
    return Allocating([&] { return Element(handle); });
  }

  /// How many siblings of the element's name precede it, as far as they are counted.
  int CountBefore(pugi::xml_node element) const;
  std::string PathOf(pugi::xml_node element, int index) const;
};

template <class Text>
int ZAMXml::Access::GetText(pugi::xml_node element, Text& text) const {
  std::string joined;
  if (element) {
    m_Xml.m_Document->RequireNodes(element);
  }
  Assign(text, element ? ZAMXmlDocument::Text(element, joined) : std::string_view());
  return element ? 1 : 0;
}
