#pragma once

#include <cstddef>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "zamxml/changes.h"

namespace zam {

/// Where a change item writes, as the item names it. It refers to the texts of the item.
struct Place {
  explicit Place(const ZAMXMLChangeItem& item);

  /// Whether the value is stored in child elements.
  bool IsRecord() const noexcept {
    return m_Type == ZAMXML_VTYPE_NAME || m_Type == ZAMXML_VTYPE_STATEMENT;
  }
  friend bool operator==(const Place& left, const Place& right) noexcept;

  std::u16string_view m_Node;
  std::u16string_view m_Attribute;  ///< empty where the item does not write an attribute
  ZAMXML_VTYPE m_Type;
};

/// The places that a run of change items writes to, numbered from 0 in the order in which they are
/// met.
class Places {
public:
  /// The number of the item's place.
  std::size_t Add(const ZAMXMLChangeItem& item);
  std::size_t GetCount() const noexcept { return m_Places.size(); }

  /// Tells for each place whether it is met more than twice and is alone: no write to another
  /// place changes what is there, or which element its path leads to.
  std::vector<bool> FindAlone() const;

private:
  struct Hash {
    std::size_t operator()(const Place& place) const noexcept;
  };

  std::unordered_map<Place, std::size_t, Hash> m_Numbers;
  std::vector<Place> m_Places;
  std::vector<int> m_Meetings;  ///< of each place
};

}  // namespace zam
