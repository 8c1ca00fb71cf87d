#pragma once

#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace zam {

/// Finds elements below an element, by name, path and index.
///
/// An element with many children gets an index of them, made at the first search that would be
/// long and kept up to date: searches by name and walks by index then take constant time each. A
/// walk over the matches of a longer path goes on where the last search ended.
class ChildFinder {
public:
  /// The index-th match of the whole path in document order, or a null node.
  pugi::xml_node Find(pugi::xml_node start, const std::vector<std::string>& steps, int index);

  /// The number of matches of the whole path.
  int Count(pugi::xml_node start, const std::vector<std::string>& steps);

  /// All children of that name.
  std::vector<pugi::xml_node> All(pugi::xml_node parent, const std::string& name);

  /// To be told after an element was added as the last child.
  void Added(pugi::xml_node child) noexcept;
  /// To be told before all children of that name are removed.
  void Removing(pugi::xml_node parent, const std::string& name);
  /// To be told before the element goes, or all that is in it.
  void Forget(pugi::xml_node node);

private:
  using Children = std::vector<pugi::xml_node>;
  /// Keyed by names as the tree holds them, which live as long as the children of that name.
  using Index = std::unordered_map<std::string_view, Children>;

  /// Where the last search for a path of several steps ended.
  struct Walk {
    pugi::xml_node m_Start;
    std::vector<std::string> m_Steps;
    std::vector<int> m_Positions;  ///< which match of each step but the last
    int m_Before = 0;              ///< matches of the whole path before that place
  };

  /// The index of an element's children; null where there are too few of them for one.
  const Index* IndexOf(pugi::xml_node parent);
  static const Children& Named(const Index& index, const std::string& name);
  Index& MakeIndex(pugi::xml_node parent);
  pugi::xml_node Child(pugi::xml_node parent, const std::string& name, int index);
  int ChildCount(pugi::xml_node parent, const std::string& name);
  pugi::xml_node WalkTo(Walk& walk, int index);

  std::unordered_map<pugi::xml_node_struct*, Index> m_Indexes;
  Walk m_LastWalk;
};

}  // namespace zam
