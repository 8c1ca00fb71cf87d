#include <algorithm>
#include <limits>

#include "platform/xml/document.h"

/// Finding elements below an element, by name, path and index.

namespace {

/// How many nodes a search may pass before an index is worth its memory.
constexpr int LongSearch = 32;

pugi::xml_node At(const std::unordered_map<std::string_view, zam::Nodes>& index,
                  std::string_view name, int position) {
  const auto named = index.find(name);
  return named != index.end() && static_cast<std::size_t>(position) < named->second.size()
             ? named->second[static_cast<std::size_t>(position)]
             : pugi::xml_node();
}

}  // namespace

ZAMXmlDocument::Index& ZAMXmlDocument::MakeIndex(pugi::xml_node parent) {
  Index index;
  for (const pugi::xml_node child : parent.children()) {
    if (child.type() == pugi::node_element) {
      index[child.name()].push_back(child);
    }
  }
  return Memory(parent).m_Children.emplace(std::move(index));
}

pugi::xml_node ZAMXmlDocument::Child(pugi::xml_node parent, std::string_view name, int index) {
  if (index < 0) {
    return {};
  }
  RequireNodes(parent);
  if (const zam::ElementMemory* const memory = FindMemory(parent);
      memory != nullptr && memory->m_Children) {
    return At(*memory->m_Children, name, index);
  }
  int passed = 0;
  int before = 0;
  pugi::xml_node child = parent.first_child();
  for (auto type = child.type(); type != pugi::node_null; type = child.type()) {
    if (type == pugi::node_element && zam::IsElement(child, name) && before++ == index) {
      return child;
    }
    child = child.next_sibling();
    if (++passed > LongSearch) {
      return At(MakeIndex(parent), name, index);
    }
  }
  return {};
}

int ZAMXmlDocument::ChildCount(pugi::xml_node parent, std::string_view name) {
  RequireNodes(parent);
  if (const zam::ElementMemory* const memory = FindMemory(parent);
      memory != nullptr && memory->m_Children) {
    const auto named = memory->m_Children->find(name);
    return named != memory->m_Children->end() ? static_cast<int>(named->second.size()) : 0;
  }
  int count = 0;
  for (pugi::xml_node child = parent.first_child(); child; child = child.next_sibling()) {
    count += zam::IsElement(child, name) ? 1 : 0;
  }
  return count;
}

ZAMXmlDocument::Walk ZAMXmlDocument::StartOf(pugi::xml_node start, const zam::Path& path) {
  Walk walk;
  walk.m_Start = start;
  for (std::string_view rest = path.Whole(); !rest.empty();) {
    walk.m_Steps.emplace_back(zam::Path::CutStep(rest));
  }
  walk.m_Positions.resize(walk.m_Steps.size() - 1);
  return walk;
}

pugi::xml_node ZAMXmlDocument::WalkTo(Walk& walk, int index) {
  const std::size_t last = walk.m_Steps.size() - 1;
  zam::Nodes chain{walk.m_Start};
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

pugi::xml_node ZAMXmlDocument::FirstMatch(pugi::xml_node start, const zam::Path& path) {
  pugi::xml_node node = start;
  for (std::string_view rest = path.Whole(); node && !rest.empty();) {
    node = Child(node, zam::Path::CutStep(rest), 0);
  }
  return node;
}

pugi::xml_node ZAMXmlDocument::Find(pugi::xml_node start, const zam::Path& path, int index) {
  if (index < 0 || path.IsOneStep()) {
    return Child(start, path.Whole(), index);
  }
  if (index == 0) {
    // The first of each step leads to the first match, where it leads to one at all.
    if (const pugi::xml_node first = FirstMatch(start, path)) {
      return first;
    }
  }
  Walk walk = StartOf(start, path);
  if (index != 0 && m_LastWalk.m_Start == start && m_LastWalk.m_Steps == walk.m_Steps &&
      m_LastWalk.m_Before <= index) {
    walk = std::move(m_LastWalk);
  }
  // Nodes that are made on the way end the last walk.
  const pugi::xml_node found = WalkTo(walk, index);
  m_LastWalk = std::move(walk);
  return found;
}

int ZAMXmlDocument::Count(pugi::xml_node start, const zam::Path& path) {
  if (path.IsOneStep()) {
    return ChildCount(start, path.Whole());
  }
  Walk walk = StartOf(start, path);
  WalkTo(walk, std::numeric_limits<int>::max());
  return walk.m_Before;
}
