#include <algorithm>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "digest.h"
#include "document.h"
#include "failure.h"
#include "input.h"
#include "memory.h"
#include "output.h"
#include "report_model.h"
#include "report_page.h"
#include "target.h"
#include "text.h"
#include "verbs.h"
#include "verify.h"

namespace {

struct ReportOptions : TargetOptions {
  std::string m_File;
  std::string m_Output;
};

/// What is found, before the notes: the page shows the first of many. It comes from a document of
/// its own, because proving one leaves it at its last position.
std::vector<Finding> FindingsIn(Document& document) {
  Document copy(document.m_Xml, document.Name());
  std::vector<Finding> findings = Verify(copy);
  std::stable_partition(findings.begin(), findings.end(), std::not_fn(IsNote));
  return findings;
}

std::string DigestOf(Document& document) {
  Document copy(document.m_Xml, document.Name());
  return DigestChain(copy).back();
}

std::string PageOf(const ReportOptions& options, bool& isSound) {
  const Input input(options.m_File);
  Document document(input.Path(), options.m_File);
  const std::vector<Finding> findings = FindingsIn(document);
  isSound = std::all_of(findings.begin(), findings.end(), IsNote);
  const ReportModel model(document);
  std::string page = ReportPage(document, model, findings, DigestOf(document));
  RequireMemory(document.m_Xml);
  return page;
}

int RunReport(const ReportOptions& options) {
  std::optional<TargetLock> lock;
  if (!options.m_Output.empty()) {
    std::error_code error;
    if (std::filesystem::equivalent(options.m_File, options.m_Output, error)) {
      throw Failure(options.m_Output, "cannot write it", "it is the document itself");
    }
    lock.emplace(options.m_Output, options);
  }
  bool isSound = true;
  const std::string page = PageOf(options, isSound);
  const std::string name = Printable(_bstr_t::FromUtf8(options.m_File));
  if (lock) {
    const AccessLimit limit(options.m_File);
    ZAMLog log;
    if (ZAMGF::WriteFile(FileName(options.m_Output), page, &log) == 0) {
      throw Failure(options.m_Output, "cannot write it", Reason(log, options.m_Output));
    }
  } else {
    Deliver(page);
  }
  if (!isSound) {
    WriteError({name, "check finds something; the page tells what"});
  }
  return isSound ? ExitFine : ExitFinding;
}

}  // namespace

void AddReport(CommandLine& line) {
  line.Add("report", "Make a page that shows a document and its whole history in a browser",
           RunReport, [](Verb verb, ReportOptions& options) {
             verb.Text("FILE", options.m_File, "The document", Presence::Required);
             verb.Text("-o,--output", options.m_Output, "Write the page there");
             AddTargetOptions(verb, options);
           });
}
