#pragma once

#include <exception>
#include <new>

#include "platform/xml/fields.h"
#include "zamxml/platform/array.h"
#include "zamxml/platform/error.h"
#include "zamxml/platform/log.h"
#include "zamxml/platform/text.h"
#include "zamxml/platform/xml.h"

/// The skeleton of every record.
///
/// A record lists its fields once, in the order in which they are stored, in a field list: a
/// callable that takes the record and one of the visitors below.
///
///     constexpr auto Fields = [](auto& patient, auto& fields) {
///       fields.Text(u"ID", patient.m_ID);
///       fields.Nested(u"Name", patient.m_Name);
///       fields.Text(u"Gender", patient.m_Gender);
///       fields.Attribute(u"Gender", u"code", patient.m_GenderCode);
///       fields.AfterReading([&patient] { SettleGenderCode(patient); });
///     };
///
/// ClearRecord, ReadRecord and WriteRecord walk that list. A record that holds more than fields
/// gives RunGuarded a body of its own, in which it may use the visitors and the helpers for
/// repeated children.
namespace zam {

/// Raised after the tree refused a step and recorded why: its entry is the reason.
class StepRefused {};

/// Records the exception that is being handled in the tree's log, with the place of the element,
/// and copies that log into the caller's. To be called in a catch block.
inline void ReportCaught(ZAMXml& xml, const IXMLDOMNodePtr& element, ZAMLog* log) noexcept {
  const auto record = [&xml, &element](int code, const char* what) noexcept {
    if (code == E_OUTOFMEMORY) {
      xml.ReportShortage();
    }
    try {
      xml.SetLog(ZAM_LOG_TYPE_ERROR, ZAM_LOG_CATEGORY_XML, code, what, xml.GetNodePath(element), 0);
    } catch (...) {
      // No memory for the texts: the code alone.
      xml.SetLog(ZAM_LOG_TYPE_ERROR, ZAM_LOG_CATEGORY_XML, code, nullptr, nullptr, 0);
    }
  };
  try {
    throw;
  } catch (const StepRefused&) {
    // The tree's entry is the reason.
  } catch (const _com_error& error) {
    record(error.Error(), error.what());
  } catch (const std::bad_alloc& error) {
    record(E_OUTOFMEMORY, error.what());
  } catch (const std::exception& error) {
    record(-1, error.what());
  } catch (...) {
    record(-1, "Unknown exception");
  }
  xml.SafeLogCopy(log);
}

/// The result of the body, or 0 after an exception of any type, which is reported.
template <class Body>
int RunCatching(ZAMXml& xml, const IXMLDOMNodePtr& element, ZAMLog* log, Body body) noexcept {
  try {
    return body();
  } catch (...) {
    ReportCaught(xml, element, log);
    return 0;
  }
}

/// The same for an element at a cursor, the index-th of its name. The handle, by which the element
/// is told, is made only then.
template <class Body>
int RunCatching(ZAMXml& xml, const FieldCursor& element, int index, ZAMLog* log,
                Body body) noexcept {
  try {
    return body();
  } catch (...) {
    ReportCaught(xml, element.TryHandle(index), log);
    return 0;
  }
}

/// The same behind the guard: 0 at once, with nothing logged or changed, when the tree holds no
/// document or there is no element of it.
template <class Body>
int RunGuarded(ZAMXml& xml, const IXMLDOMNodePtr& element, ZAMLog* log, Body body) noexcept {
  if (xml.IsOpened() == 0 || xml.HasNode(element) == 0) {
    return 0;
  }
  return RunCatching(xml, element, log, body);
}

/// Ends a write whose value or element the tree refused, so that none is lost in silence.
inline void RequireStored(bool stored) {
  if (!stored) {
    throw StepRefused();
  }
}

/// The first element at the path below the element, added when it is missing; null when that fails.
inline IXMLDOMNodePtr FindOrAddChild(ZAMXml& xml, const IXMLDOMNodePtr& element, ZAMTextView path) {
  IXMLDOMNodePtr child = xml.GetChildNode(element, path, 0);
  if (!child) {
    child = xml.AddChildNode(element, path, nullptr, 0);
  }
  return child;
}

/// Makes the fields of a record empty.
class ClearingFields {
public:
  void Text(FieldName, _bstr_t& value) { value = u""; }
  void Attribute(FieldName, FieldName, _bstr_t& value) { value = u""; }
  template <class Record>
  void Nested(FieldName, Record& record) {
    record.Clear();
  }
  template <class Rule>
  void AfterReading(Rule) {}
};

/// Overwrites the fields of a record by what its element holds.
class ReadingFields {
public:
  ReadingFields(ZAMXml& xml, const IXMLDOMNodePtr& element, ZAMLog* log)
      : ReadingFields(xml, FieldCursor(xml, element), log) {}
  ReadingFields(ZAMXml& xml, const FieldCursor& element, ZAMLog* log)
      : m_Xml(xml), m_Cursor(element), m_Log(log) {}

  void Text(const FieldName& name, _bstr_t& value) { m_Cursor.ReadText(name, value); }
  void Attribute(const FieldName& child, const FieldName& attribute, _bstr_t& value) {
    m_Cursor.ReadAttribute(child, attribute, value);
  }
  IXMLDOMNodePtr Child(const FieldName& name) { return m_Cursor.Child(name); }
  FieldCursor& Cursor() { return m_Cursor; }
  template <class Record>
  void Nested(const FieldName& name, Record& record) {
    IXMLDOMNodePtr child = Child(name);
    if (child) {
      record.ReadFromXML(m_Xml, child, m_Log);
    }
  }
  /// Applies a rule of the record's own to the fields that are read by then.
  template <class Rule>
  void AfterReading(Rule rule) {
    rule();
  }

private:
  ZAMXml& m_Xml;
  FieldCursor m_Cursor;
  ZAMLog* m_Log;
};

/// Finds out whether an element holds the fields of a record as they are.
class ComparingFields {
public:
  explicit ComparingFields(FieldCursor& cursor) : m_Cursor(cursor) {}

  void Text(const FieldName& name, ZAMTextView value) {
    Require(m_IsSame && m_Cursor.Holds(name, value));
  }
  FieldCursor& Cursor() { return m_Cursor; }
  void Require(bool isSame) { m_IsSame = m_IsSame && isSame; }
  bool IsSame() const { return m_IsSame; }

private:
  FieldCursor& m_Cursor;
  bool m_IsSame = true;
};

/// Stores the fields of a record in its element.
class WritingFields {
public:
  WritingFields(ZAMXml& xml, const IXMLDOMNodePtr& element, ZAMLog* log)
      : m_Xml(xml), m_Cursor(xml, element), m_Log(log) {}

  void Text(const FieldName& name, ZAMTextView value) {
    RequireStored(m_Cursor.WriteText(name, value));
  }
  void Attribute(const FieldName& child, const FieldName& attribute, ZAMTextView value) {
    RequireStored(m_Cursor.WriteAttribute(child, attribute, value));
  }
  IXMLDOMNodePtr Child(const FieldName& name) {
    IXMLDOMNodePtr child = m_Cursor.ChildToWrite(name);
    RequireStored(static_cast<bool>(child));
    return child;
  }
  template <class Record>
  void Nested(const FieldName& name, Record& record) {
    IXMLDOMNodePtr child = Child(name);
    record.WriteToXML(m_Xml, child, m_Log);
  }
  template <class Rule>
  void AfterReading(Rule) {}

private:
  ZAMXml& m_Xml;
  FieldCursor m_Cursor;
  ZAMLog* m_Log;
};

template <class Record, class FieldList>
void ClearRecord(Record& record, FieldList list) {
  ClearingFields fields;
  list(record, fields);
}

template <class Record, class FieldList>
int ReadRecord(Record& record, ZAMXml& xml, const IXMLDOMNodePtr& element, ZAMLog* log,
               FieldList list) noexcept {
  return RunGuarded(xml, element, log, [&] {
    ReadingFields fields(xml, element, log);
    list(record, fields);
    return 1;
  });
}

template <class Record, class FieldList>
int WriteRecord(Record& record, ZAMXml& xml, const IXMLDOMNodePtr& element, ZAMLog* log,
                FieldList list) noexcept {
  return RunGuarded(xml, element, log, [&] {
    WritingFields fields(xml, element, log);
    list(record, fields);
    return 1;
  });
}

/// Hands every child of that name to the body, in document order. Each is released afterwards,
/// which raises _com_error (E_POINTER) when there was none.
template <class Body>
void ForEachChild(ZAMXml& xml, const IXMLDOMNodePtr& element, ZAMTextView name, Body body) {
  const int count = xml.GetNodeCount(element, name);
  for (int index = 0; index < count; ++index) {
    IXMLDOMNodePtr child = xml.GetChildNode(element, name, index);
    body(child);
    child.Release();
  }
}

/// Adds a child of that name and text and hands it to the body. Raises StepRefused when it could
/// not be added.
template <class Body>
void AddChild(ZAMXml& xml, const IXMLDOMNodePtr& element, ZAMTextView name, ZAMTextView text,
              int index, Body body) {
  IXMLDOMNodePtr child = xml.AddChildNode(element, name, text, index);
  RequireStored(static_cast<bool>(child));
  body(child);
}

/// The same for a child that holds nothing but its text.
inline void AddChild(ZAMXml& xml, const IXMLDOMNodePtr& element, ZAMTextView name, ZAMTextView text,
                     int index) {
  AddChild(xml, element, name, text, index, [](IXMLDOMNodePtr&) {});
}

}  // namespace zam
