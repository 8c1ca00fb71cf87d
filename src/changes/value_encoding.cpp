#include <string_view>

#include "changes/value_encoding.h"
#include "platform/xml/fields.h"
#include "records/name_fields.h"
#include "zamxml/changes.h"

namespace {

constexpr char16_t Separator = u'^';

/// Cuts the text up to the first separator off the front, and drops that separator.
std::u16string_view CutPiece(std::u16string_view& rest) {
  const std::size_t end = rest.find(Separator);
  const std::u16string_view piece = rest.substr(0, end);
  rest = end == std::u16string_view::npos ? std::u16string_view() : rest.substr(end + 1);
  return piece;
}

class FoldingText {
public:
  void Append(const _bstr_t& piece) {
    if (!m_First) {
      m_Folded += Separator;
    }
    m_First = false;
    m_Folded += piece;
  }
  const CString& Folded() const { return m_Folded; }

private:
  CString m_Folded;
  bool m_First = true;
};

class FoldingFields : public FoldingText {
public:
  void Text(const zam::FieldName&, const _bstr_t& value) { Append(value); }
};

/// Looks for the separator in texts.
class SearchingFields {
public:
  void Text(const zam::FieldName&, const _bstr_t& value) {
    m_Found = m_Found || value.view().find(Separator) != std::u16string_view::npos;
  }
  bool Found() const { return m_Found; }

private:
  bool m_Found = false;
};

class UnfoldingFields {
public:
  explicit UnfoldingFields(std::u16string_view folded) : m_Rest(folded) {}
  void Text(const zam::FieldName&, _bstr_t& value) { value = CutPiece(m_Rest); }

private:
  std::u16string_view m_Rest;
};

}  // namespace

void ZAMXMLChangeItem::EncodeXMLName(const ZAMXMLName& name, _bstr_t& text) {
  FoldingFields fields;
  zam::NameFields(name, fields);
  text = fields.Folded();
}

void ZAMXMLChangeItem::DecodeXMLName(const _bstr_t& text, ZAMXMLName& name) {
  // A copy, because the text may be one of the name's own.
  const _bstr_t folded = text;
  UnfoldingFields fields(folded.view());
  zam::NameFields(name, fields);
}

void ZAMXMLChangeItem::EncodeXMLStatement(const ZAMXMLStatement& list, _bstr_t& text) {
  FoldingText folding;
  for (int index = 0; index < list.GetCount(); ++index) {
    _bstr_t entry;
    list.GetStatement(index, entry);
    folding.Append(entry);
  }
  text = folding.Folded();
}

void ZAMXMLChangeItem::DecodeXMLStatement(const _bstr_t& text, ZAMXMLStatement& list) {
  list.Clear();
  std::u16string_view rest = text.view();
  while (!rest.empty()) {
    const std::u16string_view piece = CutPiece(rest);
    if (!piece.empty()) {
      list.AddStatement(piece);
    }
  }
}

bool zam::HoldsSeparator(const ZAMXMLName& name) {
  SearchingFields fields;
  NameFields(name, fields);
  return fields.Found();
}

bool zam::HoldsSeparator(const ZAMXMLStatement& list) {
  SearchingFields fields;
  _bstr_t entry;
  for (int index = 0; list.GetStatement(index, entry) != 0; ++index) {
    fields.Text(u"Statement", entry);
  }
  return fields.Found();
}
