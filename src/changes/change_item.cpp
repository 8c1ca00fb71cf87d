#include <algorithm>
#include <array>
#include <string_view>

#include "changes/rereading.h"
#include "changes/rewriting.h"
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
  return zam::RunGuarded(xml, element, log, [&] {
    zam::ReadingFields fields(xml, element, log);
    fields.Text(u"Code", m_Code);
    PlaceFields(*this, fields);
    return ReadValue(xml, element, log);
  });
}

int ZAMXMLChangeItem::WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::RunGuarded(xml, element, log, [&] {
    zam::WritingFields fields(xml, element, log);
    PlaceFields(*this, fields);
    return WriteValue(xml, element, log);
  });
}

int ZAMXMLChangeItem::ReadValue(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::RunGuarded(xml, element, log, [&] {
    zam::ReadingFields fields(xml, element, log);
    _bstr_t word;
    fields.Text(u"ValueType", word);
    m_ValueType = TypeOf(word.view());
    ValueFields(*this, fields);
    return 1;
  });
}

int ZAMXMLChangeItem::WriteValue(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::RunGuarded(xml, element, log, [&] {
    const ZAMTextView word = WordOf(m_ValueType);
    if (word.IsNull()) {
      return 0;
    }
    zam::WritingFields fields(xml, element, log);
    fields.Text(u"ValueType", word);
    ValueFields(*this, fields);
    return 1;
  });
}

bool zam::Holds(FieldCursor element, const ZAMXMLChangeItem& item) {
  ComparingFields fields(element);
  PlaceFields(item, fields);
  fields.Text(u"ValueType", WordOf(item.m_ValueType));
  ValueFields(item, fields);
  if (element.HasSeenAll()) {
    return fields.IsSame() && !!item.m_Code && item.m_Code.length() == 0;
  }
  fields.Text(u"Code", item.m_Code);
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
