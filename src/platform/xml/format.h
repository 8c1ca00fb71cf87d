#pragma once

#include <pugixml.hpp>
#include <string_view>
#include <vector>

/// The white space between elements, and nodes that are added with it.
namespace zam {

/// White space that only formats: spaces, tabs and line feeds.
bool IsFormatting(pugi::xml_node node);

/// The line break and indentation that a piece of white space ends with; empty without a line
/// break.
std::string_view LastLine(pugi::xml_node whiteSpace);

/// Inserts nodes into one parent, all or none: without Keep they go again.
class Insertion {
public:
  explicit Insertion(pugi::xml_node parent) : m_Parent(parent) {}
  Insertion(const Insertion&) = delete;
  Insertion& operator=(const Insertion&) = delete;
  ~Insertion();

  /// Inserts a node in front of another, or as the last one in front of a null node: an element of
  /// that name, or anything else with that value. Raises _com_error (E_OUTOFMEMORY).
  pugi::xml_node Before(pugi::xml_node place, pugi::xml_node_type type, std::string_view content);

  void Keep() noexcept { m_Nodes.clear(); }

private:
  pugi::xml_node m_Parent;
  std::vector<pugi::xml_node> m_Nodes;
};

}  // namespace zam
