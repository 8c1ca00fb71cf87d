#pragma once

#include <cstddef>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include "zamxml/platform/error.h"

/// An ordered, growable array: append at the end, checked access by index.
///
/// Where the entries are pointers the array never deletes what they point to; the class that holds
/// the array says who does. Used by one thread at a time.
template <class Entry>
class ZAMArray {
public:
  /// The number of entries.
  int GetCount() const noexcept { return static_cast<int>(m_Entries.size()); }

  /// The entry at an index from 0 to GetCount() - 1; any other index raises CInvalidArgException.
  Entry& GetAt(int index) { return m_Entries[Checked(index)]; }
  const Entry& GetAt(int index) const { return m_Entries[Checked(index)]; }
  Entry& operator[](int index) { return GetAt(index); }
  const Entry& operator[](int index) const { return GetAt(index); }

  /// Appends an entry and returns its index.
  /// Raises _com_error (E_OUTOFMEMORY) when there is no room; the array is then unchanged.
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

  /// Removes the entry at an index from 0 to GetCount() - 1, without deleting what it points to;
  /// any other index raises CInvalidArgException.
  void RemoveAt(int index) {
    m_Entries.erase(m_Entries.begin() + static_cast<std::ptrdiff_t>(Checked(index)));
  }

  /// Removes all entries, without deleting what they point to.
  void RemoveAll() noexcept { m_Entries.clear(); }

  auto begin() noexcept { return m_Entries.begin(); }
  auto end() noexcept { return m_Entries.end(); }
  auto begin() const noexcept { return m_Entries.begin(); }
  auto end() const noexcept { return m_Entries.end(); }

private:
  std::size_t Checked(int index) const {
    if (index < 0 || index >= GetCount()) {
      throw CInvalidArgException();
    }
    return static_cast<std::size_t>(index);
  }

  std::vector<Entry> m_Entries;
};
