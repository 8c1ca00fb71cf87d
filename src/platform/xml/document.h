#pragma once

#include <array>
#include <bit>
#include <memory>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/xml/format.h"
#include "platform/xml/limits.h"
#include "platform/xml/name.h"
#include "platform/xml/note.h"
#include "platform/xml/plain.h"
#include "zamxml/platform/xml.h"

namespace zam {
/// The first children of an element that are no nodes yet: bytes, as the writer writes them. Other
/// children follow them, an element of their name among them.
struct RawChildren {
  pugi::xml_node m_Parent;
  std::string_view m_Bytes;
  int m_Count;  ///< child elements
};
}  // namespace zam

/// One document in memory: the tree and the notes on its elements.
struct ZAMXmlDocument {
  ZAMXmlDocument() = default;
  ZAMXmlDocument(const ZAMXmlDocument&) = delete;
  ZAMXmlDocument& operator=(const ZAMXmlDocument&) = delete;
  /// Makes a document of a plain text, which a zero follows in its source. The document keeps the
  /// source and points into it; what it has of a uniform section stays raw. Null when the text is
  /// not plain.
  static std::unique_ptr<ZAMXmlDocument> FromPlain(std::unique_ptr<char[]> source,
                                                   std::string_view text,
                                                   const zam::SectionPlaces& section);
  /// Leaves every handle dead.
  ~ZAMXmlDocument();

  pugi::xml_node Root() const { return m_Tree.document_element(); }

  /// The handle to an element; null for a null node.
  IXMLDOMNodePtr Handle(pugi::xml_node node, int index = -1);
  /// To be told when the last handle to an element is gone.
  static void Release(ZAMXmlNode* note) noexcept;

  /// The index-th match of the whole path in document order, or a null node. An element with many
  /// children gets an index of them at the first search that is long; it is kept up to date, so
  /// searches by name and walks by index take constant time each. A walk over the matches of a
  /// longer path goes on where the last search ended.
  pugi::xml_node Find(pugi::xml_node start, const zam::Path& path, int index);
  pugi::xml_node Child(pugi::xml_node parent, std::string_view name, int index);
  /// The number of matches of the whole path.
  int Count(pugi::xml_node start, const zam::Path& path);

  /// Make a new document: a declaration; then its root.
  void MakeEmpty();
  void AddRoot(std::string_view name);

  /// Adds an element as the last child of a parent, with the indentation that the document has
  /// there. A null node if it would be too deep.
  pugi::xml_node AddElement(pugi::xml_node parent, std::string_view name);
  /// Adds the last step of a path, after the steps that are missing. A null node when it would
  /// be too deep.
  pugi::xml_node Add(pugi::xml_node parent, const zam::Path& path);

  /// Remove child elements with the white space that indented them: all at the path; or one; or all
  /// that the parent holds.
  void RemoveElements(pugi::xml_node parent, const zam::Path& path);
  void RemoveElement(pugi::xml_node parent, pugi::xml_node child);
  void RemoveContent(pugi::xml_node parent);
  /// Puts a child element into the place of another, which goes. Needs no memory.
  void Replace(pugi::xml_node parent, pugi::xml_node replaced, pugi::xml_node replacement) noexcept;
  /// All children of that name.
  zam::Nodes All(pugi::xml_node parent, std::string_view name);

  /// The text of an element: its text and CDATA pieces joined. Where it has child elements, white
  /// space between them is formatting and does not count. The view is valid until the tree changes;
  /// a text of several pieces is put together in `joined`.
  static std::string_view Text(pugi::xml_node element, std::string& joined);
  /// The bytes as a text. Short texts that repeat share one.
  _bstr_t Shared(std::string_view bytes);
  /// Exchanges the texts that are shared.
  void SwapShared(ZAMXmlDocument& other) noexcept { m_LastTexts.swap(other.m_LastTexts); }
  /// Replaces the text; child elements, comments and formatting stay. A text that the element had
  /// when it was first replaced comes back in the same pieces and places.
  void SetText(pugi::xml_node element, const std::string& text);

  /// Learns how a loaded document is indented.
  void LearnIndentation();

  /// The raw children, null if there are none. Nobody changes them.
  const std::shared_ptr<const zam::RawChildren>& Raw() const noexcept { return m_Raw; }
  /// Makes nodes of the raw children of an element. To be called before they are looked at.
  void RequireNodes(pugi::xml_node parent) {
    if (m_Raw && m_Raw->m_Parent == parent) {
      MakeNodes();
    }
  }
  std::unique_ptr<char[]> m_Source;  ///< what names and texts of the tree may point into
  pugi::xml_document m_Tree;
  bool m_Lines = true;              ///< elements are on lines of their own
  std::string m_IndentUnit = "\t";  ///< one level of indentation

private:
  using Index = std::unordered_map<std::string_view, zam::Nodes>;

  /// Where the last search for a path of several steps ended.
  struct Walk {
    pugi::xml_node m_Start;
    std::vector<std::string> m_Steps;
    std::vector<int> m_Positions;  ///< which match of each step but the last
    int m_Before = 0;              ///< matches of the whole path before that place
  };

  /// Makes the nodes of plain bytes that a zero follows, and points into them; all, or all but
  /// those of a section's children up to the last but one. False if the bytes are not plain.
  bool Load(char* bytes, std::size_t size);
  bool LoadAround(char* bytes, std::string_view text, const zam::SectionPlaces& section);
  void MakeNodes();

  ZAMXmlNode* FindNote(pugi::xml_node element) const noexcept;
  ZAMXmlNode& Note(pugi::xml_node element);
  /// What is remembered about an element; null when there is nothing.
  zam::ElementMemory* FindMemory(pugi::xml_node element) const noexcept;
  zam::ElementMemory& Memory(pugi::xml_node element);

  Index& MakeIndex(pugi::xml_node parent);
  int ChildCount(pugi::xml_node parent, std::string_view name);
  static Walk StartOf(pugi::xml_node start, const zam::Path& path);
  pugi::xml_node WalkTo(Walk& walk, int index);
  pugi::xml_node FirstMatch(pugi::xml_node start, const zam::Path& path);

  /// The white space to put around a new last child.
  zam::Formatting FormattingFor(pugi::xml_node parent);
  /// Remembers the white space around the children of a name, and what there is among the others.
  void RememberFormatting(pugi::xml_node parent, std::string_view name);
  /// Puts back what was among the others when the last child went.
  void PutBackFormatting(pugi::xml_node parent, zam::Insertion& insertion);
  /// Takes away the formatting that is left over when the last child element has gone.
  void DropFormatting(pugi::xml_node parent);

  void RemoveAll(pugi::xml_node parent, std::string_view name);
  void TakeOut(pugi::xml_node parent, pugi::xml_node child);
  void ForgetPlaces(pugi::xml_node parent) noexcept;
  void Forget(pugi::xml_node subtree, bool itself) noexcept;
  void Forget(pugi::xml_node element) noexcept;

  void RememberText(pugi::xml_node element, bool elements);
  /// Whether the pieces fit among the element's other nodes as they did.
  static bool Fits(const zam::TextLayout& layout, const zam::Nodes& others);

  std::shared_ptr<const zam::RawChildren> m_Raw;
  std::unordered_map<pugi::xml_node_struct*, ZAMXmlNode*> m_Notes;
  Walk m_LastWalk;
  std::array<_bstr_t, 256> m_LastTexts;  ///< short texts that were read, by a sum of their bytes
};

namespace zam {

/// The nth level: 1 for the root element, 0 for the document.
int DepthOf(pugi::xml_node node);

/// The node or the first element among its next siblings; null when there is none.
pugi::xml_node ElementFrom(pugi::xml_node node);

/// Whether the node is the top of the subtree or below it.
bool IsInside(pugi::xml_node node, pugi::xml_node subtree);

bool HasElements(pugi::xml_node node);
/// The name is not empty.
bool IsElement(pugi::xml_node node, std::string_view name);
/// Compares the name of a node.
inline bool IsNamed(const char* own, std::string_view name) noexcept {
  std::size_t i = 0;
  while (i < name.size() && own[i] == name[i]) {
    ++i;
  }
  return i == name.size() && own[i] == '\0';
}

// pugixml's own ways from a node to the structure behind it, and back, are calls.
static_assert(sizeof(pugi::xml_node) == sizeof(pugi::xml_node_struct*));
inline pugi::xml_node_struct* StructureOf(pugi::xml_node node) noexcept {
  return std::bit_cast<pugi::xml_node_struct*>(node);
}
inline pugi::xml_node NodeOf(pugi::xml_node_struct* structure) noexcept {
  return std::bit_cast<pugi::xml_node>(structure);
}

/// What a new text becomes that is all that an element holds.
pugi::xml_node_type TextTypeOf(std::string_view text);

}  // namespace zam
