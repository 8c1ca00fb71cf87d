#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

struct ZAMXmlDocument;

namespace zam {

using Nodes = std::vector<pugi::xml_node>;

/// A text in the pieces in which an element held it.
struct TextLayout {
  struct Piece {
    pugi::xml_node_type m_Type;
    std::string m_Value;
    std::size_t m_Before;  ///< how many nodes other than text are in front of it
  };
  std::string m_Text;
  std::vector<Piece> m_Pieces;
  std::size_t m_Others = 0;  ///< how many nodes other than text there are
};

/// The white space around the children of an element that has lost them all.
struct Formatting {
  std::string m_BeforeChild;
  std::string m_BeforeEnd;
  TextLayout m_Others = {};  ///< what was among comments and instructions, if it had to go too
};

/// What must not be forgotten while an element lives.
struct ElementMemory {
  /// The children by name. The keys are names in the tree, which live as long as such children.
  std::optional<std::unordered_map<std::string_view, Nodes>> m_Children;
  std::optional<Formatting> m_Emptied;
  /// The white space that was all that the element held before its first child was added; empty
  /// where it was, and stays, among comments and instructions.
  std::optional<std::string> m_Blank;
  std::optional<TextLayout> m_Text;
};

}  // namespace zam

/// The note on one element: its handles refer to it. It dies with the element, but for the handles
/// that are left then: to them it says that the element is gone.
struct ZAMXmlNode {
  ZAMXmlNode(ZAMXmlDocument& document, pugi::xml_node node) noexcept
      : m_Document(&document), m_Node(node) {}

  ZAMXmlDocument* m_Document;  ///< null once the element is gone
  pugi::xml_node m_Node;
  int m_References = 0;  ///< handles
  int m_Index = -1;      ///< index among siblings of the name, or -1 where it is not known
  std::unique_ptr<zam::ElementMemory> m_Memory;
};
