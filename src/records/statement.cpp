#include "records/record.h"
#include "zamxml/records.h"

ZAMXMLStatement::ZAMXMLStatement() = default;
ZAMXMLStatement::~ZAMXMLStatement() = default;

void ZAMXMLStatement::AddStatement(const _bstr_t& text) { m_Statements.Add(text); }

int ZAMXMLStatement::GetStatement(int index, _bstr_t& text) const {
  if (index < 0 || index >= GetCount()) {
    return 0;
  }
  text = m_Statements[index];
  return 1;
}

int ZAMXMLStatement::GetCount() const { return m_Statements.GetCount(); }

void ZAMXMLStatement::Clear() { m_Statements.RemoveAll(); }

int ZAMXMLStatement::ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::RunGuarded(xml, element, log, [&] {
    zam::ForEachChild(xml, element, u"Statement", [&](const IXMLDOMNodePtr& child) {
      _bstr_t text;
      xml.GetNodeText(child, text);
      if (text.length() > 0) {
        AddStatement(text);
      }
    });
    return 1;
  });
}

int ZAMXMLStatement::WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::RunGuarded(xml, element, log, [&] {
    xml.RemoveChildNodeAll(element, u"Statement");
    for (int index = 0; index < GetCount(); ++index) {
      const _bstr_t& text = m_Statements[index];
      if (text.length() > 0) {
        zam::AddChild(xml, element, u"Statement", text, index);
      }
    }
    return 1;
  });
}
