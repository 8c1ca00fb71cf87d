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

/// What the check tells about a document. It looks at a copy, because it ends at the last position.
struct Proof {
  explicit Proof(Document& document) {
    Document copy(document.m_Xml, document.Name());
    m_Digest = DigestChain(copy).back();
    m_Findings = Verify(copy);
    // The page shows the first of many.
    std::stable_partition(m_Findings.begin(), m_Findings.end(), std::not_fn(IsNote));
  }

  std::string m_Digest;
  std::vector<Finding> m_Findings;
};

std::string PageOf(const ReportOptions& options, bool& isSound) {
  const Input input(options.m_File);
  Document document(input.Path(), options.m_File);
  const Proof proof(document);
  isSound = std::all_of(proof.m_Findings.begin(), proof.m_Findings.end(), IsNote);
  const ReportModel model(document);
  std::string page = ReportPage(document, model, proof.m_Findings, proof.m_Digest);
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
             verb.Output("-o,--output", options.m_Output, "Write the page there");
             AddTargetOptions(verb, options);
           });
}
