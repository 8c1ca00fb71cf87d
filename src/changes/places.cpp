#include "changes/places.h"

#include <algorithm>
#include <functional>
#include <string>
#include <unordered_set>

#include "platform/utf.h"
#include "platform/xml/name.h"

namespace zam {
namespace {

/// A place under the names that the tree stores: two paths may lead to one element.
struct StoredPlace {
  explicit StoredPlace(const Place& place) : m_Key(Path(place.m_Node).Whole()) {
    m_ElementLength = m_Key.size();
    m_Key += '/';
    m_Key += place.m_Attribute.empty() ? std::string() : StoredName(place.m_Attribute);
  }
  std::string_view Element() const { return std::string_view(m_Key).substr(0, m_ElementLength); }

  std::string m_Key;  ///< the element's path, "/" and the attribute
  std::size_t m_ElementLength = 0;
};

/// Cuts the last step off a path; false when it is the only one.
bool CutLastStep(std::string_view& path) {
  const auto end = path.rfind('/');
  path = path.substr(0, end == std::string_view::npos ? 0 : end);
  return !path.empty();
}

}  // namespace

Place::Place(const ZAMXMLChangeItem& item)
    : m_Node(item.m_Node.view()),
      m_Attribute(item.m_ValueType == ZAMXML_VTYPE_STRING ? item.m_Attribute.view()
                                                          : std::u16string_view()),
      m_Type(item.m_ValueType) {}

bool operator==(const Place& left, const Place& right) noexcept {
  return left.m_Type == right.m_Type && std::ranges::equal(left.m_Node, right.m_Node) &&
         std::ranges::equal(left.m_Attribute, right.m_Attribute);
}

std::size_t Places::Hash::operator()(const Place& place) const noexcept {
  constexpr std::hash<std::u16string_view> hash;
  const std::size_t attribute = place.m_Attribute.empty() ? 0 : hash(place.m_Attribute);
  return hash(place.m_Node) + 31 * attribute + static_cast<std::size_t>(place.m_Type);
}

void Places::Add(const ZAMXMLModification& modification, int index) {
  int item = 0;
  for (const ZAMXMLChangeItem* const change : modification.m_Changes) {
    const auto [known, added] = m_Numbers.try_emplace(Place(*change), m_Places.size());
    const std::size_t number = known->second;
    if (added) {
      m_Places.push_back(known->first);
      m_Writes.emplace_back();
      m_Carried.push_back(true);
    }
    m_Writes[number].push_back({index, item++});
    m_Carried[number] = m_Carried[number] && IsXmlText(change->m_OldValue.view()) &&
                        IsXmlText(change->m_NewValue.view());
    m_IsAloneKnown = false;
  }
}

const std::vector<bool>& Places::Alone() {
  if (!m_IsAloneKnown) {
    FindAlone();
    m_IsAloneKnown = true;
  }
  return m_Alone;
}

void Places::FindAlone() {
  m_Alone.assign(m_Places.size(), false);
  const auto isRepeated = [this](std::size_t number) { return m_Writes[number].size() > 2; };
  if (std::ranges::none_of(m_Writes, [](const auto& writes) { return writes.size() > 2; })) {
    return;
  }
  const std::vector<StoredPlace> places(m_Places.begin(), m_Places.end());
  std::unordered_map<std::string_view, int> sharers;   // places of one key, where one is repeated
  std::unordered_map<std::string_view, bool> isAbove;  // elements of repeated places
  std::unordered_set<std::string_view> records;        // elements
  for (std::size_t number = 0; number < places.size(); ++number) {
    if (isRepeated(number)) {
      sharers.try_emplace(places[number].m_Key, 0);
      isAbove.try_emplace(places[number].Element(), false);
    }
    if (m_Places[number].IsRecord()) {
      records.insert(places[number].Element());
    }
  }
  for (const StoredPlace& place : places) {
    if (const auto shared = sharers.find(place.m_Key); shared != sharers.end()) {
      ++shared->second;
    }
    for (std::string_view above = place.Element(); CutLastStep(above);) {
      if (const auto found = isAbove.find(above); found != isAbove.end()) {
        found->second = true;
      }
    }
  }
  for (std::size_t number = 0; number < places.size(); ++number) {
    if (isRepeated(number)) {
      const StoredPlace& place = places[number];
      bool inRecord = false;
      for (std::string_view above = place.Element(); !inRecord && CutLastStep(above);) {
        inRecord = records.contains(above);
      }
      m_Alone[number] =
          m_Carried[number] && sharers[place.m_Key] == 1 && !isAbove[place.Element()] && !inRecord;
    }
  }
}

}  // namespace zam
