#include "records/record.h"
#include "zamxml/records.h"

ZAMXMLExtraQuestion::ZAMXMLExtraQuestion() = default;
ZAMXMLExtraQuestion::~ZAMXMLExtraQuestion() = default;

void ZAMXMLExtraQuestion::AddQuestion(const _bstr_t& question, const _bstr_t& answer) {
  m_Pairs.Add({question, answer});
}

int ZAMXMLExtraQuestion::GetQuestion(int index, _bstr_t& question, _bstr_t& answer) const {
  if (index < 0 || index >= GetCount()) {
    return 0;
  }
  question = m_Pairs[index].m_Question;
  answer = m_Pairs[index].m_Answer;
  return 1;
}

int ZAMXMLExtraQuestion::GetCount() const { return m_Pairs.GetCount(); }

void ZAMXMLExtraQuestion::Clear() { m_Pairs.RemoveAll(); }

int ZAMXMLExtraQuestion::ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::RunGuarded(xml, element, log, [&] {
    zam::ForEachChild(xml, element, u"Extra", [&](const IXMLDOMNodePtr& extra) {
      _bstr_t question;
      _bstr_t answer;
      xml.GetChildNodeText(extra, u"Question", question, 0);
      xml.GetChildNodeText(extra, u"Answer", answer, 0);
      AddQuestion(question, answer);
    });
    return 1;
  });
}

int ZAMXMLExtraQuestion::WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::RunGuarded(xml, element, log, [&] {
    xml.RemoveChildNodeAll(element, u"Extra");
    for (int index = 0; index < GetCount(); ++index) {
      const Pair& pair = m_Pairs[index];
      zam::AddChild(xml, element, u"Extra", u"", index, [&](const IXMLDOMNodePtr& extra) {
        zam::AddChild(xml, extra, u"Question", pair.m_Question, 0);
        zam::AddChild(xml, extra, u"Answer", pair.m_Answer, 0);
      });
    }
    return 1;
  });
}
