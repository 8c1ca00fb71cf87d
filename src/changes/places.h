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

/// One write to a place: a change item of a modification.
struct PlaceWrite {
  int m_nModification;
  int m_nItem;
};

/// The places that the change items of a list write to, numbered from 0 in the order in which they
/// are met.
class Places {
public:
  /// Takes the items of a modification, which is behind those that were taken before. The texts
  /// that name places outlive the object.
  void Add(const ZAMXMLModification& modification, int index);

  std::size_t GetCount() const noexcept { return m_Places.size(); }
  /// The writes to a place, in the order of the list.
  const std::vector<PlaceWrite>& Writes(std::size_t place) const { return m_Writes[place]; }
  /// Tells for each place whether it is written to more than twice and is alone: no write to
  /// another place changes what is there, or which element its path leads to. Every value for it
  /// is one that XML can carry.
  const std::vector<bool>& Alone();

private:
  struct Hash {
    std::size_t operator()(const Place& place) const noexcept;
  };
  void FindAlone();

  std::unordered_map<Place, std::size_t, Hash> m_Numbers;
  std::vector<Place> m_Places;
  std::vector<std::vector<PlaceWrite>> m_Writes;  ///< of each place
  std::vector<bool> m_Carried;                    ///< whether XML can carry all values of it
  std::vector<bool> m_Alone;
  bool m_IsAloneKnown = false;
};

}  // namespace zam
