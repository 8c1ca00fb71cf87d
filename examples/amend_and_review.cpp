// amend_and_review DOCUMENT
//
// A nurse amends a visit; a physician looks at what changed, and amends it again.

#include <memory>

#include "visit.h"

namespace {

void AmendWeight(const _bstr_t& path) {
  ZAMLog log;
  //! [first]
  Visit visit;
  if (visit.Open(path, &log) != 0 && visit.BeginModify(u"2.25.1", u"lee", u"Lee, ward 3") != 0 &&
      visit.AddChangeItem(u"", u"PatientInfo/Weight", u"", ZAMXML_VTYPE_STRING, u"61.7") >= 0 &&
      visit.CommitModify() != 0 && visit.SetHistoryToLast() != 0 && visit.Save() != 0) {
    std::cout << "Weight: " << visit.m_PatientInfo.m_Weight << " kg\n";
  }
  //! [first]
  Require(visit.m_PatientInfo.m_Weight == u"61.7", "the new weight is shown");
}

void Review(const _bstr_t& path) {
  Visit visit;
  Require(visit.Open(path, nullptr) != 0, "the visit opens");
  //! [history]
  for (int position = -1; position < visit.GetHistoryCount(); ++position) {
    if (visit.SetHistory(position) == 0) {
      return Show(visit);
    }
    if (position >= 0) {
      const ZAMXMLModification& change = *visit.m_Modifications.GetModification(position);
      std::cout << change.m_Date << ' ' << change.m_UserName << ": ";
    }
    std::cout << visit.m_PatientInfo.m_Weight << ", " << visit.m_Findings.GetCount()
              << " findings\n";
  }
  //! [history]
  const int last = visit.GetHistoryCount() - 1;
  Require(visit.m_nHistory == last, "every position was shown");
  Require(last < 0 || (visit.SetHistoryToOriginal() != 0 && visit.Save() != 0 &&
                       visit.m_nHistory == -1 && visit.m_PatientInfo.m_Weight != u"61.7"),
          "saving keeps the position, and the original its weight");
}

int AmendMore(const _bstr_t& path) {
  Visit visit;
  Require(visit.Open(path, nullptr) != 0, "the amended visit opens");
  //! [edit]
  if (visit.BeginModify(u"2.25.2", u"yamada", u"山田 太郎") == 0) {
    Show(visit);  // the document is a log itself
    return 1;
  }
  ZAMXMLName name;
  name.m_Family = u"Nováková-Marešová";
  name.m_Given = u"Eva";
  ZAMXMLStatement findings;
  findings.AddStatement(u"Sinus rhythm");
  findings.AddStatement(u"Normal ECG");
  const bool added =
      visit.AddChangeItemName(u"", u"PatientInfo/Name", name) >= 0 &&
      visit.AddChangeItem(u"", u"PatientInfo/Gender", u"code", ZAMXML_VTYPE_STRING, u"F") >= 0 &&
      visit.AddChangeItemStatement(u"", u"Findings", findings) >= 0;
  if (!added || visit.CommitModify() == 0) {
    visit.CancelModify();
    Show(visit);
    return 1;
  }
  //! [edit]
  Require(visit.m_Findings.GetCount() == 1, "a commit does not change what is shown");
  //! [show]
  if (visit.SetHistoryToLast() == 0 || visit.Save() == 0) {
    Show(visit);
    return 1;
  }
  //! [show]
  Require(visit.m_Findings.GetCount() == 2 && visit.m_PatientInfo.m_GenderCode == u"F" &&
              visit.m_PatientInfo.m_Name.m_Given == u"Eva",
          "the last state is shown");
  return 0;
}

void CompareFirst(const _bstr_t& path) {
  Visit visit;
  Require(visit.Open(path, nullptr) != 0, "the visit opens");
  Require(visit.BeginModify(u"2.25.3", u"lee", u"Lee, ward 3") != 0, "an edit begins");
  //! [item]
  std::unique_ptr<ZAMXMLChangeItem> item(
      visit.CreateChangeItem(u"", u"StudyInfo/Status", u"", ZAMXML_VTYPE_STRING, u"final"));
  if (item && item->m_OldValue != item->m_NewValue && visit.AddChangeItem(item.get()) >= 0) {
    item.release();  // it belongs to the pending modification now
  }
  //! [item]
  Require(item == nullptr && visit.m_pModification->GetCount() == 1, "the item was handed over");
}

void FollowWeight(const _bstr_t& path) {
  ZAMLog log;
  Visit visit;
  Require(visit.Open(path, &log) != 0, "the visit opens");
  //! [many]
  ZAMXml tree;
  if (visit.SetHistoryToOriginal() == 0 || tree.Copy(visit.m_Xml, &log) == 0) {
    throw std::runtime_error("The original cannot be shown.");
  }
  for (int i = 0; i < visit.GetHistoryCount(); ++i) {
    if (visit.m_Modifications.ApplyModifications(tree, u"KESTRANE_ZAM", i - 1, i) == 0) {
      throw std::runtime_error("The tree cannot be moved.");
    }
    _bstr_t weight;
    tree.GetNodeText(tree.GetNode(u"KESTRANE_ZAM/PatientInfo/Weight"), weight);
    std::cout << i << ": " << weight << '\n';
  }
  //! [many]
  Require(tree.GetNodeCount(tree.GetNode(u"KESTRANE_ZAM/Findings"), u"Statement") == 2 &&
              visit.m_nHistory == -1 && visit.m_Findings.GetCount() == 1,
          "the tree moves, the document does not");
}

void Run(const _bstr_t& source) {
  const _bstr_t path = u"amend_and_review.xml";
  SaveNewVisit(source, path);
  AmendWeight(path);
  Review(path);
  Require(AmendMore(path) == 0, "the visit is amended again");
  CompareFirst(path);
  FollowWeight(path);
}

}  // namespace

int main(int argc, char** argv) { return RunExample(argc, argv, Run); }
