// walk_through DOCUMENT
//
// What a host does with a document, step by step: open, read, edit, commit, show, walk through the
// history, save, open again. scripts/demo shows it.

#include <filesystem>
#include <string>

#include "visit.h"

namespace {

/// A host's document with a section of its own.
class StressTest : public ZAMXMLFile {
public:
  ZAMXMLStatement m_Interpretation;

  void Clear() override {
    ZAMXMLFile::Clear();
    m_Interpretation.Clear();
  }

protected:
  int OnReadNonStandard(ZAMXml& xml, ZAMLog* log) override {
    IXMLDOMNodePtr section = xml.GetNode(u"KESTRANE_ZAM/Interpretation");
    return section ? m_Interpretation.ReadFromXML(xml, section, log) : 1;
  }

  void OnHistoryChanged() override { std::cout << "    (the document tells: position changed)\n"; }
};

void Step(const std::string& title) { std::cout << "\n== " << title << '\n'; }

std::string PositionName(const ZAMXMLFile& document, int position) {
  if (position < 0) {
    return "original";
  }
  const ZAMXMLModification& modification = *document.m_Modifications.GetModification(position);
  return "after modification " + std::to_string(position) + " by " +
         modification.m_UserName.utf8() + ", " + modification.m_Date.utf8() + ' ' +
         modification.m_Time.utf8();
}

void Show(const StressTest& document) {
  const ZAMXMLPatientInfo& patient = document.m_PatientInfo;
  std::cout << "    shown:   " << PositionName(document, document.m_nHistory) << '\n'
            << "    patient: " << patient.m_Name.GetFullName(ZAM_NAME_STYLE_FAMILY_FIRST, 1) << " ("
            << patient.m_GenderCode << "), " << patient.m_Weight << ' ' << patient.m_WeightUnit
            << ", " << patient.m_Height << ' ' << patient.m_HeightUnit << '\n'
            << "    study:   " << document.m_StudyInfo.m_Status << "; "
            << document.m_StudyInfo.m_Comment << '\n';
  for (int i = 0; i < document.m_Interpretation.GetCount(); ++i) {
    _bstr_t statement;
    document.m_Interpretation.GetStatement(i, statement);
    std::cout << "    reading: " << statement << '\n';
  }
}

void Edit(StressTest& document) {
  Require(document.BeginModify(u"2.25.42", u"mweber", u"Dr. Marta Weber") != 0, "BeginModify");
  ZAMXMLName name;
  name.m_Full = u"김민서 (Kim Min-seo)";
  name.m_Family = u"김";
  name.m_Given = u"민서";
  Require(document.AddChangeItemName(u"", u"PatientInfo/Name", name) == 0, "name");
  Require(
      document.AddChangeItem(u"", u"PatientInfo/Weight", u"", ZAMXML_VTYPE_STRING, u"58.1") == 1,
      "text");
  Require(
      document.AddChangeItem(u"", u"PatientInfo/Height", u"Unit", ZAMXML_VTYPE_STRING, u"cm") == 2,
      "attribute");
  ZAMXMLStatement interpretation;
  interpretation.AddStatement(u"Sinus rhythm at rest");
  interpretation.AddStatement(u"1.5 mm ST depression in V4 to V6 at peak ⚠️");
  Require(document.AddChangeItemStatement(u"", u"Interpretation", interpretation) == 3, "list");
  for (int i = 0; i < document.m_pModification->GetCount(); ++i) {
    const ZAMXMLChangeItem& item = *document.m_pModification->GetChange(i);
    std::cout << "    " << item.m_Node << (item.m_Attribute.length() != 0 ? " @" : "")
              << item.m_Attribute << ": " << item.m_OldValue << " -> " << item.m_NewValue << '\n';
  }
}

void Walk(StressTest& document) {
  const int last = document.GetHistoryCount() - 1;
  for (int position = last - 1; position >= -1; --position) {
    Require(document.SetHistory(position) != 0, "SetHistory");
    Show(document);
  }
  for (int position = 0; position <= last; ++position) {
    Require(document.SetHistory(position) != 0, "SetHistory");
    Show(document);
  }
}

void Run(const _bstr_t& source) {
  ZAMLog log;
  StressTest document;

  Step("Open " + std::filesystem::path(source.u8string()).filename().string() +
       ": the last state is shown");
  Require(document.Open(source, &log) != 0, "Open");
  Show(document);

  Step("Begin an edit, and cancel it: nothing is recorded");
  const int before = document.GetHistoryCount();
  Require(document.BeginModify(u"2.25.41", u"mweber", u"Dr. Marta Weber") != 0, "BeginModify");
  document.AddChangeItem(u"", u"PatientInfo/ID", u"", ZAMXML_VTYPE_STRING, u"wrong patient");
  document.CancelModify();
  Require(document.GetHistoryCount() == before, "a cancelled edit left a modification");
  std::cout << "    " << before << " modifications, as before\n";

  Step("Edit while the original is shown: old values are those of the last state");
  Require(document.SetHistoryToOriginal() != 0, "SetHistoryToOriginal");
  Edit(document);

  Step("Commit: the history is one longer, what is shown has not changed");
  Require(document.CommitModify() != 0, "CommitModify");
  Require(document.GetHistoryCount() == before + 1 && document.m_nHistory == -1, "commit");
  Show(document);

  Step("Show the last state");
  Require(document.SetHistoryToLast() != 0, "SetHistoryToLast");
  Show(document);

  Step("Walk back to the original, and forward again");
  Walk(document);

  const std::string target = "stress-test-amended.xml";
  Step("Save as " + target + ", and reopen it");
  Require(document.SaveAs(target.c_str(), &log) != 0, "SaveAs");
  StressTest reopened;
  Require(reopened.Open(target.c_str(), &log) != 0, "reopen");
  Require(reopened.GetHistoryCount() == before + 1, "the saved history is shorter");
  Show(reopened);

  Step("The file holds the original content, with the whole list");
  ZAMXml tree;
  Require(tree.Open(target.c_str(), &log) != 0, "open the tree");
  _bstr_t weight;
  tree.GetNodeText(tree.GetNode(u"KESTRANE_ZAM/PatientInfo/Weight"), weight);
  std::cout << "    weight in the file: " << weight << "; modifications in the file: "
            << tree.GetNodeCount(tree.GetNode(u"KESTRANE_ZAM/Modifications"), u"Modification")
            << '\n';
  Require(weight == u"58.4", "the file does not hold the original content");
}

}  // namespace

int main(int argc, char** argv) { return RunExample(argc, argv, Run); }
