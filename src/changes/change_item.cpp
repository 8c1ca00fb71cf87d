#include <algorithm>
#include <array>
#include <string_view>

#include "changes/list_access.h"
#include "platform/utf.h"
#include "records/record.h"
#include "zamxml/changes.h"

namespace {

struct TypeWord {
  ZAMXML_VTYPE m_Type;
  std::u16string_view m_Word;
};

constexpr std::array<TypeWord, 3> TypeWords = {{
    {ZAMXML_VTYPE_STRING, u"STRING"},
    {ZAMXML_VTYPE_NAME, u"NAME"},
    {ZAMXML_VTYPE_STATEMENT, u"STATEMENT"},
}};

constexpr char16_t ToUpper(char16_t unit) {
  return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - u'a' + u'A') : unit;
}

/// Null for a type that cannot be stored.
ZAMTextView WordOf(ZAMXML_VTYPE type) {
  const auto* found = std::ranges::find(TypeWords, type, &TypeWord::m_Type);
  return found != TypeWords.end() ? ZAMTextView(found->m_Word) : ZAMTextView();
}

ZAMXML_VTYPE TypeOf(std::u16string_view text) {
  const auto* found = std::ranges::find_if(TypeWords, [text](const TypeWord& candidate) {
    return std::ranges::equal(text, candidate.m_Word, {}, ToUpper);
  });
  return found != TypeWords.end() ? found->m_Type : ZAMXML_VTYPE_STRING;
}

constexpr auto PlaceFields = [](auto& item, auto& fields) {
  fields.Text(u"Node", item.m_Node);
  fields.Text(u"Attribute", item.m_Attribute);
};

constexpr auto ValueFields = [](auto& item, auto& fields) {
  fields.Text(u"OldValue", item.m_OldValue);
  fields.Text(u"NewValue", item.m_NewValue);
};

/// A word as the library writes it needs no memory.
ZAMXML_VTYPE ReadType(zam::FieldCursor& cursor) {
  for (const TypeWord& known : TypeWords) {
    if (cursor.Holds(u"ValueType", known.m_Word)) {
      return known.m_Type;
    }
  }
  _bstr_t word;
  cursor.ReadText(u"ValueType", word);
  return TypeOf(word.view());
}

void TypeField(ZAMXMLChangeItem& item, zam::ReadingFields& fields) {
  item.m_ValueType = ReadType(fields.Cursor());
}

void TypeField(const ZAMXMLChangeItem& item, zam::ComparingFields& fields) {
  fields.Require(ReadType(fields.Cursor()) == item.m_ValueType);
}

/// All that is read. Code, which only other writers store, leads theirs.
constexpr auto StoredFields = [](auto& item, auto& fields) {
  const bool codeLeads = fields.Cursor().IsNext(u"Code");
  if (codeLeads) {
    fields.Text(u"Code", item.m_Code);
  }
  PlaceFields(item, fields);
  TypeField(item, fields);
  ValueFields(item, fields);
  if (!codeLeads) {
    fields.Text(u"Code", item.m_Code);
  }
};

int WriteValueFields(const ZAMXMLChangeItem& item, zam::WritingFields& fields) {
  const ZAMTextView word = WordOf(item.m_ValueType);
  if (word.IsNull()) {
    return 0;
  }
  fields.Text(u"ValueType", word);
  ValueFields(item, fields);
  return 1;
}

}  // namespace

ZAMXMLChangeItem::ZAMXMLChangeItem() { Clear(); }
ZAMXMLChangeItem::ZAMXMLChangeItem(const ZAMXMLChangeItem& other) = default;
ZAMXMLChangeItem& ZAMXMLChangeItem::operator=(const ZAMXMLChangeItem& other) = default;
ZAMXMLChangeItem::~ZAMXMLChangeItem() = default;

void ZAMXMLChangeItem::Clear() {
  zam::ClearingFields fields;
  fields.Text(u"Code", m_Code);
  PlaceFields(*this, fields);
  ValueFields(*this, fields);
  m_ValueType = ZAMXML_VTYPE_NONE;
}

void ZAMXMLChangeItem::SetValue(ZAMXML_VTYPE type, const _bstr_t& value) {
  m_ValueType = type;
  m_NewValue = value;
  m_OldValue = u"";
}

void ZAMXMLChangeItem::SetValueNaem(const ZAMXMLName& name) {
  _bstr_t folded;
  EncodeXMLName(name, folded);
  SetValue(ZAMXML_VTYPE_NAME, folded);
}

void ZAMXMLChangeItem::SetValueStatement(const ZAMXMLStatement& list) {
  _bstr_t folded;
  EncodeXMLStatement(list, folded);
  SetValue(ZAMXML_VTYPE_STATEMENT, folded);
}

int ZAMXMLChangeItem::ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::ReadRecord(*this, xml, element, log, StoredFields);
}

int ZAMXMLChangeItem::WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::RunGuarded(xml, element, log, [&] {
    zam::WritingFields fields(xml, element, log);
    PlaceFields(*this, fields);
    return WriteValueFields(*this, fields);
  });
}

int ZAMXMLChangeItem::ReadValue(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::RunGuarded(xml, element, log, [&] {
    zam::ReadingFields fields(xml, element, log);
    TypeField(*this, fields);
    ValueFields(*this, fields);
    return 1;
  });
}

int ZAMXMLChangeItem::WriteValue(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::RunGuarded(xml, element, log, [&] {
    zam::WritingFields fields(xml, element, log);
    return WriteValueFields(*this, fields);
  });
}

int zam::Read(ZAMXMLChangeItem& item, ZAMXml& xml, const FieldCursor& element, int index,
              ZAMLog* log) {
  return RunCatching(xml, element, index, log, [&] {
    ReadingFields fields(xml, element, log);
    StoredFields(item, fields);
    return 1;
  });
}

bool zam::Read(ZAMXMLChangeItem& item, RawCursor& cursor) {
  RawFields fields(cursor);
  PlaceFields(item, fields);
  std::string_view word;
  if (!fields.IsRead() || !cursor.PassText(u"ValueType", word)) {
    return false;
  }
  const auto* const known = std::ranges::find_if(
      TypeWords, [word](const TypeWord& candidate) { return IsSame(candidate.m_Word, word); });
  if (known == TypeWords.end()) {
    return false;
  }
  item.m_ValueType = known->m_Type;
  ValueFields(item, fields);
  return fields.IsRead();
}

bool zam::Holds(FieldCursor element, const ZAMXMLChangeItem& item) {
  ComparingFields fields(element);
  StoredFields(item, fields);
  return fields.IsSame();
}

bool zam::IsWritten(WrittenCursor inside, const ZAMXMLChangeItem& item) {
  const ZAMTextView word = WordOf(item.m_ValueType);
  WrittenFields fields(inside);
  PlaceFields(item, fields);
  fields.Text(u"ValueType", word);
  ValueFields(item, fields);
  return !word.IsNull() && fields.IsSame() && inside.IsAtEnd();
}
