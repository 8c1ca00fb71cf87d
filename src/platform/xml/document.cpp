#include "platform/xml/document.h"

#include <utility>

#include "platform/xml/format.h"
#include "zamxml/platform/error.h"

namespace zam {

int DepthOf(pugi::xml_node node) {
  int depth = 0;
  for (; node.type() == pugi::node_element; node = node.parent()) {
    ++depth;
  }
  return depth;
}

bool IsInside(pugi::xml_node node, pugi::xml_node subtree) {
  while (node && node != subtree) {
    node = node.parent();
  }
  return static_cast<bool>(node);
}

bool HasElements(pugi::xml_node node) { return static_cast<bool>(ElementFrom(node.first_child())); }

bool IsElement(pugi::xml_node node, std::string_view name) {
  // Most names differ at once, and each call into the parser's library counts here.
  return IsNamed(node.name(), name) && node.type() == pugi::node_element;
}

pugi::xml_node ElementFrom(pugi::xml_node node) {
  while (StructureOf(node) != nullptr && node.type() != pugi::node_element) {
    node = node.next_sibling();
  }
  return node;
}

}  // namespace zam

ZAMXmlDocument::~ZAMXmlDocument() {
  for (const auto& [node, note] : m_Notes) {
    note->m_Document = nullptr;
    if (note->m_References == 0) {
      delete note;
    }
  }
}

void ZAMXmlDocument::MakeEmpty() {
  pugi::xml_node declaration = m_Tree.append_child(pugi::node_declaration);
  if (!declaration || !declaration.append_attribute("version").set_value("1.0") ||
      !m_Tree.append_child(pugi::node_pcdata).set_value("\n")) {
    throw _com_error(E_OUTOFMEMORY);
  }
}

void ZAMXmlDocument::AddRoot(std::string_view name) {
  zam::Insertion insertion(m_Tree);
  insertion.Before({}, pugi::node_element, name);
  insertion.Before({}, pugi::node_pcdata, "\n");
  insertion.Keep();
}

pugi::xml_node ZAMXmlDocument::AddElement(pugi::xml_node parent, std::string_view name) {
  if (zam::DepthOf(parent) >= zam::MaximumDepth) {
    return {};
  }
  const bool blankText = !zam::HasElements(parent) && parent.find_child(&zam::IsFormatting);
  zam::Insertion insertion(parent);
  PutBackFormatting(parent, insertion);
  const pugi::xml_node last = parent.last_child();
  const bool lastFormats = last && zam::IsFormatting(last);
  const bool blank = lastFormats && !last.previous_sibling();
  const zam::Formatting formatting = FormattingFor(parent);
  const pugi::xml_node place = lastFormats && !blank ? last : pugi::xml_node();
  if (!formatting.m_BeforeChild.empty()) {
    insertion.Before(place, pugi::node_pcdata, formatting.m_BeforeChild);
  }
  const pugi::xml_node element = insertion.Before(place, pugi::node_element, name);
  if (!formatting.m_BeforeEnd.empty()) {
    insertion.Before(place, pugi::node_pcdata, formatting.m_BeforeEnd);
  }
  if (blankText) {
    Memory(parent).m_Blank = blank ? last.value() : "";
  }
  if (blank) {
    parent.remove_child(last);
  }
  insertion.Keep();
  m_LastWalk = {};
  if (zam::ElementMemory* const memory = FindMemory(parent)) {
    memory->m_Emptied.reset();
    if (memory->m_Children) {
      try {
        (*memory->m_Children)[element.name()].push_back(element);
      } catch (const std::bad_alloc&) {
        memory->m_Children.reset();
      }
    }
  }
  return element;
}

pugi::xml_node ZAMXmlDocument::Add(pugi::xml_node parent, const zam::Path& path) {
  if (zam::DepthOf(parent) + path.StepCount() > zam::MaximumDepth) {
    return {};
  }
  for (std::string_view rest = path.Parent(); !rest.empty();) {
    const std::string_view step = zam::Path::CutStep(rest);
    const pugi::xml_node known = Child(parent, step, 0);
    parent = known ? known : AddElement(parent, step);
  }
  return AddElement(parent, path.Last());
}

void ZAMXmlDocument::RemoveElements(pugi::xml_node parent, const zam::Path& path) {
  if (path.IsOneStep()) {
    RemoveAll(parent, path.Last());
    return;
  }
  Walk walk = StartOf(parent, path);
  const std::string last = std::move(walk.m_Steps.back());
  walk.m_Steps.pop_back();
  if (walk.m_Steps.size() == 1) {
    for (int i = 0; const pugi::xml_node holder = Child(parent, walk.m_Steps.front(), i); ++i) {
      RemoveAll(holder, last);
    }
    return;
  }
  walk.m_Positions.pop_back();
  for (int i = 0; const pugi::xml_node holder = WalkTo(walk, i); ++i) {
    RemoveAll(holder, last);
  }
}

zam::Nodes ZAMXmlDocument::All(pugi::xml_node parent, std::string_view name) {
  RequireNodes(parent);
  const zam::ElementMemory* const memory = FindMemory(parent);
  if (memory != nullptr && memory->m_Children) {
    const auto named = memory->m_Children->find(name);
    return named != memory->m_Children->end() ? named->second : zam::Nodes();
  }
  zam::Nodes children;
  for (const pugi::xml_node child : parent.children()) {
    if (zam::IsElement(child, name)) {
      children.push_back(child);
    }
  }
  return children;
}

void ZAMXmlDocument::RemoveAll(pugi::xml_node parent, std::string_view name) {
  const zam::Nodes children = All(parent, name);
  if (children.empty()) {
    return;
  }
  RememberFormatting(parent, name);
  if (zam::ElementMemory* const memory = FindMemory(parent);
      memory != nullptr && memory->m_Children) {
    memory->m_Children->erase(children.front().name());
  }
  for (const pugi::xml_node child : children) {
    TakeOut(parent, child);
  }
  DropFormatting(parent);
}

void ZAMXmlDocument::RemoveElement(pugi::xml_node parent, pugi::xml_node child) {
  ForgetPlaces(parent);
  TakeOut(parent, child);
  DropFormatting(parent);
}

void ZAMXmlDocument::Replace(pugi::xml_node parent, pugi::xml_node replaced,
                             pugi::xml_node replacement) noexcept {
  ForgetPlaces(parent);
  Forget(replaced, true);
  const pugi::xml_node before = replacement.previous_sibling();
  if (before && zam::IsFormatting(before)) {
    parent.remove_child(before);
  }
  parent.insert_move_before(replacement, replaced);
  parent.remove_child(replaced);
}

/// Forgets which child has which index.
void ZAMXmlDocument::ForgetPlaces(pugi::xml_node parent) noexcept {
  m_LastWalk = {};
  if (zam::ElementMemory* const memory = FindMemory(parent)) {
    memory->m_Children.reset();
  }
  for (const pugi::xml_node child : parent.children()) {
    if (ZAMXmlNode* const note = FindNote(child)) {
      note->m_Index = -1;
    }
  }
}

void ZAMXmlDocument::TakeOut(pugi::xml_node parent, pugi::xml_node child) {
  Forget(child, true);
  const pugi::xml_node before = child.previous_sibling();
  const pugi::xml_node behind = child.next_sibling();
  if (before && zam::IsFormatting(before)) {
    parent.remove_child(before);
  } else if (before.type() == pugi::node_pcdata && behind && zam::IsFormatting(behind)) {
    // White space next to a text would become a part of it.
    parent.remove_child(behind);
  }
  parent.remove_child(child);
}

void ZAMXmlDocument::RemoveContent(pugi::xml_node parent) {
  RememberFormatting(parent, {});
  Forget(parent, false);
  if (zam::ElementMemory* const memory = FindMemory(parent)) {
    memory->m_Children.reset();
    memory->m_Text.reset();
    memory->m_Blank.reset();
  }
  parent.remove_children();
}
