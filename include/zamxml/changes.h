#pragma once

#include "zamxml/platform/array.h"
#include "zamxml/platform/export.h"
#include "zamxml/platform/log.h"
#include "zamxml/platform/text.h"
#include "zamxml/platform/xml.h"
#include "zamxml/records.h"

/// What the two values of a change item hold. The values and their words ("STRING", "NAME",
/// "STATEMENT") are stored in documents: do not change them.
enum ZAMXML_VTYPE : int {
  ZAMXML_VTYPE_NONE = -1,      ///< nothing; cannot be written
  ZAMXML_VTYPE_STRING = 0,     ///< the text of an element or the value of an attribute, as it is
  ZAMXML_VTYPE_NAME = 1,       ///< a ZAMXMLName folded by ZAMXMLChangeItem::EncodeXMLName
  ZAMXML_VTYPE_STATEMENT = 2,  ///< a ZAMXMLStatement folded by EncodeXMLStatement
};

/// One changed value: where it stands, what kind it is, and its text before and after.
/// Elements: Node, Attribute, ValueType, OldValue, NewValue. Follows what all records share
/// (records.h), except that a new item holds empty texts, like a cleared one.
class ZAMXML_API ZAMXMLChangeItem {
public:
  ZAMXMLChangeItem();
  ZAMXMLChangeItem(const ZAMXMLChangeItem& other);
  ZAMXMLChangeItem& operator=(const ZAMXMLChangeItem& other);
  virtual ~ZAMXMLChangeItem();

  /// Makes the five texts empty and the type ZAMXML_VTYPE_NONE.
  void Clear();

  /// Sets type and new value and makes the old value empty; code, node and attribute stay.
  void SetValue(ZAMXML_VTYPE type, const _bstr_t& value);
  /// The same with a whole name, folded.
  void SetValueNaem(const ZAMXMLName& name);
  /// The same with a whole statement list, folded.
  void SetValueStatement(const ZAMXMLStatement& list);

  /// Also reads a child Code, which documents of other writers may hold. A ValueType word counts in
  /// any case; a missing or unknown one is the string type.
  int ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);
  /// Never writes m_Code. With a type that has no word: 0 after Node and Attribute are written.
  int WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);

  /// Folds the six texts of a name, in field order, into one text joined by "^" (always five of
  /// them). Nothing is escaped: a name that itself holds "^" does not come back.
  static void EncodeXMLName(const ZAMXMLName& name, _bstr_t& text);
  /// Sets the name to the fields of a folded text of any length. Missing fields are empty; what
  /// follows a sixth "^" is ignored.
  static void DecodeXMLName(const _bstr_t& text, ZAMXMLName& name);
  /// Folds the entries of a list, in order, into one text joined by "^". Nothing is escaped.
  static void EncodeXMLStatement(const ZAMXMLStatement& list, _bstr_t& text);
  /// Sets the list to the pieces of a folded text that have a character; each of any length.
  static void DecodeXMLStatement(const _bstr_t& text, ZAMXMLStatement& list);

  _bstr_t m_Code;       ///< a code of the creator's; kept in memory only
  _bstr_t m_Node;       ///< element names joined by "/", relative to the root element
  _bstr_t m_Attribute;  ///< attribute of that element; empty when the element's content changed
  ZAMXML_VTYPE m_ValueType = ZAMXML_VTYPE_NONE;
  _bstr_t m_OldValue;
  _bstr_t m_NewValue;

protected:
  /// Read and write the type and both values; the same failures as ReadFromXML and WriteToXML.
  int ReadValue(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);
  int WriteValue(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);
};

/// One committed edit: who, when, and the ordered list of changes. Elements: UID, Date, Time,
/// UserID, UserName, Changes (with one Item for each change). Not copied as a whole.
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
  /// The change item at the index, which stays the modification's; null for a bad index.
  ZAMXMLChangeItem* GetChange(int index) const;

  /// Appends the items that can be read and leaves out those that cannot. Without a Changes child:
  /// 0.
  int ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);
  /// Replaces all that Changes holds. An item that cannot be written stays incomplete.
  int WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);

  _bstr_t m_UID;   ///< identifier of the modification, given by the host
  _bstr_t m_Date;  ///< local date of the commit, as 2009-03-05
  _bstr_t m_Time;  ///< local time of the commit, as 14:07:09
  _bstr_t m_UserID;
  _bstr_t m_UserName;
  /// The changes, in the order of adding. The modification owns them and deletes them.
  ZAMArray<ZAMXMLChangeItem*> m_Changes;
};

/// The modifications of a document, oldest first: the one at index i is step i of its history. One
/// Modification element for each. Not copied as a whole.
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
  /// The modification at the index, which stays the list's. A bad index raises
  /// CInvalidArgException.
  ZAMXMLModification* GetModification(int index) const;

  /// Appends the modifications that can be read; one that cannot (it has no Changes) is left out,
  /// and the log says which.
  int ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);
  /// Replaces all that the element holds by the list.
  int WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);

  /// Moves a tree, whose root element stands at the path, from one history position to another:
  /// redoes the modifications after the current position, oldest first, or undoes those after the
  /// target, newest first. Positions run from -1 (nothing applied) to GetCount() - 1.
  ///
  /// Returns 1; or 0, with the tree unchanged, when the target is out of range or the current
  /// position already, or there is no element at the path. A current position out of range raises
  /// CInvalidArgException before anything changes. Any exception passes to the caller and leaves
  /// the tree between positions: what was written stays. Moving it from the higher of the two
  /// positions to -1 then brings back the original content.
  int ApplyModifications(ZAMXml& xml, ZAMTextView rootPath, int current, int target);

  /// The modifications, oldest first. The list owns them and deletes them.
  ZAMArray<ZAMXMLModification*> m_ModificationList;

protected:
  /// Write the new (the old) value of every change into the tree, in stored order. An element that
  /// is missing is added below the root; where that fails _com_error (E_POINTER) is raised.
  void RedoModification(ZAMXml& xml, IXMLDOMNodePtr& root, ZAMXMLModification* modification);
  void UndoModification(ZAMXml& xml, IXMLDOMNodePtr& root, ZAMXMLModification* modification);
};
