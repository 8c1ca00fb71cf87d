#include "value_path.h"

#include <algorithm>
#include <utility>

#include "failure.h"
#include "text.h"

namespace {

ValuePath Split(const std::string& text) {
  const auto at = text.rfind('@');
  return at == std::string::npos ? ValuePath{text, {}}
                                 : ValuePath{text.substr(0, at), text.substr(at + 1)};
}

std::vector<std::string> StepsOf(std::string_view path) {
  std::vector<std::string> steps;
  for (;;) {
    const auto end = path.find('/');
    steps.emplace_back(path.substr(0, end));
    if (end == std::string_view::npos) {
      return steps;
    }
    path.remove_prefix(end + 1);
  }
}

/// "Extra" and "Extra[0]" are one step.
std::pair<std::string_view, std::string_view> NameAndIndex(std::string_view step) {
  const auto bracket = step.find('[');
  if (bracket == std::string_view::npos || !step.ends_with(']')) {
    return {step, {}};
  }
  return {step.substr(0, bracket), step.substr(bracket + 1, step.size() - bracket - 2)};
}

bool StepMatches(std::string_view pattern, std::string_view step) {
  const auto [wanted, wantedIndex] = NameAndIndex(pattern);
  const auto [name, index] = NameAndIndex(step);
  return wanted == name && (wantedIndex.empty() || wantedIndex == (index.empty() ? "0" : index));
}

}  // namespace

std::string ValuePath::Whole() const {
  return m_Attribute.empty() ? m_Element : m_Element + '@' + m_Attribute;
}

bool IsPlainName(const std::string& name) {
  // What a name is, the library decides: it stores any other text under an escaped name.
  const _bstr_t given = _bstr_t::FromUtf8(name);
  ZAMXml probe;
  probe.New(nullptr);
  probe.CreateRoot(given);
  return probe.GetNodeName(probe.GetNode(given)).utf8() == name && !name.empty();
}

ValuePath ParseChangedPath(const std::string& file, const std::string& text) {
  const std::string shown = Printable(_bstr_t::FromUtf8(text));
  ValuePath path = Split(text);
  if (path.m_Element.size() < text.size() && !IsPlainName(path.m_Attribute)) {
    throw Failure(file, shown, "what follows \"@\" is no attribute name");
  }
  const std::vector<std::string> steps = StepsOf(path.m_Element);
  if (steps.front() == "Modifications") {
    throw Failure(file, shown, "the history itself is never changed");
  }
  for (const std::string& step : steps) {
    if (!NameAndIndex(step).second.empty()) {
      throw Failure(file, shown, "a change names the first element of a path only, so no index");
    }
    if (!IsPlainName(step)) {
      throw Failure(file, shown, "not every step of the path is an element name");
    }
  }
  return path;
}

PathFilter::PathFilter(const std::vector<std::string>& arguments) {
  for (const std::string& argument : arguments) {
    const ValuePath path = Split(argument);
    Pattern pattern{argument, StepsOf(path.m_Element), path.m_Attribute};
    if (std::any_of(pattern.m_Steps.begin(), pattern.m_Steps.end(),
                    [](const std::string& step) { return step.empty(); })) {
      throw Failure("", argument, "a step of the path is empty");
    }
    m_Patterns.push_back(std::move(pattern));
  }
}

bool PathFilter::Matches(const Pattern& pattern, const std::vector<std::string>& steps,
                         const std::string& attribute) {
  if (!pattern.m_Attribute.empty() &&
      (pattern.m_Attribute != attribute || pattern.m_Steps.size() != steps.size())) {
    return false;
  }
  return pattern.m_Steps.size() <= steps.size() &&
         std::equal(pattern.m_Steps.begin(), pattern.m_Steps.end(), steps.begin(), StepMatches);
}

bool PathFilter::Takes(const ValuePath& path) const {
  if (TakesAll()) {
    return true;
  }
  const std::vector<std::string> steps = StepsOf(path.m_Element);
  bool taken = false;
  for (const Pattern& pattern : m_Patterns) {
    if (Matches(pattern, steps, path.m_Attribute)) {
      pattern.m_Used = true;
      taken = true;
    }
  }
  return taken;
}

std::vector<std::string> PathFilter::Idle() const {
  std::vector<std::string> idle;
  for (const Pattern& pattern : m_Patterns) {
    if (!pattern.m_Used) {
      idle.push_back(pattern.m_Text);
    }
  }
  return idle;
}

void PathFilter::Absorb(const PathFilter& copy) {
  for (std::size_t i = 0; i < m_Patterns.size(); ++i) {
    m_Patterns[i].m_Used = m_Patterns[i].m_Used || copy.m_Patterns[i].m_Used;
  }
}
