#include <array>

#include "records/name_fields.h"
#include "records/record.h"
#include "zamxml/records.h"

namespace {

using NamePart = _bstr_t ZAMXMLName::*;
using NameOrder = std::array<NamePart, 5>;

constexpr NameOrder FamilyFirst = {&ZAMXMLName::m_Prefix, &ZAMXMLName::m_Family,
                                   &ZAMXMLName::m_Middle, &ZAMXMLName::m_Given,
                                   &ZAMXMLName::m_Suffix};
constexpr NameOrder GivenFirst = {&ZAMXMLName::m_Prefix, &ZAMXMLName::m_Given,
                                  &ZAMXMLName::m_Middle, &ZAMXMLName::m_Family,
                                  &ZAMXMLName::m_Suffix};

/// Finds out whether a record of texts holds any character.
class FilledFields {
public:
  void Text(const zam::FieldName&, const _bstr_t& value) {
    m_Found = m_Found || value.length() > 0;
  }
  bool Found() const { return m_Found; }

private:
  bool m_Found = false;
};

CString Join(const ZAMXMLName& name, const NameOrder& order) {
  CString joined;
  for (const NamePart part : order) {
    const _bstr_t& text = name.*part;
    if (text.length() == 0) {
      continue;
    }
    if (!joined.IsEmpty()) {
      joined += u' ';
    }
    joined += text;
  }
  return joined;
}

}  // namespace

ZAMXMLName::ZAMXMLName() = default;
ZAMXMLName::ZAMXMLName(const ZAMXMLName& other) = default;
ZAMXMLName& ZAMXMLName::operator=(const ZAMXMLName& other) = default;
ZAMXMLName::~ZAMXMLName() = default;

void ZAMXMLName::Clear() { zam::ClearRecord(*this, zam::NameFields); }

int ZAMXMLName::ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::ReadRecord(*this, xml, element, log, zam::NameFields);
}

int ZAMXMLName::WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::WriteRecord(*this, xml, element, log, zam::NameFields);
}

int ZAMXMLName::IsEmpty() const {
  FilledFields fields;
  zam::NameFields(*this, fields);
  return fields.Found() ? 0 : 1;
}

_bstr_t ZAMXMLName::GetFullName(ZAM_NAME_STYLE style, int preferFull) const {
  if (IsEmpty() != 0) {
    return nullptr;
  }
  if (preferFull != 0 && m_Full.length() > 0) {
    return m_Full;
  }
  CString joined;
  if (style == ZAM_NAME_STYLE_FAMILY_FIRST) {
    joined = Join(*this, FamilyFirst);
  } else if (style == ZAM_NAME_STYLE_GIVEN_FIRST) {
    joined = Join(*this, GivenFirst);
  }
  return joined.IsEmpty() ? m_Full : _bstr_t(joined);
}
