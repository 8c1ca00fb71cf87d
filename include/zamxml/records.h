#pragma once

#include "zamxml/platform/array.h"
#include "zamxml/platform/export.h"
#include "zamxml/platform/log.h"
#include "zamxml/platform/text.h"
#include "zamxml/platform/xml.h"

/// The record classes. Each holds one part of a document in memory, reads itself from an XML
/// element and writes itself into one.
///
/// Rules for all records, unless a class says otherwise:
/// - Fields are public. A text field is named after the element, or the element and attribute, that
///   stores it. Values are kept as given: nothing is parsed, converted or checked.
/// - A new record holds null texts. Clear makes every text empty (not null) and clears nested
///   records.
/// - ReadFromXML overwrites every field. A missing element gives the empty text; a missing element
///   of a nested record leaves the nested record unchanged. Lists append what they read.
/// - WriteToXML updates the first child of each name and creates missing ones in field order.
/// - Both return 1 for success. Both return 0, and do and log nothing, if the tree holds no
///   document or the element handle is null. Both return 0 if memory runs out or the tree refuses a
///   step: the caller's log, which may be null, gets the reason, and what was read or written
///   stays. No exception leaves them.
/// - A nested record that fails logs into the same log. Its owner does not fail.
/// - Thread safety: a record is used by one thread at a time.

/// The order in which ZAMXMLName::GetFullName joins the parts. Do not change the values.
enum ZAM_NAME_STYLE : int {
  ZAM_NAME_STYLE_FAMILY_FIRST = 0,  ///< prefix, family, middle, given, suffix
  ZAM_NAME_STYLE_GIVEN_FIRST = 1,   ///< prefix, given, middle, family, suffix
};

/// A person's name, as a whole and in parts. Elements: Full, Family, Given, Middle, Prefix, Suffix.
class ZAMXML_API ZAMXMLName {
public:
  ZAMXMLName();
  ZAMXMLName(const ZAMXMLName& other);
  ZAMXMLName& operator=(const ZAMXMLName& other);
  virtual ~ZAMXMLName();

  void Clear();
  int ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);
  int WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);

  /// Returns 1 if all six texts are empty or null, else 0.
  int IsEmpty() const;

  /// Returns the name for display. Null if the name is empty. m_Full if `preferFull` is nonzero and
  /// m_Full is not empty. Otherwise the parts that are not empty, in the order of `style`, joined
  /// by one space; m_Full if all parts are empty or `style` is not a ZAM_NAME_STYLE.
  _bstr_t GetFullName(ZAM_NAME_STYLE style, int preferFull) const;

  _bstr_t m_Full;  ///< the whole name, as the host gives it
  _bstr_t m_Family;
  _bstr_t m_Given;
  _bstr_t m_Middle;
  _bstr_t m_Prefix;  ///< title
  _bstr_t m_Suffix;
};

/// The header of a document. Elements: ID, Type, Version, Author, Application, InstitutionName,
/// MatchingUID. A new header holds empty texts.
class ZAMXML_API ZAMXMLDocumentInfo {
public:
  ZAMXMLDocumentInfo();
  ZAMXMLDocumentInfo(const ZAMXMLDocumentInfo& other);
  ZAMXMLDocumentInfo& operator=(const ZAMXMLDocumentInfo& other);
  virtual ~ZAMXMLDocumentInfo();

  void Clear();
  int ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);
  int WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);

  _bstr_t m_ID;  ///< the kind of document; ZAMXMLFile compares it when saving
  _bstr_t m_Type;
  _bstr_t m_Version;  ///< version of the kind of document
  _bstr_t m_Author;
  _bstr_t m_Application;
  _bstr_t m_InstitutionName;
  _bstr_t m_MatchingUID;
};

/// The patient section. Elements: ID, Name (a person name), BirthDate, Gender with attribute code,
/// Age, Race, Height and Weight (Age, Height and Weight with attribute Unit), BackupID.
///
/// Reading normalizes m_GenderCode: a code of exactly one character stays; any other becomes the
/// first character of m_Gender, or "U" if that is neither "F" nor "M". Writing does not change it.
class ZAMXML_API ZAMXMLPatientInfo {
public:
  ZAMXMLPatientInfo();
  ZAMXMLPatientInfo(const ZAMXMLPatientInfo& other);
  ZAMXMLPatientInfo& operator=(const ZAMXMLPatientInfo& other);
  virtual ~ZAMXMLPatientInfo();

  void Clear();
  int ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);
  int WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);

  _bstr_t m_ID;
  ZAMXMLName m_Name;
  _bstr_t m_BirthDate;
  _bstr_t m_Gender;      ///< sex as free text
  _bstr_t m_GenderCode;  ///< sex as a code: "M", "F" or "U" if reading derives it
  _bstr_t m_Age;
  _bstr_t m_AgeUnit;
  _bstr_t m_Race;
  _bstr_t m_Height;
  _bstr_t m_HeightUnit;
  _bstr_t m_Weight;
  _bstr_t m_WeightUnit;
  _bstr_t m_BackupID;  ///< second patient identifier
};

/// The order section. Elements: ID, Date, Time, Department, RoomNumber, AuthorName (a person name),
/// Comment.
class ZAMXML_API ZAMXMLOrderInfo {
public:
  ZAMXMLOrderInfo();
  ZAMXMLOrderInfo(const ZAMXMLOrderInfo& other);
  ZAMXMLOrderInfo& operator=(const ZAMXMLOrderInfo& other);
  virtual ~ZAMXMLOrderInfo();

  void Clear();
  int ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);
  int WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);

  _bstr_t m_ID;
  _bstr_t m_Date;
  _bstr_t m_Time;
  _bstr_t m_Department;
  _bstr_t m_RoomNumber;
  ZAMXMLName m_AuthorName;
  _bstr_t m_Comment;
};

/// An ordered list of free texts, each stored in one Statement element. Ignores and keeps all other
/// children of the element. Cannot be copied.
class ZAMXML_API ZAMXMLStatement {
public:
  ZAMXMLStatement();
  ZAMXMLStatement(const ZAMXMLStatement&) = delete;
  ZAMXMLStatement& operator=(const ZAMXMLStatement&) = delete;
  virtual ~ZAMXMLStatement();

  /// Appends the text, even if it is null or empty. Raises _com_error (E_OUTOFMEMORY), with the
  /// list unchanged, if there is no room.
  void AddStatement(const _bstr_t& text);
  /// Sets `text` to the entry at `index` and returns 1. Returns 0 and changes nothing if there is
  /// none.
  int GetStatement(int index, _bstr_t& text) const;
  int GetCount() const;
  void Clear();

  /// Appends the Statement children that are not empty, in document order.
  int ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);
  /// Replaces all Statement children with the entries that are not empty, in list order.
  int WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);

private:
  ZAMArray<_bstr_t> m_Statements;
};

/// The device used for a study. Elements: Vendor, Model, Modality, Code, SerialNo.
class ZAMXML_API ZAMXMLDeviceInfo {
public:
  ZAMXMLDeviceInfo();
  ZAMXMLDeviceInfo(const ZAMXMLDeviceInfo& other);
  ZAMXMLDeviceInfo& operator=(const ZAMXMLDeviceInfo& other);
  virtual ~ZAMXMLDeviceInfo();

  void Clear();
  int ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);
  int WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);

  _bstr_t m_Vendor;
  _bstr_t m_Model;
  _bstr_t m_Modality;
  _bstr_t m_Code;
  _bstr_t m_SerialNo;
};

/// An ordered list of question and answer pairs, each stored in one Extra element with Question and
/// Answer. Ignores and keeps all other children of the element. Cannot be copied.
class ZAMXML_API ZAMXMLExtraQuestion {
public:
  ZAMXMLExtraQuestion();
  ZAMXMLExtraQuestion(const ZAMXMLExtraQuestion&) = delete;
  ZAMXMLExtraQuestion& operator=(const ZAMXMLExtraQuestion&) = delete;
  virtual ~ZAMXMLExtraQuestion();

  /// Appends a pair, even if its texts are null or empty. Raises _com_error (E_OUTOFMEMORY), with
  /// the list unchanged, if there is no room.
  void AddQuestion(const _bstr_t& question, const _bstr_t& answer);
  /// Sets both texts to the pair at `index` and returns 1. Returns 0 and changes nothing if there
  /// is none.
  int GetQuestion(int index, _bstr_t& question, _bstr_t& answer) const;
  int GetCount() const;
  void Clear();

  /// Appends one pair for every Extra child, even if its texts are empty or missing.
  int ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);
  /// Replaces all Extra children with one for each pair.
  int WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);

private:
  struct Pair {
    _bstr_t m_Question;
    _bstr_t m_Answer;
  };

  ZAMArray<Pair> m_Pairs;
};

/// The study section. Elements: ID, Date, Time, Department, RoomNumber, AuthorName (a person name),
/// DeviceInfo, ExtraQuestions, Status, Comment. Cannot be copied. A host can derive from this
/// record: Clear, ReadFromXML and WriteToXML are virtual.
class ZAMXML_API ZAMXMLStudyInfo {
public:
  ZAMXMLStudyInfo();
  ZAMXMLStudyInfo(const ZAMXMLStudyInfo&) = delete;
  ZAMXMLStudyInfo& operator=(const ZAMXMLStudyInfo&) = delete;
  virtual ~ZAMXMLStudyInfo();

  virtual void Clear();
  virtual int ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);
  virtual int WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);

  _bstr_t m_ID;
  _bstr_t m_Date;
  _bstr_t m_Time;
  _bstr_t m_Department;
  _bstr_t m_RoomNumber;
  ZAMXMLName m_AuthorName;
  ZAMXMLDeviceInfo m_DeviceInfo;
  ZAMXMLExtraQuestion m_ExtraQuestions;
  _bstr_t m_Status;
  _bstr_t m_Comment;
};
