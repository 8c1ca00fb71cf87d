#pragma once

#include <pugixml.hpp>
#include <string_view>
#include <vector>

namespace zam {

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
