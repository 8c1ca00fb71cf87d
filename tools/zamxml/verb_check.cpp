#include <string>
#include <vector>

#include "archive.h"
#include "document.h"
#include "failure.h"
#include "input.h"
#include "json_form.h"
#include "output.h"
#include "text.h"
#include "verbs.h"
#include "verify.h"

namespace {

struct Options {
  ArchiveOptions m_Archive;
  bool m_Json = false;
};

std::vector<Finding> FindingsIn(const std::string& name) {
  try {
    const Input input(name);
    Document document(input.Path(), name);
    return Verify(document);
  } catch (const Unsound& failure) {
    return {{std::nullopt, {}, failure.Message()}};
  }
}

Json ToJson(const std::string& file, const Finding& finding) {
  Json json{{"file", file}};
  json["modification"] = finding.m_Modification ? Json(*finding.m_Modification) : Json(nullptr);
  json.update(ToJson(finding.m_Path));
  json["what"] = finding.m_What;
  return json;
}

int Run(const Options& options) {
  Json json = JsonOutput("check", options.m_Archive.m_Files.front());
  json["findings"] = Json::array();
  std::size_t unsound = 0;
  const auto take = [&](const std::string& file, const std::vector<Finding>& findings) {
    unsound += findings.empty() ? 0 : 1;
    std::string text;
    for (const Finding& finding : findings) {
      if (options.m_Json) {
        json["findings"].push_back(ToJson(file, finding));
      } else {
        text += Printable(_bstr_t::FromUtf8(file)) + ": " + Sentence(finding) + '\n';
      }
    }
    Deliver(text);
  };
  const ArchiveCounts counts = ForEachDocument(options.m_Archive, FindingsIn, take);
  json["checked"] = counts.m_Documents;
  if (options.m_Json) {
    Deliver(JsonText(json));
  }
  WriteSummary(counts, Grouped(unsound) + " with findings");
  if (counts.m_Refused + counts.m_Unreadable != 0) {
    return ExitFailed;
  }
  return unsound == 0 ? ExitFine : ExitFinding;
}

}  // namespace

void AddCheck(CommandLine& line) {
  line.Add("check", "Check documents and their history", Run, [](Verb verb, Options& options) {
    verb.Texts("FILE", options.m_Archive.m_Files, "Documents, or folders with -r",
               Presence::Required);
    DescribeArchive(verb, options.m_Archive);
    verb.Flag("--json", options.m_Json, "Print JSON");
  });
}
