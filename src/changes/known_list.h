#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

#include "changes/places.h"
#include "zamxml/changes.h"

namespace zam {

struct RawChildren;

/// What a list of modifications held when it was looked at last. Hosts may change a list; since
/// texts are immutable and are kept here, a text that still shares its units is unchanged.
class KnownList {
public:
  int GetCount() const noexcept { return static_cast<int>(m_Begins.size()); }
  /// Whether the first entries of the list are known and unchanged.
  bool Holds(const ZAMXMLModificationGroup& list, int count) const noexcept;
  /// Learns the whole list; what is known and unchanged already stays.
  void Learn(const ZAMXMLModificationGroup& list);
  /// The places that the known entries write to.
  Places& WrittenPlaces(const ZAMXMLModificationGroup& list);

  /// Remembers that the first known entries are what reading these raw children gives, and whether
  /// writing them would make the same.
  void SetRead(std::shared_ptr<const RawChildren> raw, bool isWritten) noexcept {
    m_Raw = std::move(raw);
    m_IsWritten = isWritten;
  }
  /// Whether reading the raw children gives the first entries of the list.
  bool IsRead(const std::shared_ptr<const RawChildren>& raw, int count,
              const ZAMXMLModificationGroup& list) const noexcept {
    return raw == m_Raw && Holds(list, count);
  }
  bool IsWritten() const noexcept { return m_IsWritten; }

private:
  struct Row {
    std::array<_bstr_t, 5> m_Texts;
    int m_Type;  ///< of an item; of a modification the number of its items
  };
  static bool IsSame(const Row& row, const ZAMXMLModification& modification) noexcept;
  static bool IsSame(const Row& row, const ZAMXMLChangeItem& item) noexcept;
  void Add(const ZAMXMLModification& modification);

  std::vector<Row> m_Rows;  ///< for each modification one, and behind it those of its items
  std::vector<std::size_t> m_Begins;  ///< the row of each modification
  Places m_Places;
  int m_nPlaced = 0;  ///< modifications of which the places are taken
  std::shared_ptr<const RawChildren> m_Raw;
  bool m_IsWritten = false;
};

}  // namespace zam
