// failures DOCUMENT
//
// What fails, where the reason is found, and which failures have none.

#include "visit.h"

namespace {

//! [logger]
class Console : public ZAMLogger {
public:
  void OnLog(const ZAMLogEntry& entry) override {
    std::clog << entry.m_Text << ' ' << entry.m_Detail << '\n';
    ++m_nEntries;
  }

  int m_nEntries = 0;
};
//! [logger]

void ReadReasons() {
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

/// A class that does not take documents without findings.
class StrictVisit : public Visit {
public:
  bool m_bTells = false;

protected:
  //! [hook]
  int OnReadNonStandard(ZAMXml& xml, ZAMLog* log) override {
    if (xml.GetNode(u"KESTRANE_ZAM/Findings")) {
      return Visit::OnReadNonStandard(xml, log);
    }
    if (m_bTells && log != nullptr) {
      log->SetLog(ZAM_LOG_TYPE_ERROR, ZAM_LOG_CATEGORY_DOCUMENT, -1, u"There are no findings.",
                  u"KESTRANE_ZAM/Findings", 0);
    }
    return 0;
  }
  //! [hook]
};

void FailSilently(const _bstr_t& source, const _bstr_t& path) {
  ZAMLog log;
  Visit visit;
  Require(visit.Open(path, &log) != 0, "the visit opens");
  Require(visit.SetHistory(99) == 0 && visit.CommitModify() == 0 &&
              visit.AddChangeItem(nullptr) == -1 && visit.GetLogCount() == 0,
          "a position beyond the ends, a commit without an edit and no item leave no reason");
  StrictVisit strict;
  Require(strict.Open(source, &log) == 0 && log.GetLogCount() + strict.GetLogCount() == 0,
          "nor does a hook that says nothing");
  strict.m_bTells = true;
  Require(strict.Open(source, &log) == 0 && log.GetLogCount() == 1, "a hook tells by itself");
  Require(visit.CreateChangeItem(u"", u"StudyInfo/Status", u"", ZAMXML_VTYPE_STRING) == nullptr &&
              visit.GetLogCount() == 1,
          "an item without an edit has a reason");
}

void WriteDirectly(const _bstr_t& path) {
  Visit visit;
  Require(visit.Open(path, nullptr) != 0, "the visit opens");
  //! [directly]
  visit.m_PatientInfo.m_Weight = u"99";  // wrong: gone at the next reading, and never saved
  //! [directly]
  Require(
      visit.Save() != 0 && visit.Open(path, nullptr) != 0 && visit.m_PatientInfo.m_Weight != u"99",
      "it is gone");
}

void Run(const _bstr_t& source) {
  const _bstr_t path = u"failures.xml";
  SaveNewVisit(source, path);
  ReadReasons();
  FailSilently(source, path);
  WriteDirectly(path);
}

}  // namespace

int main(int argc, char** argv) { return RunExample(argc, argv, Run); }
