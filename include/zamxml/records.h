#pragma once

#include "zamxml/platform/array.h"
#include "zamxml/platform/export.h"
#include "zamxml/platform/log.h"
#include "zamxml/platform/text.h"
#include "zamxml/platform/xml.h"

/// The record classes: each holds one piece of a document in memory and reads itself from, and
/// writes itself into, the XML element that its owner hands it.
///
/// What all records share, unless a class says otherwise:
/// - Fields are public; a text field is named after the element (or the element and attribute)
///   that stores it. Values are kept as given: nothing is parsed, converted or checked.
/// - A new record holds null texts; Clear makes every text empty (not null) and clears nested
///   records.
/// - ReadFromXML overwrites each field with what the element holds: a missing element gives the
///   empty text, a missing nested record's element leaves the nested record as it is. It does not
///   clear first, and lists append what they read.
/// - WriteToXML updates the first child of each name and creates what is missing, in field order.
/// - Both return 1, or 0: at once, with nothing logged or changed, when the tree holds no document
///   or the element handle is null; or after an exception, which never leaves them: the reason is
///   copied into the caller's log (which may be null), and what was read or written stays.
/// - A nested record that fails reports into the same log and does not fail its owner.
/// - Used by one thread at a time; different records may live in different threads.

/// The orders in which ZAMXMLName::GetFullName joins the parts. Do not change the values.
enum ZAM_NAME_STYLE : int {
  ZAM_NAME_STYLE_FAMILY_FIRST = 0,  ///< prefix, family, middle, given, suffix
  ZAM_NAME_STYLE_GIVEN_FIRST = 1,   ///< prefix, given, middle, family, suffix
};

/// A person's name, whole and in parts. Elements: Full, Family, Given, Middle, Prefix, Suffix.
class ZAMXML_API ZAMXMLName {
public:
  ZAMXMLName();
  ZAMXMLName(const ZAMXMLName& other);
  ZAMXMLName& operator=(const ZAMXMLName& other);
  virtual ~ZAMXMLName();

  void Clear();
  int ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);
  int WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);

  /// 1 when none of the six texts has a character, else 0.
  int IsEmpty() const;

  /// The name for display: null for an empty name; m_Full when it is preferred (nonzero) and has a
  /// character; otherwise the parts that have one, in the order of the style, joined by one space.
  /// Without any part, or with another style, m_Full as it is.
  _bstr_t GetFullName(ZAM_NAME_STYLE style, int preferFull) const;

  _bstr_t m_Full;  ///< the whole name as one text, as the host gives it
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

  _bstr_t m_ID;  ///< names the kind of document; ZAMXMLFile compares it when saving
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
/// Reading settles the sex code: a code of exactly one character stays; otherwise it becomes the
/// first character of m_Gender, and "U" where that is neither "F" nor "M". Writing never changes
/// it.
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
  _bstr_t m_GenderCode;  ///< sex as a code: "M", "F" or "U" where reading derives it
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

/// An ordered list of free texts, each in one Statement element. Other children of the element are
/// neither read nor touched. Not copied as a whole.
class ZAMXML_API ZAMXMLStatement {
public:
  ZAMXMLStatement();
  ZAMXMLStatement(const ZAMXMLStatement&) = delete;
  ZAMXMLStatement& operator=(const ZAMXMLStatement&) = delete;
  virtual ~ZAMXMLStatement();

  /// Appends the text, null and empty ones included. Raises _com_error (E_OUTOFMEMORY), with the
  /// list unchanged, when there is no room.
  void AddStatement(const _bstr_t& text);
  /// Sets the text to the entry and returns 1; 0, with the text unchanged, for a bad index.
  int GetStatement(int index, _bstr_t& text) const;
  int GetCount() const;
  void Clear();

  /// Appends the Statement children that have a character, in document order.
  int ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);
  /// Replaces all Statement children by the entries that have a character, in list order.
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

/// An ordered list of question and answer pairs, each in one Extra element with Question and
/// Answer. Other children of the element are neither read nor touched. Not copied as a whole.
class ZAMXML_API ZAMXMLExtraQuestion {
public:
  ZAMXMLExtraQuestion();
  ZAMXMLExtraQuestion(const ZAMXMLExtraQuestion&) = delete;
  ZAMXMLExtraQuestion& operator=(const ZAMXMLExtraQuestion&) = delete;
  virtual ~ZAMXMLExtraQuestion();

  /// Appends a pair, null and empty texts included. Raises _com_error (E_OUTOFMEMORY), with the
  /// list unchanged, when there is no room.
  void AddQuestion(const _bstr_t& question, const _bstr_t& answer);
  /// Sets both texts to the pair and returns 1; 0, with both unchanged, for a bad index.
  int GetQuestion(int index, _bstr_t& question, _bstr_t& answer) const;
  int GetCount() const;
  void Clear();

  /// Appends one pair for every Extra child, also when its texts are empty or missing.
  int ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);
  /// Replaces all Extra children by one for each pair.
  int WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);

private:
  struct Pair {
    _bstr_t m_Question;
    _bstr_t m_Answer;
  };

  ZAMArray<Pair> m_Pairs;
};

/// The study section. Elements: ID, Date, Time, Department, RoomNumber, AuthorName (a person name),
/// DeviceInfo, ExtraQuestions, Status, Comment. Not copied as a whole. The one section whose record
/// a host can specialise: Clear, ReadFromXML and WriteToXML are virtual.
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
