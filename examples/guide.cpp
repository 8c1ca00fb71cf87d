// guide <document>
//
// The code of the guide for host developers (docs/guide.md) and of the README. What stands between
// two markers of one name is shown there. It is run on copies of the document given and on new
// documents, in the folder that this is run in; whatever turns out otherwise than the guide says
// ends the program with 1.

#include <ZAMXMLData.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <exception>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

void Require(bool fulfilled, const char* what) {
  if (!fulfilled) {
    throw std::runtime_error(what);
  }
}

//! [log]
void Show(const ZAMLog& log) {
  for (int i = 0; i < log.GetLogCount(); ++i) {
    const ZAMLogEntry& entry = log.GetLog(i);
    std::cerr << entry.m_Code << ' ' << entry.m_Text.utf8() << ' ' << entry.m_Detail.utf8() << '\n';
  }
}
//! [log]

//! [logger]
class Console : public ZAMLogger {
public:
  void OnLog(const ZAMLogEntry& entry) override {
    std::clog << entry.m_Text.utf8() << ' ' << entry.m_Detail.utf8() << '\n';
    ++m_nEntries;
  }

  int m_nEntries = 0;
};
//! [logger]

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

//! [subclass]
class Visit : public ZAMXMLFile {
public:
  Visit() {
    SetDefaultDocInfo(u"EXAMPLE_VISIT", u"Examination", u"1.0", u"Example Clinic", u"Recorder");
  }

  void Clear() override {
    ZAMXMLFile::Clear();
    m_Findings.Clear();
  }

  ZAMXMLStatement m_Findings;
  int m_nMoves = 0;

protected:
  int OnReadNonStandard(ZAMXml& xml, ZAMLog* log) override {
    IXMLDOMNodePtr findings = xml.GetNode(u"KESTRANE_ZAM/Findings");
    return findings ? m_Findings.ReadFromXML(xml, findings, log) : 1;
  }

  int OnWriteNonStandard(ZAMXml& xml, ZAMLog* log) override {
    IXMLDOMNodePtr findings = xml.GetNode(u"KESTRANE_ZAM/Findings");
    if (!findings) {
      findings = xml.AddNode(u"KESTRANE_ZAM/Findings", nullptr);
    }
    return m_Findings.WriteToXML(xml, findings, log);
  }

  void OnHistoryChanged() override { ++m_nMoves; }
  //! [subclass]

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
  for (IXMLDOMNodePtr section = xml.GetFirstChildNode(xml.GetNode(u"KESTRANE_ZAM")); section;
       section = xml.GetNextNode(section)) {
    names += xml.GetNodeName(section).utf8() + ' ';
  }
  return names;
}

int CreateVisit(const _bstr_t& path) {
  ZAMLog log;
  //! [new]
  Visit visit;
  if (visit.New(&log) == 0) {
    Show(log);
    return 1;
  }
  visit.m_PatientInfo.m_ID = u"0417";
  visit.m_PatientInfo.m_Name.m_Family = u"Nováková";
  visit.m_PatientInfo.m_Name.m_Given = u"Eva";
  visit.m_PatientInfo.m_Weight = u"62.4";
  visit.m_PatientInfo.m_WeightUnit = u"kg";
  visit.m_StudyInfo.m_ExtraQuestions.AddQuestion(u"Pacemaker?", u"no");
  visit.m_Findings.AddStatement(u"Sinus rhythm");
  if (visit.SaveAs(path, &log) == 0) {
    Show(log);
    return 1;
  }
  //! [new]
  Require(Sections(path) == "Consent DocumentInfo PatientInfo OrderInfo StudyInfo Findings ",
          "a new document holds its template and its sections");
  return 0;
}

int OpenVisit(const _bstr_t& path) {
  //! [open]
  Visit visit;
  ZAMLog log;
  if (visit.Open(path, &log) == 0) {
    Show(log);
    return 1;
  }
  const ZAMXMLPatientInfo& patient = visit.m_PatientInfo;
  std::cout << patient.m_Name.GetFullName(ZAM_NAME_STYLE_FAMILY_FIRST, 1).utf8() << ", "
            << patient.m_Weight.utf8() << ' ' << patient.m_WeightUnit.utf8() << '\n';
  //! [open]
  Require(patient.m_Weight == u"62.4" && visit.m_Findings.GetCount() == 1,
          "it reads what it wrote");
  return 0;
}

void ChangeWeight(const _bstr_t& path) {
  ZAMLog log;
  //! [first]
  Visit visit;
  if (visit.Open(path, &log) != 0 && visit.BeginModify(u"2.25.1", u"lee", u"Lee, ward 3") != 0 &&
      visit.AddChangeItem(u"", u"PatientInfo/Weight", u"", ZAMXML_VTYPE_STRING, u"61.7") >= 0 &&
      visit.CommitModify() != 0 && visit.SetHistoryToLast() != 0 && visit.Save() != 0) {
    std::cout << "Weight: " << visit.m_PatientInfo.m_Weight.utf8() << " kg\n";
  }
  //! [first]
  Require(visit.m_PatientInfo.m_Weight == u"61.7", "the new weight is shown");
  visit.SetHistoryToOriginal();
  Require(visit.m_PatientInfo.m_Weight == u"62.4", "the old weight is the original");
}

int ChangeMore(const _bstr_t& path) {
  Visit visit;
  Require(visit.Open(path, nullptr) != 0, "the changed document opens");
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

int ChangeShared(const _bstr_t& path) {
  ZAMLog log;
  Visit visit;
  Require(visit.Open(path, nullptr) != 0, "the document opens");
  const int count = visit.GetHistoryCount();
  ChangeWeight(path);  // another program changes it meanwhile
  //! [two writers]
  ZAMFileLock lock(path);
  if (lock.Lock(10, &log) == 0 || (visit.IsFileChanged() != 0 && visit.Open(path, &log) == 0)) {
    Show(log);  // another program keeps the lock, or what it has saved cannot be read
    return 1;
  }
  if (visit.BeginModify(u"2.25.4", u"lee", u"Lee, ward 3") == 0 ||
      visit.AddChangeItem(u"", u"StudyInfo/Comment", u"", ZAMXML_VTYPE_STRING, u"seen") < 0 ||
      visit.CommitModify() == 0 || visit.SetHistoryToLast() == 0 || visit.Save() == 0) {
    Show(visit);
    return 1;
  }
  lock.Unlock();
  //! [two writers]
  Require(visit.GetHistoryCount() == count + 2, "no modification is lost");
  return 0;
}

void AddOwnedItem(const _bstr_t& path) {
  Visit visit;
  Require(visit.Open(path, nullptr) != 0, "the document opens");
  Require(visit.BeginModify(u"2.25.3", u"lee", u"Lee") != 0, "an edit begins");
  //! [item]
  std::unique_ptr<ZAMXMLChangeItem> item(
      visit.CreateChangeItem(u"", u"StudyInfo/Status", u"", ZAMXML_VTYPE_STRING, u"final"));
  if (item && item->m_OldValue != item->m_NewValue && visit.AddChangeItem(item.get()) >= 0) {
    item.release();  // it belongs to the pending modification now
  }
  //! [item]
  Require(item == nullptr && visit.m_pModification->GetCount() == 1, "the item was handed over");
  visit.CancelModify();
  Require(visit.CreateChangeItem(u"", u"StudyInfo/Status", u"", ZAMXML_VTYPE_STRING) == nullptr &&
              visit.AddChangeItem(nullptr) == -1 && visit.CommitModify() == 0,
          "there is no item without an edit");
}

void WalkHistory(const _bstr_t& path) {
  Visit visit;
  Require(visit.Open(path, nullptr) != 0, "the document opens");
  //! [history]
  for (int position = -1; position < visit.GetHistoryCount(); ++position) {
    if (visit.SetHistory(position) == 0) {
      return Show(visit);
    }
    if (position >= 0) {
      const ZAMXMLModification& change = *visit.m_Modifications.GetModification(position);
      std::cout << change.m_Date.utf8() << ' ' << change.m_UserName.utf8() << ": ";
    }
    std::cout << visit.m_PatientInfo.m_Weight.utf8() << ", " << visit.m_Findings.GetCount()
              << " findings\n";
  }
  //! [history]
  Require(visit.m_nHistory == 1 && visit.m_nMoves == 3, "every position was shown");
  Require(visit.SetHistory(2) == 0 && visit.SetHistory(-2) == 0 && visit.m_nHistory == 1,
          "there is no position beyond the ends");
  Require(visit.SetHistory(0) != 0 && visit.Save() != 0 && visit.m_nHistory == 0,
          "saving keeps the position");
}

void WalkTree(const _bstr_t& path) {
  ZAMLog log;
  Visit visit;
  Require(visit.Open(path, &log) != 0, "the document opens");
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
    std::cout << i << ": " << weight.utf8() << '\n';
  }
  //! [many]
  Require(tree.GetNodeCount(tree.GetNode(u"KESTRANE_ZAM/Findings"), u"Statement") == 2 &&
              visit.m_nHistory == -1 && visit.m_Findings.GetCount() == 1,
          "the tree moves, the document does not");
}

void OpenOlderLayout(const _bstr_t& path) {
  ZAMXml old;
  old.New(nullptr);
  old.CreateRoot(u"OldVisit");
  IXMLDOMNodePtr root = old.GetNode(u"OldVisit");
  old.SetChildNodeText(root, u"PatientNumber", u"0288");
  Visit visit;
  Require(visit.OpenFromXML(old, nullptr) != 0 && visit.m_PatientInfo.m_ID == u"0288",
          "the older layout is read");
  Require(visit.SaveAs(path, nullptr) != 0 && visit.Open(path, nullptr) != 0 &&
              visit.m_PatientInfo.m_ID == u"0288",
          "it is saved in the present layout");
}

void KeepAnyKind(const _bstr_t& source, const _bstr_t& path) {
  AnyDocument document;
  Require(document.Open(source, nullptr) != 0, "the document given opens");
  const int count = document.GetHistoryCount();
  Require(document.BeginModify(u"2.25.4", u"lee", u"Lee") != 0 &&
              document.AddChangeItem(u"", u"OrderInfo/Comment", u"", ZAMXML_VTYPE_STRING,
                                     u"from the guide") >= 0 &&
              document.CommitModify() != 0 && document.SaveAs(path, nullptr) != 0,
          "it is changed and saved");
  const std::string sections = Sections(source);
  Require(Sections(path).starts_with(sections), "no section is lost");
  Require(document.Open(path, nullptr) != 0 && document.GetHistoryCount() == count + 1 &&
              document.m_OrderInfo.m_Comment == u"from the guide",
          "the change is stored");
  ZAMXMLFile plain;
  Require(plain.Open(u"guide_visit.xml", nullptr) != 0 && plain.SaveAs(path, nullptr) != 0 &&
              Sections(path).find("Consent") == std::string::npos,
          "a document of another kind is built anew");
}

void FailOnPurpose() {
  //! [logger use]
  Console console;
  Visit visit;
  visit.SetLogger(&console);
  ZAMLog log;
  if (visit.Open(u"no such file.xml", &log) == 0 || visit.Save() == 0) {
    Show(log);
  }
  visit.SetLogger(nullptr);
  //! [logger use]
  Require(log.GetLogCount() == 1 && console.m_nEntries == 0, "the caller's log has the reason");
  Require(visit.Save() == 0 && visit.GetLogCount() == 1, "a document without a path is not saved");

  //! [exceptions]
  try {
    visit.m_Modifications.GetModification(7);
  } catch (const CInvalidArgException& error) {
    std::clog << error.what() << '\n';  // there is no such modification
  } catch (const _com_error& error) {
    std::clog << error.what() << '\n';  // E_OUTOFMEMORY
  }
  //! [exceptions]
}

void WriteDirectly(const _bstr_t& path) {
  Visit visit;
  Require(visit.Open(path, nullptr) != 0, "the document opens");
  //! [directly]
  visit.m_PatientInfo.m_Weight = u"99";  // wrong: gone at the next reading, and never saved
  //! [directly]
  Require(visit.Save() != 0 && visit.m_PatientInfo.m_Weight != u"99", "it is gone");
}

int StoreSamples(const _bstr_t& path) {
  ZAMLog log;
  ZAMXml xml;
  xml.New(nullptr);
  xml.CreateRoot(u"Recording");
  //! [binary]
  const std::array<std::int16_t, 3> samples{-120, 0, 300};
  ZAMXMLBinary block;
  if (block.AllocBinary(sizeof samples) == 0) {
    return 1;
  }
  std::memcpy(block.GetBinary(), samples.data(), sizeof samples);
  block.m_BytePerData = 2;
  block.m_CountOfData = 3;
  block.m_ByteOrder = ZAMGF::IsHostBigEndian();
  IXMLDOMNodePtr lead = xml.AddNode(u"Recording/Lead", nullptr);
  if (block.WriteToXML(xml, lead, &log) == 0) {
    Show(log);
    return 1;
  }
  //! [binary]
  Require(xml.SaveAs(path, nullptr) != 0 && xml.Open(path, nullptr) != 0, "the block is saved");
  _bstr_t text;
  lead = xml.GetNode(u"Recording/Lead");
  xml.GetChildNodeText(lead, u"Data", text);
  Require(text == u"-120,0,300", "the samples stand there as numbers");
  ZAMXMLBinary read;
  Require(read.ReadFromXML(xml, lead, &log) != 0 && read.m_BinaryLength == sizeof samples &&
              std::memcmp(read.GetBinary(), samples.data(), sizeof samples) == 0,
          "the samples come back");
  return 0;
}

void Run(const _bstr_t& source) {
  const _bstr_t visit = u"guide_visit.xml";
  Require(CreateVisit(visit) == 0 && OpenVisit(visit) == 0, "a visit is created");
  ChangeWeight(visit);
  Require(ChangeMore(visit) == 0, "a visit is changed");
  AddOwnedItem(visit);
  WalkHistory(visit);
  WalkTree(visit);
  WriteDirectly(visit);
  OpenOlderLayout(u"guide_older.xml");
  KeepAnyKind(source, u"guide_any.xml");
  FailOnPurpose();
  Require(StoreSamples(u"guide_samples.xml") == 0, "samples are stored");
  Require(ChangeShared(visit) == 0, "a visit is changed by two programs");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: guide DOCUMENT\n";
    return 2;
  }
  try {
    Run(argv[1]);
    return 0;
  } catch (const std::exception& failure) {
    std::cerr << "guide: not as said: " << failure.what() << '\n';
    return 1;
  }
}
