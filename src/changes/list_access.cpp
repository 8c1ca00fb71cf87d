#include "changes/list_access.h"

#include <algorithm>
#include <exception>
#include <memory>
#include <utility>

#include "changes/known_list.h"
#include "changes/owned_entries.h"
#include "records/record.h"

namespace zam {

std::span<ZAMXMLModification* const> ListAccess::Entries(
    const ZAMXMLModificationGroup& list) noexcept {
  const auto& array = list.m_ModificationList;
  return std::span(array.m_Entries).subspan(array.m_First);
}

bool ListAccess::IsRawRead(const ZAMXMLModificationGroup& list,
                           const RawSection& section) noexcept {
  return list.m_pKnown != nullptr &&
         list.m_pKnown->IsRead(section.Children(), section.GetCount(), list);
}

bool ListAccess::ReadRaw(ZAMXMLModificationGroup& list, const RawSection& section) {
  auto& entries = list.m_ModificationList;
  const int before = entries.GetCount();
  bool isRead = true;
  try {
    RawCursor cursor(section);
    while (isRead && !cursor.IsAtEnd()) {
      isRead = ReadEntry(entries, cursor, u"Modification");
    }
    if (isRead && before == 0) {
      list.m_pKnown = std::make_unique<KnownList>();
      list.m_pKnown->Learn(list);
      list.m_pKnown->SetRead(section.Children(), cursor.IsWritten());
      entries.m_nUnseen = entries.GetCount();
    }
  } catch (const std::exception&) {
    // Without memory for all at once, the section is read like any other.
    isRead = false;
  }
  if (!isRead) {
    list.m_pKnown.reset();
  }
  while (!isRead && entries.GetCount() > before) {
    const std::unique_ptr<ZAMXMLModification> entry(entries[entries.GetCount() - 1]);
    entries.RemoveAt(entries.GetCount() - 1);
  }
  return isRead;
}

void ListAccess::TakeFirst(ZAMXMLModificationGroup& list, ZAMXMLModificationGroup& former,
                           int count) {
  auto& entries = list.m_ModificationList;
  auto& known = former.m_ModificationList;
  const auto first = known.m_Entries.begin() + static_cast<std::ptrdiff_t>(known.m_First);
  entries.m_Entries.assign(first, first + count);
  std::fill_n(first, count, nullptr);
  entries.m_nUnseen = std::min(known.m_nUnseen, count);
}

int ListAccess::ReadAgain(ZAMXMLModificationGroup& list, ZAMXMLModificationGroup& former,
                          ZAMXml& xml, const IXMLDOMNodePtr& element, ZAMLog* log) {
  auto& entries = list.m_ModificationList;
  auto& known = former.m_ModificationList;
  return RunGuarded(xml, element, log, [&] {
    const RawSection section(xml, element);
    const bool isRaw = section && IsRawRead(former, section);
    int position = isRaw ? section.GetCount() : 0;
    TakeFirst(list, former, position);
    list.m_pKnown = std::move(former.m_pKnown);
    const FieldName name(u"Modification");
    FieldCursor child = (isRaw ? section.Rest() : FieldCursor(xml, element)).Below(name);
    for (; child; child = child.Next(name), ++position) {
      const int index = entries.GetCount();
      if (index < known.GetCount() && Holds(child, *known[index])) {
        entries.Add(known[index]);
        known[index] = nullptr;
      } else {
        ReadEntry(entries, xml, child, position, log);
      }
    }
    return 1;
  });
}

bool ListAccess::IsWhole(const ZAMXMLModificationGroup& read,
                         const ZAMXMLModificationGroup& before) {
  const auto sameCount = [](const ZAMXMLModification* left, const ZAMXMLModification* right) {
    return right == nullptr || left->GetCount() == right->GetCount();
  };
  return std::ranges::equal(Entries(read), Entries(before), sameCount);
}

void ListAccess::TakeBack(ZAMXMLModificationGroup& former, ZAMXMLModificationGroup& list) {
  auto& known = former.m_ModificationList;
  if (former.m_pKnown == nullptr) {
    former.m_pKnown = std::move(list.m_pKnown);
  }
  for (int index = known.GetCount() - 1; index >= 0; --index) {
    if (known[index] == nullptr && index < list.GetCount()) {
      std::swap(known[index], list.m_ModificationList[index]);
    }
    if (known[index] == nullptr) {
      known.RemoveAt(index);
    }
  }
}

void ListAccess::Swap(ZAMXMLModificationGroup& left, ZAMXMLModificationGroup& right) noexcept {
  auto& leftArray = left.m_ModificationList;
  auto& rightArray = right.m_ModificationList;
  std::swap(leftArray.m_Entries, rightArray.m_Entries);
  std::swap(leftArray.m_First, rightArray.m_First);
  std::swap(leftArray.m_nUnseen, rightArray.m_nUnseen);
  std::swap(left.m_pKnown, right.m_pKnown);
}

int ListAccess::CountWritten(ZAMXMLModificationGroup& list, ZAMXml& xml,
                             const IXMLDOMNodePtr& element) {
  const RawSection section(xml, element);
  const bool isRaw = section && IsRawRead(list, section) && list.m_pKnown->IsWritten();
  int count = isRaw ? section.GetCount() : 0;
  for (auto cursor = isRaw ? section.WrittenRest() : WrittenCursor(xml, element); !cursor.IsAtEnd();
       ++count) {
    if (count == list.GetCount() || !cursor.Next(u"Modification") ||
        !IsWritten(cursor.Inside(), *list.GetModification(count))) {
      return 0;
    }
  }
  return count;
}

}  // namespace zam
