#include "platform/xml_children.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

namespace zam {
namespace {

/// How many nodes a search may pass before an index is worth its memory.
constexpr int LongSearch = 32;

}  // namespace

const ChildFinder::Index* ChildFinder::IndexOf(pugi::xml_node parent) {
  const auto known = m_Indexes.find(parent.internal_object());
  if (known != m_Indexes.end()) {
    return &known->second;
  }
  int passed = 0;
  for (pugi::xml_node child = parent.first_child(); child; child = child.next_sibling()) {
    if (++passed > LongSearch) {
      return &MakeIndex(parent);
    }
  }
  return nullptr;
}

ChildFinder::Index& ChildFinder::MakeIndex(pugi::xml_node parent) {
  Index index;
  for (const pugi::xml_node child : parent.children()) {
    if (child.type() == pugi::node_element) {
      index[child.name()].push_back(child);
    }
  }
  return m_Indexes[parent.internal_object()] = std::move(index);
}

const ChildFinder::Children& ChildFinder::Named(const Index& index, const std::string& name) {
  static const Children None;
  const auto children = index.find(name);
  return children != index.end() ? children->second : None;
}

pugi::xml_node ChildFinder::Child(pugi::xml_node parent, const std::string& name, int index) {
  if (const Index* known = IndexOf(parent)) {
    const Children& children = Named(*known, name);
    const auto position = static_cast<std::size_t>(index);
    return position < children.size() ? children[position] : pugi::xml_node();
  }
  for (const pugi::xml_node child : parent.children(name.c_str())) {
    if (child.type() == pugi::node_element && index-- == 0) {
      return child;
    }
  }
  return {};
}

int ChildFinder::ChildCount(pugi::xml_node parent, const std::string& name) {
  if (const Index* known = IndexOf(parent)) {
    return static_cast<int>(Named(*known, name).size());
  }
  const auto children = parent.children(name.c_str());
  return static_cast<int>(std::count_if(children.begin(), children.end(), [](pugi::xml_node child) {
    return child.type() == pugi::node_element;
  }));
}

pugi::xml_node ChildFinder::WalkTo(Walk& walk, int index) {
  const std::size_t last = walk.m_Steps.size() - 1;
  std::vector<pugi::xml_node> chain{walk.m_Start};
  for (;;) {
    while (chain.size() <= last) {
      const std::size_t level = chain.size() - 1;
      const pugi::xml_node next = Child(chain.back(), walk.m_Steps[level], walk.m_Positions[level]);
      if (next) {
        chain.push_back(next);
        continue;
      }
      if (level == 0) {
        return {};
      }
      walk.m_Positions[level] = 0;
      ++walk.m_Positions[level - 1];
      chain.pop_back();
    }
    const int here = ChildCount(chain.back(), walk.m_Steps[last]);
    if (index - walk.m_Before < here) {
      return Child(chain.back(), walk.m_Steps[last], index - walk.m_Before);
    }
    walk.m_Before += here;
    ++walk.m_Positions[last - 1];
    chain.pop_back();
  }
}

pugi::xml_node ChildFinder::Find(pugi::xml_node start, const std::vector<std::string>& steps,
                                 int index) {
  if (index < 0) {
    return {};
  }
  if (steps.size() == 1) {
    return Child(start, steps.front(), index);
  }
  if (index == 0 || m_LastWalk.m_Start != start || m_LastWalk.m_Steps != steps ||
      m_LastWalk.m_Before > index) {
    m_LastWalk = Walk{start, steps, std::vector<int>(steps.size() - 1, 0), 0};
  }
  return WalkTo(m_LastWalk, index);
}

int ChildFinder::Count(pugi::xml_node start, const std::vector<std::string>& steps) {
  if (steps.size() == 1) {
    return ChildCount(start, steps.front());
  }
  Walk walk{start, steps, std::vector<int>(steps.size() - 1, 0), 0};
  WalkTo(walk, std::numeric_limits<int>::max());
  return walk.m_Before;
}

std::vector<pugi::xml_node> ChildFinder::All(pugi::xml_node parent, const std::string& name) {
  if (const Index* known = IndexOf(parent)) {
    return Named(*known, name);
  }
  Children all;
  for (const pugi::xml_node child : parent.children(name.c_str())) {
    if (child.type() == pugi::node_element) {
      all.push_back(child);
    }
  }
  return all;
}

void ChildFinder::Added(pugi::xml_node child) noexcept {
  m_LastWalk = {};
  const auto found = m_Indexes.find(child.parent().internal_object());
  if (found == m_Indexes.end()) {
    return;
  }
  try {
    found->second[child.name()].push_back(child);
  } catch (const std::bad_alloc&) {
    m_Indexes.erase(found);
  }
}

void ChildFinder::Removing(pugi::xml_node parent, const std::string& name) {
  m_LastWalk = {};
  const auto found = m_Indexes.find(parent.internal_object());
  if (found != m_Indexes.end()) {
    found->second.erase(name);
  }
}

void ChildFinder::Forget(pugi::xml_node node) {
  m_LastWalk = {};
  m_Indexes.erase(node.internal_object());
}

}  // namespace zam
