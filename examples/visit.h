#pragma once

/// What the examples share: a host's class of documents, a document of that class to begin with,
/// and the frame in which an example runs.

#include <ZAMXMLData.h>

#include <exception>
#include <iostream>
#include <stdexcept>

/// Ends an example in which something turns out otherwise than the guide says.
inline void Require(bool fulfilled, const char* what) {
  if (!fulfilled) {
    throw std::runtime_error(what);
  }
}

//! [log]
inline void Show(const ZAMLog& log) {
  for (int i = 0; i < log.GetLogCount(); ++i) {
    const ZAMLogEntry& entry = log.GetLog(i);
    std::cerr << entry.m_Code << ' ' << entry.m_Text << ' ' << entry.m_Detail << '\n';
  }
}
//! [log]

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
};
//! [subclass]

/// Saves a new visit at `path`, of the patient whom the document `source` shows.
inline void SaveNewVisit(const _bstr_t& source, const _bstr_t& path) {
  ZAMXMLFile document;
  Visit visit;
  Require(document.Open(source, nullptr) != 0 && visit.New(nullptr) != 0, "a visit is new");
  visit.m_PatientInfo = document.m_PatientInfo;
  visit.m_Findings.AddStatement(u"Sinus rhythm");
  Require(visit.SaveAs(path, nullptr) != 0, "a new visit is saved");
}

/// Runs an example on the document that is its only argument, and that stays as it is. Files that
/// it writes go into the folder that it is run in.
inline int RunExample(int argc, char** argv, void (*run)(const _bstr_t& source)) {
  if (argc != 2) {
    std::cerr << "usage: " << argv[0] << " DOCUMENT\n";
    return 2;
  }
  try {
    run(argv[1]);
    return 0;
  } catch (const std::exception& failure) {
    std::cerr << argv[0] << ": not as said: " << failure.what() << '\n';
    return 1;
  }
}
