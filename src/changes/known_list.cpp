#include "changes/known_list.h"

#include <algorithm>
#include <utility>

#include "changes/list_access.h"

namespace zam {

bool KnownList::IsSame(const Row& row, const ZAMXMLModification& modification) noexcept {
  return row.m_Type == modification.GetCount() && row.m_Texts[0].SharesUnits(modification.m_UID) &&
         row.m_Texts[1].SharesUnits(modification.m_Date) &&
         row.m_Texts[2].SharesUnits(modification.m_Time) &&
         row.m_Texts[3].SharesUnits(modification.m_UserID) &&
         row.m_Texts[4].SharesUnits(modification.m_UserName);
}

bool KnownList::IsSame(const Row& row, const ZAMXMLChangeItem& item) noexcept {
  return row.m_Type == item.m_ValueType && row.m_Texts[0].SharesUnits(item.m_Code) &&
         row.m_Texts[1].SharesUnits(item.m_Node) && row.m_Texts[2].SharesUnits(item.m_Attribute) &&
         row.m_Texts[3].SharesUnits(item.m_OldValue) && row.m_Texts[4].SharesUnits(item.m_NewValue);
}

bool KnownList::Holds(const ZAMXMLModificationGroup& list, int count) const noexcept {
  const auto entries = ListAccess::Entries(list);
  if (count > GetCount() || count > list.GetCount()) {
    return false;
  }
  const auto end = static_cast<std::size_t>(count);
  auto index = static_cast<std::size_t>(std::min(ListAccess::CountUnseen(list), count));
  const Row* row = index < end ? &m_Rows[m_Begins[index]] : nullptr;
  for (; index < end; ++index) {
    if (!IsSame(*row++, *entries[index])) {
      return false;
    }
    for (const ZAMXMLChangeItem* const item : entries[index]->m_Changes) {
      if (!IsSame(*row++, *item)) {
        return false;
      }
    }
  }
  return true;
}

void KnownList::Learn(const ZAMXMLModificationGroup& list) {
  if (!Holds(list, GetCount())) {
    *this = {};
  }
  for (const auto* const entry :
       ListAccess::Entries(list).subspan(static_cast<std::size_t>(GetCount()))) {
    Add(*entry);
  }
}

void KnownList::Add(const ZAMXMLModification& modification) {
  const std::size_t begin = m_Rows.size();
  try {
    m_Rows.push_back({{modification.m_UID, modification.m_Date, modification.m_Time,
                       modification.m_UserID, modification.m_UserName},
                      modification.GetCount()});
    for (const ZAMXMLChangeItem* const item : modification.m_Changes) {
      m_Rows.push_back(
          {{item->m_Code, item->m_Node, item->m_Attribute, item->m_OldValue, item->m_NewValue},
           item->m_ValueType});
    }
    m_Begins.push_back(begin);
  } catch (...) {
    m_Rows.erase(m_Rows.begin() + static_cast<std::ptrdiff_t>(begin), m_Rows.end());
    throw;
  }
}

Places& KnownList::WrittenPlaces(const ZAMXMLModificationGroup& list) {
  try {
    for (; m_nPlaced < GetCount(); ++m_nPlaced) {
      m_Places.Add(*ListAccess::Entries(list)[static_cast<std::size_t>(m_nPlaced)], m_nPlaced);
    }
  } catch (...) {
    m_Places = {};
    m_nPlaced = 0;
    throw;
  }
  return m_Places;
}

}  // namespace zam
