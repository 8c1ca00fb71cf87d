#include "changes/places.h"

#include <algorithm>
#include <compare>
#include <functional>
#include <string>

#include "platform/name_escape.h"
#include "platform/xml_path.h"

namespace zam {
namespace {

/// A place under the names that the tree stores: two paths may lead to one element.
struct StoredPlace {
  StoredPlace(const Place& place, std::size_t number)
      : m_Element(Path(place.m_Node).Whole()),
        m_Attribute(place.m_Attribute.empty() ? std::string() : StoredName(place.m_Attribute)),
        m_nNumber(number),
        m_IsRecord(place.IsRecord()) {
    m_Element += '/';
  }
  auto operator<=>(const StoredPlace&) const = default;

  std::string m_Element;    ///< ends with "/": an element below begins with the whole of it
  std::string m_Attribute;  ///< empty for the content of the element
  std::size_t m_nNumber;
  bool m_IsRecord;
};

using StoredPlaces = std::vector<StoredPlace>;

/// The places at one element.
struct Element {
  StoredPlaces::const_iterator m_First;
  StoredPlaces::const_iterator m_End;
  bool m_InRecord;  ///< a record is written at it or above it
  bool m_IsAbove = false;
};

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

std::size_t Places::Add(const ZAMXMLChangeItem& item) {
  const auto [known, added] = m_Numbers.try_emplace(Place(item), m_Places.size());
  if (added) {
    m_Places.push_back(known->first);
  }
  return known->second;
}

/// In order, the places at an element are neighbours, and those below it follow.
std::vector<bool> Places::FindAlone() const {
  std::vector<bool> alone(m_Places.size(), true);
  StoredPlaces places;
  places.reserve(m_Places.size());
  for (const Place& place : m_Places) {
    places.emplace_back(place, places.size());
  }
  std::ranges::sort(places);
  const auto share = [&alone](auto first, auto end) {
    std::for_each(first, end, [&alone](const StoredPlace& each) { alone[each.m_nNumber] = false; });
  };
  std::vector<Element> above;
  for (StoredPlaces::const_iterator first = places.begin(), end; first != places.end();
       first = end) {
    end = std::find_if(first, places.cend(), [first](const StoredPlace& each) {
      return each.m_Element != first->m_Element;
    });
    while (!above.empty() && !first->m_Element.starts_with(above.back().m_First->m_Element)) {
      above.pop_back();
    }
    bool inRecord = false;
    if (!above.empty()) {
      Element& parent = above.back();
      if (!parent.m_IsAbove) {
        share(parent.m_First, parent.m_End);
        parent.m_IsAbove = true;
      }
      inRecord = parent.m_InRecord;
    }
    for (auto place = first; place != end; ++place) {
      const bool sameAsNext = place + 1 != end && place->m_Attribute == (place + 1)->m_Attribute;
      if (inRecord || sameAsNext) {
        share(place, place + (sameAsNext ? 2 : 1));
      }
    }
    inRecord = inRecord || std::any_of(first, end, std::mem_fn(&StoredPlace::m_IsRecord));
    above.push_back({first, end, inRecord});
  }
  return alone;
}

}  // namespace zam
