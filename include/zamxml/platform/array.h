#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include "zamxml/platform/error.h"

namespace zam {
struct ListAccess;
}

/// A growable array with checked access by index.
///
/// An array of pointers does not own what they point to. The class that holds the array documents
/// who deletes it.
///
/// Thread safety: used by one thread at a time, also for reading.
template <class Entry>
class ZAMArray {
public:
  ZAMArray() = default;
  ZAMArray(const ZAMArray& other) : m_Entries(other.begin(), other.end()) {}
  ZAMArray(ZAMArray&& other) noexcept
      : m_Entries(std::move(other.m_Entries)), m_First(std::exchange(other.m_First, 0)) {
    other.m_nUnseen = 0;
  }
  ZAMArray& operator=(ZAMArray other) noexcept {
    m_Entries.swap(other.m_Entries);
    std::swap(m_First, other.m_First);
    m_nUnseen = 0;
    return *this;
  }
  ~ZAMArray() = default;

  int GetCount() const noexcept { return static_cast<int>(m_Entries.size() - m_First); }

  /// Returns the entry at `index`. Raises CInvalidArgException unless 0 <= index < GetCount().
  Entry& GetAt(int index) { return m_Entries[Shown(index)]; }
  const Entry& GetAt(int index) const { return m_Entries[Shown(index)]; }
  Entry& operator[](int index) { return GetAt(index); }
  const Entry& operator[](int index) const { return GetAt(index); }

  /// Appends an entry and returns its index. Raises _com_error (E_OUTOFMEMORY), with the array
  /// unchanged, if there is no room.
  int Add(Entry entry) {
    const int index = GetCount();
    if (index == std::numeric_limits<int>::max()) {
      throw _com_error(E_OUTOFMEMORY);
    }
    try {
      m_Entries.push_back(std::move(entry));
    } catch (const std::bad_alloc&) {
      throw _com_error(E_OUTOFMEMORY);
    }
    return index;
  }

  /// Removes the entry at `index`; later entries move down by one. Does not delete what the entry
  /// points to. Raises CInvalidArgException unless 0 <= index < GetCount(). Removing the first
  /// entry takes constant time.
  void RemoveAt(int index) {
    std::size_t place = Shown(index);
    if (index != 0) {
      for (; place + 1 < m_Entries.size(); ++place) {
        m_Entries[place] = std::move(m_Entries[place + 1]);
      }
      m_Entries.pop_back();
      return;
    }
    m_Entries[place] = Entry();
    ++m_First;
    // Half of the places are empty then: closing up costs less than the removals have saved.
    if (m_First * 2 >= m_Entries.size()) {
      m_Entries.erase(m_Entries.begin(), m_Entries.begin() + static_cast<std::ptrdiff_t>(m_First));
      m_First = 0;
    }
  }

  /// Removes all entries. Does not delete what they point to.
  void RemoveAll() noexcept {
    m_Entries.clear();
    m_First = 0;
    m_nUnseen = 0;
  }

  auto begin() noexcept {
    return ShowAll(m_Entries.begin() + static_cast<std::ptrdiff_t>(m_First));
  }
  auto end() noexcept { return ShowAll(m_Entries.end()); }
  auto begin() const noexcept {
    return ShowAll(m_Entries.begin() + static_cast<std::ptrdiff_t>(m_First));
  }
  auto end() const noexcept { return ShowAll(m_Entries.end()); }

private:
  friend struct zam::ListAccess;

  std::size_t Checked(int index) const {
    if (index < 0 || index >= GetCount()) {
      throw CInvalidArgException();
    }
    return m_First + static_cast<std::size_t>(index);
  }
  /// Same for an entry that the caller gets, and may keep.
  std::size_t Shown(int index) const {
    const std::size_t place = Checked(index);
    m_nUnseen = std::min(m_nUnseen, index);
    return place;
  }
  template <class Iterator>
  Iterator ShowAll(Iterator iterator) const noexcept {
    m_nUnseen = 0;
    return iterator;
  }

  std::vector<Entry> m_Entries;
  std::size_t m_First = 0;  ///< index of the first entry; the places before it are empty
  /// How many entries from the first on only the library knows: a list that reads them sets this.
  /// What hosts have not got they cannot have changed.
  mutable int m_nUnseen = 0;
};
