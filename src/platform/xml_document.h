#pragma once

#include <cstddef>
#include <memory>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/xml_children.h"
#include "zamxml/platform/xml.h"

/// What a node handle refers to. It lives as long as a handle does, and knows when its element is
/// gone.
struct ZAMXmlNode : std::enable_shared_from_this<ZAMXmlNode> {
  ZAMXmlNode(ZAMXmlDocument& document, pugi::xml_node node, int index);
  ZAMXmlNode(const ZAMXmlNode&) = delete;
  ZAMXmlNode& operator=(const ZAMXmlNode&) = delete;
  ~ZAMXmlNode();

  ZAMXmlDocument* m_Document;  ///< null once the element is gone
  pugi::xml_node m_Node;
  int m_Index;  ///< index among siblings of the name, or -1 where it is not known. It never
                ///< changes: elements of one name are added at the end and removed all at once.
};

/// One document in memory: the tree and what is remembered about its elements.
struct ZAMXmlDocument {
  ZAMXmlDocument() = default;
  ZAMXmlDocument(const ZAMXmlDocument&) = delete;
  ZAMXmlDocument& operator=(const ZAMXmlDocument&) = delete;
  /// Leaves every handle dead.
  ~ZAMXmlDocument();

  pugi::xml_node Root() const { return m_Tree.document_element(); }

  /// The handle to an element; null for a null node.
  IXMLDOMNodePtr Handle(pugi::xml_node node, int index = -1);

  /// Make a new document: a declaration; then its root.
  void MakeEmpty();
  void AddRoot(const std::string& name);

  /// Adds an element as the last child of a parent, with the indentation that the document has
  /// there. A null node when it would stand too deep.
  pugi::xml_node AddElement(pugi::xml_node parent, const std::string& name);

  /// Remove child elements with the white space that indented them; or all that the parent holds.
  void RemoveElements(pugi::xml_node parent, const std::string& name);
  void RemoveContent(pugi::xml_node parent);

  /// The text of an element: its text and CDATA pieces joined. Where it has child elements, white
  /// space between them is formatting and does not count.
  std::string Text(pugi::xml_node element) const;
  /// Replaces the text; child elements, comments and formatting stay. A text that the element had
  /// when it was first replaced comes back in the pieces and places in which it stood then.
  void SetText(pugi::xml_node element, const std::string& text);

  /// Learns how a loaded document is indented.
  void LearnIndentation();

  pugi::xml_document m_Tree;
  zam::ChildFinder m_Finder;
  bool m_Lines = true;              ///< elements stand on lines of their own
  std::string m_IndentUnit = "\t";  ///< one level of indentation
  std::unordered_map<pugi::xml_node_struct*, ZAMXmlNode*> m_Handles;

private:
  /// The white space around the children of an element that has lost them all.
  struct Formatting {
    std::string m_BeforeChild;
    std::string m_BeforeEnd;
  };
  struct TextPiece {
    pugi::xml_node_type m_Type;
    std::string m_Value;
    std::size_t m_Before;  ///< how many nodes that are no text stand before it
  };
  struct TextLayout {
    std::string m_Text;
    std::vector<TextPiece> m_Pieces;
    std::size_t m_Others = 0;  ///< how many nodes that are no text there are
  };

  /// The white space to put around a new last child.
  Formatting FormattingFor(pugi::xml_node parent);
  /// Takes away the formatting that is left over when the last child element has gone.
  void DropFormatting(pugi::xml_node parent);
  void Forget(pugi::xml_node subtree, bool itself);
  void RememberFormatting(pugi::xml_node parent);
  void RememberText(pugi::xml_node element, bool elements);
  /// Whether the pieces can stand among the element's other nodes as they did.
  static bool Fits(const TextLayout& layout, const std::vector<pugi::xml_node>& others);

  std::unordered_map<pugi::xml_node_struct*, Formatting> m_Emptied;
  /// The white space that was all that an element held before its first child was added.
  std::unordered_map<pugi::xml_node_struct*, std::string> m_Blanks;
  std::unordered_map<pugi::xml_node_struct*, TextLayout> m_TextLayouts;
};

namespace zam {

/// Elements are nested at most so deep, when read and when added.
inline constexpr int MaximumDepth = 1000;

/// No element has more attributes, when read and when set.
inline constexpr int MaximumAttributes = 1000;

/// The nth level: 1 for the root element, 0 for the document.
int DepthOf(pugi::xml_node node);

/// The node or the first element among its next siblings; null when there is none.
pugi::xml_node ElementFrom(pugi::xml_node node);

bool HasElements(pugi::xml_node node);

/// White space that only formats: spaces, tabs and line feeds.
bool IsFormatting(pugi::xml_node node);

}  // namespace zam
