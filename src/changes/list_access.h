#pragma once

#include <span>

#include "platform/xml/raw.h"
#include "zamxml/changes.h"

/// Reading and writing the list of modifications, also once more: what the tree still holds stays
/// where it is, there and in the list.
namespace zam {

/// Reads a record from its element, the index-th of its name, like its ReadFromXML.
int Read(ZAMXMLChangeItem& item, ZAMXml& xml, const FieldCursor& element, int index, ZAMLog* log);
int Read(ZAMXMLModification& modification, ZAMXml& xml, const FieldCursor& element, int index,
         ZAMLog* log);

/// Reads an empty record from the raw child that the cursor is in. False unless it is written like
/// one; then the record is of no use.
bool Read(ZAMXMLChangeItem& item, RawCursor& cursor);
bool Read(ZAMXMLModification& modification, RawCursor& cursor);

/// Whether the element, read, would give the record again.
bool Holds(FieldCursor element, const ZAMXMLChangeItem& item);
bool Holds(FieldCursor element, const ZAMXMLModification& modification);

/// Whether writing the record into a new element would make the element of the cursor.
bool IsWritten(WrittenCursor inside, const ZAMXMLChangeItem& item);
bool IsWritten(WrittenCursor inside, const ZAMXMLModification& modification);

/// What the library does with a list beyond what hosts do.
struct ListAccess {
  /// The entries, without handing them out.
  static std::span<ZAMXMLModification* const> Entries(const ZAMXMLModificationGroup& list) noexcept;
  /// How many of them, from the first on, have not been handed out since they were read.
  static int CountUnseen(const ZAMXMLModificationGroup& list) noexcept {
    return list.m_ModificationList.m_nUnseen;
  }

  /// Reads an empty list from its element, like its ReadFromXML. Entries of the former list which
  /// the element still holds, at the same index, move over and leave null there.
  static int ReadAgain(ZAMXMLModificationGroup& list, ZAMXMLModificationGroup& former, ZAMXml& xml,
                       const IXMLDOMNodePtr& element, ZAMLog* log);
  /// Moves such entries back, as far as they are still in the list.
  static void TakeBack(ZAMXMLModificationGroup& former, ZAMXMLModificationGroup& list);
  /// Whether a list that was read again has all that the list before it had, entries that were
  /// taken over included: the reading leaves out entries for which there is no memory.
  static bool IsWhole(const ZAMXMLModificationGroup& read, const ZAMXMLModificationGroup& before);
  /// Exchanges two lists, and what is known of them.
  static void Swap(ZAMXMLModificationGroup& left, ZAMXMLModificationGroup& right) noexcept;

  /// Appends the entries of the raw children. False, with the list as it was, unless all of them
  /// are written like entries.
  static bool ReadRaw(ZAMXMLModificationGroup& list, const RawSection& section);
  /// How many modifications from the first on are in the element as they would be written, with
  /// nothing else beside them; 0 when there is anything else.
  static int CountWritten(ZAMXMLModificationGroup& list, ZAMXml& xml,
                          const IXMLDOMNodePtr& element);

private:
  /// Moves the first entries over, which leave null.
  static void TakeFirst(ZAMXMLModificationGroup& list, ZAMXMLModificationGroup& former, int count);
  static bool IsRawRead(const ZAMXMLModificationGroup& list, const RawSection& section) noexcept;
};

}  // namespace zam
