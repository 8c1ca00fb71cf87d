// own_sections DOCUMENT
//
// A class of documents with sections, a template and an older layout of its own, and one that keeps
// the sections of any kind of document.

#include <string>

#include "visit.h"

namespace {

//! [resources]
class VisitResources : public ZAMModule {
public:
  static constexpr unsigned int Template = 1;

  VisitResources() {
    AddXmlResource(Template, "<KESTRANE_ZAM>\n  <Consent>not asked</Consent>\n</KESTRANE_ZAM>\n");
  }
};
//! [resources]

const VisitResources Resources;

class ConsentVisit : public Visit {
public:
  int m_nMoves = 0;

protected:
  void OnHistoryChanged() override { ++m_nMoves; }

  //! [template]
  int OnCopyXMLTemplate(const _bstr_t& path) override {
    return CopyXMLTemplate(&Resources, VisitResources::Template, path);
  }
  //! [template]

  //! [older]
  int OnOpenCompatible(ZAMXml& xml, ZAMLog* /*log*/) override {
    const IXMLDOMNodePtr old = xml.GetNode(u"OldVisit");
    if (!old) {
      return 0;
    }
    Clear();
    xml.GetChildNodeText(old, u"PatientNumber", m_PatientInfo.m_ID);
    xml.GetChildNodeText(old, u"PatientName", m_PatientInfo.m_Name.m_Full);
    return 1;
  }
  //! [older]
};

//! [any kind]
class AnyDocument : public ZAMXMLFile {
protected:
  int OnReadDocumentInfo(ZAMXml& xml, ZAMLog* log) override {
    const int read = ZAMXMLFile::OnReadDocumentInfo(xml, log);
    m_DefaultDocInfo.m_ID = m_DocInfo.m_ID;
    m_DefaultDocInfo.m_Version = m_DocInfo.m_Version;
    return read;
  }
};
//! [any kind]

/// The names of the sections of a saved document, each followed by a blank.
std::string Sections(const _bstr_t& path) {
  ZAMXml xml;
  Require(xml.Open(path, nullptr) != 0, "a saved document opens");
  std::string names;
  for (IXMLDOMNodePtr section = xml.GetFirstChildNode(xml.GetRootNode()); section;
       section = xml.GetNextNode(section)) {
    names += xml.GetNodeName(section).utf8() + ' ';
  }
  return names;
}

void StartFromTemplate(const _bstr_t& path) {
  ConsentVisit visit;
  Require(visit.New(nullptr) != 0 && visit.SaveAs(path, nullptr) != 0, "a new visit is saved");
  Require(Sections(path) == "Consent DocumentInfo PatientInfo OrderInfo StudyInfo Findings ",
          "it holds its template and its sections");
  Require(visit.BeginModify(u"2.25.1", u"lee", u"Lee") != 0 &&
              visit.AddChangeItem(u"", u"Consent", u"", ZAMXML_VTYPE_STRING, u"given") == 0 &&
              visit.CommitModify() != 0 && visit.SetHistoryToLast() != 0 && visit.Save() != 0,
          "a section changes like any other");
  Require(visit.m_nMoves == 3, "the hook was called for the move, and twice for the save");
}

void OpenOlderLayout(const _bstr_t& path) {
  ZAMXml old;
  Require(old.New(nullptr) != 0 && old.CreateRoot(u"OldVisit") != 0 &&
              old.SetChildNodeText(old.GetRootNode(), u"PatientNumber", u"0288") != 0,
          "there is an older document");
  ConsentVisit visit;
  Require(visit.OpenFromXML(old, nullptr) != 0 && visit.m_PatientInfo.m_ID == u"0288",
          "the older layout is read");
  Require(visit.SaveAs(path, nullptr) != 0 && visit.Open(path, nullptr) != 0 &&
              visit.m_PatientInfo.m_ID == u"0288",
          "it is saved in the present layout");
}

/// Amends a document with an object of that class, and gives the sections that the result has.
template <class Document>
std::string SectionsAfterAmending(const _bstr_t& source, const _bstr_t& path) {
  Document document;
  Require(document.Open(source, nullptr) != 0, "the document given opens");
  Require(document.BeginModify(u"2.25.4", u"lee", u"Lee") != 0 &&
              document.AddChangeItem(u"", u"OrderInfo/Comment", u"", ZAMXML_VTYPE_STRING,
                                     u"amended") >= 0 &&
              document.CommitModify() != 0 && document.SaveAs(path, nullptr) != 0,
          "it is amended and saved");
  return Sections(path);
}

void Run(const _bstr_t& source) {
  const _bstr_t visit = u"own_sections.xml";
  StartFromTemplate(visit);
  OpenOlderLayout(u"own_sections_older.xml");

  const _bstr_t result = u"own_sections_any.xml";
  const std::string sections = Sections(source);
  Require(SectionsAfterAmending<AnyDocument>(source, result).starts_with(sections),
          "a class that takes over the kind loses no section");
  Require(SectionsAfterAmending<ZAMXMLFile>(visit, result).find("Findings") == std::string::npos,
          "a plain document builds another kind anew, and loses sections");
}

}  // namespace

int main(int argc, char** argv) { return RunExample(argc, argv, Run); }
