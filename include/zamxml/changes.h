#pragma once

#include <memory>

#include "zamxml/platform/array.h"
#include "zamxml/platform/export.h"
#include "zamxml/platform/log.h"
#include "zamxml/platform/text.h"
#include "zamxml/platform/xml.h"
#include "zamxml/records.h"

namespace zam {
class KnownList;
struct ListAccess;
}  // namespace zam

/// The type of a change item's two values. Do not change the values or their words ("STRING",
/// "NAME", "STATEMENT"): documents store them.
enum ZAMXML_VTYPE : int {
  ZAMXML_VTYPE_NONE = -1,      ///< no type; cannot be written
  ZAMXML_VTYPE_STRING = 0,     ///< the text of an element, or the value of an attribute
  ZAMXML_VTYPE_NAME = 1,       ///< a ZAMXMLName, joined by ZAMXMLChangeItem::EncodeXMLName
  ZAMXML_VTYPE_STATEMENT = 2,  ///< a ZAMXMLStatement, joined by EncodeXMLStatement
};

/// One changed value: its place, its type, and its text before and after.
/// Elements: Node, Attribute, ValueType, OldValue, NewValue. Follows the rules of all records
/// (records.h), except that a new item holds empty texts instead of null.
class ZAMXML_API ZAMXMLChangeItem {
public:
  ZAMXMLChangeItem();
  ZAMXMLChangeItem(const ZAMXMLChangeItem& other);
  ZAMXMLChangeItem& operator=(const ZAMXMLChangeItem& other);
  virtual ~ZAMXMLChangeItem();

  /// Makes the five texts empty and sets the type to ZAMXML_VTYPE_NONE.
  void Clear();

  /// Sets type and new value, and makes the old value empty. Keeps code, node and attribute.
  void SetValue(ZAMXML_VTYPE type, const _bstr_t& value);
  /// Same with a whole name, joined by EncodeXMLName.
  void SetValueNaem(const ZAMXMLName& name);
  /// Same with a whole statement list, joined by EncodeXMLStatement.
  void SetValueStatement(const ZAMXMLStatement& list);

  /// Also reads a child Code, which other writers may have stored. The word of ValueType may be in
  /// upper or lower case; a missing or unknown word means the string type.
  int ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);
  /// Never writes m_Code. Returns 0, after writing Node and Attribute, if the type has no word.
  int WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);

  /// Joins the six texts of a name, in field order, with five "^". Escapes nothing: a name that
  /// contains "^" is not restored by DecodeXMLName.
  static void EncodeXMLName(const ZAMXMLName& name, _bstr_t& text);
  /// Sets the name to the fields of such a text. Missing fields become empty. Ignores what follows
  /// a sixth "^".
  static void DecodeXMLName(const _bstr_t& text, ZAMXMLName& name);
  /// Joins the entries of a list, in order, with "^". Escapes nothing.
  static void EncodeXMLStatement(const ZAMXMLStatement& list, _bstr_t& text);
  /// Sets the list to the pieces of such a text. Leaves out empty pieces.
  static void DecodeXMLStatement(const _bstr_t& text, ZAMXMLStatement& list);

  _bstr_t m_Code;       ///< a code of the host; not stored in the document
  _bstr_t m_Node;       ///< element names joined by "/", relative to the root element
  _bstr_t m_Attribute;  ///< attribute of that element; empty if the element's content changed
  ZAMXML_VTYPE m_ValueType = ZAMXML_VTYPE_NONE;
  _bstr_t m_OldValue;
  _bstr_t m_NewValue;

protected:
  /// Read and write the type and both values. Fail like ReadFromXML and WriteToXML.
  int ReadValue(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);
  int WriteValue(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);
};

/// One committed edit: who, when, and which changes, in order. Elements: UID, Date, Time, UserID,
/// UserName, Changes (with one Item per change). Cannot be copied.
class ZAMXML_API ZAMXMLModification {
public:
  ZAMXMLModification();
  ZAMXMLModification(const ZAMXMLModification&) = delete;
  ZAMXMLModification& operator=(const ZAMXMLModification&) = delete;
  /// Deletes the change items.
  virtual ~ZAMXMLModification();

  /// Makes the five texts empty and deletes the change items.
  void Clear();
  int GetCount() const;
  /// Returns the change item at `index`; null if there is none. The modification keeps ownership.
  ZAMXMLChangeItem* GetChange(int index) const;

  /// Appends the items that can be read and leaves out the others. Returns 0 if there is no Changes
  /// child.
  int ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);
  /// Replaces the content of Changes. An item that cannot be written is left incomplete.
  int WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);

  _bstr_t m_UID;   ///< identifier of the modification; the host chooses it
  _bstr_t m_Date;  ///< local date of the commit, as 2009-03-05
  _bstr_t m_Time;  ///< local time of the commit, as 14:07:09
  _bstr_t m_UserID;
  _bstr_t m_UserName;
  /// The changes, in the order of adding. The modification owns and deletes them.
  ZAMArray<ZAMXMLChangeItem*> m_Changes;
};

/// The modifications of a document, oldest first. The one at index i is step i of the history. Each
/// is stored in one Modification element. Cannot be copied.
class ZAMXML_API ZAMXMLModificationGroup {
public:
  ZAMXMLModificationGroup();
  ZAMXMLModificationGroup(const ZAMXMLModificationGroup&) = delete;
  ZAMXMLModificationGroup& operator=(const ZAMXMLModificationGroup&) = delete;
  /// Deletes the modifications.
  virtual ~ZAMXMLModificationGroup();

  /// Deletes the modifications.
  void Clear();
  int GetCount() const;
  /// Returns the modification at `index`. The list keeps ownership. Raises CInvalidArgException if
  /// there is none.
  ZAMXMLModification* GetModification(int index) const;

  /// Appends the modifications that can be read. Leaves out one without Changes and logs which.
  int ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);
  /// Replaces the content of the element with the list.
  int WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);

  /// Moves a tree from one history position to another: redoes the modifications after `current`,
  /// oldest first, or undoes those after `target`, newest first. Positions run from -1 (nothing
  /// applied) to GetCount() - 1. `rootPath` is the path of the root element.
  ///
  /// Returns 1. Returns 0 and leaves the tree unchanged if `target` is out of range or equal to
  /// `current`, or if there is no element at `rootPath`. Raises CInvalidArgException and leaves the
  /// tree unchanged if `current` is out of range. Any other exception leaves the tree between the
  /// two positions; moving it from the higher of them to -1 then restores the original content.
  int ApplyModifications(ZAMXml& xml, ZAMTextView rootPath, int current, int target);

  /// The modifications, oldest first. The list owns and deletes them.
  ZAMArray<ZAMXMLModification*> m_ModificationList;

protected:
  /// Write the new, or the old, value of every change into the tree, in stored order. A missing
  /// element is added below the root. Raise _com_error (E_POINTER) if it cannot be added.
  void RedoModification(ZAMXml& xml, IXMLDOMNodePtr& root, ZAMXMLModification* modification);
  void UndoModification(ZAMXml& xml, IXMLDOMNodePtr& root, ZAMXMLModification* modification);

private:
  friend struct zam::ListAccess;

  /// What the list held when it was looked at last, so that unchanged entries need not be read or
  /// planned again; null at first.
  std::unique_ptr<zam::KnownList> m_pKnown;
};
