#include <algorithm>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "archive.h"
#include "digest.h"
#include "digest_list.h"
#include "document.h"
#include "failure.h"
#include "input.h"
#include "json_form.h"
#include "output.h"
#include "text.h"
#include "verbs.h"
#include "verify.h"

namespace {

struct CheckOptions {
  ArchiveOptions m_Archive;
  std::string m_Against;
  std::vector<std::string> m_Ignore;
  bool m_Json = false;
};

/// What is left out of a check, and what it compares with.
struct Terms {
  explicit Terms(const CheckOptions& options)
      : m_Ignored(ParseCodes("--ignore", options.m_Ignore)) {
    if (!options.m_Against.empty()) {
      m_Noted.emplace(options.m_Against);
    }
  }

  std::vector<FindingCode> m_Ignored;
  std::optional<DigestList> m_Noted;
};

/// The digests are those of the original content, which Verify leaves.
void CompareDigests(Document& document, const DigestList& noted, std::vector<Finding>& findings) {
  if (!noted.Lists(document.Name())) {
    findings.push_back({FindingCode::Unlisted, {}, {}, "no digest of it was noted"});
  } else if (auto difference = noted.Compare(document.Name(), DigestChain(document))) {
    findings.push_back(
        {FindingCode::Rewritten, difference->m_Modification, {}, std::move(difference->m_What)});
  }
}

std::vector<Finding> FindingsIn(const std::string& name, const Terms& terms) {
  std::vector<Finding> findings;
  try {
    const Input input(name);
    Document document(input.Path(), name);
    if (terms.m_Noted) {
      CompareDigests(document, *terms.m_Noted, findings);
    }
    std::ranges::move(Verify(document), std::back_inserter(findings));
  } catch (const Unsound& failure) {
    findings.push_back({FindingCode::NoDocument, {}, {}, failure.Message()});
  }
  std::erase_if(findings, [&](const Finding& finding) {
    return std::ranges::find(terms.m_Ignored, finding.m_Code) != terms.m_Ignored.end();
  });
  return findings;
}

/// Collects what is found and tells it.
class Teller {
public:
  explicit Teller(const CheckOptions& options)
      : m_IsJson(options.m_Json), m_Json(JsonOutput("check", options.m_Archive.m_Files.front())) {
    m_Json["findings"] = Json::array();
    m_Json["errors"] = Json::array();
  }

  void TakeError(const std::string& file, const std::string& why) {
    if (m_IsJson) {
      m_Json["errors"].push_back({{"file", file}, {"what", why}});
    }
  }

  void Take(const std::string& file, const std::vector<Finding>& findings) {
    const auto notes = std::ranges::count_if(findings, IsNote);
    m_WithNotes += notes != 0 ? 1 : 0;
    m_WithFindings += std::cmp_less(notes, findings.size()) ? 1 : 0;
    std::string text;
    for (const Finding& finding : findings) {
      if (m_IsJson) {
        m_Json["findings"].push_back(ToJson(file, finding));
      } else {
        text += Printable(_bstr_t::FromUtf8(file)) + ": " + Sentence(finding) + '\n';
      }
    }
    Deliver(text);
  }

  int End(const ArchiveCounts& counts) {
    if (m_IsJson) {
      m_Json["checked"] = counts.m_Documents;
      m_Json["unreadable"] = counts.m_Unreadable;
      Deliver(JsonText(m_Json));
    }
    WriteSummary(counts, Grouped(m_WithFindings) + " with findings" +
                             (m_WithNotes == 0 ? "" : ", " + Grouped(m_WithNotes) + " with notes"));
    if (counts.m_Refused + counts.m_Unreadable != 0) {
      return ExitFailed;
    }
    return m_WithFindings == 0 ? ExitFine : ExitFinding;
  }

private:
  static Json ToJson(const std::string& file, const Finding& finding) {
    Json json{{"file", file}};
    json["code"] = WordOf(finding.m_Code);
    json["severity"] = IsNote(finding) ? "note" : "finding";
    json["modification"] = finding.m_Modification ? Json(*finding.m_Modification) : Json(nullptr);
    json.update(::ToJson(finding.m_Path));
    json["what"] = finding.m_What;
    return json;
  }

  bool m_IsJson;
  Json m_Json;
  std::size_t m_WithFindings = 0;
  std::size_t m_WithNotes = 0;
};

/// Documents that were noted in a folder that was looked at, and are not there any more.
void TellMissing(const CheckOptions& options, const Terms& terms, const std::set<std::string>& seen,
                 Teller& teller) {
  for (const std::string& name : terms.m_Noted->Names()) {
    const bool isBelow = std::ranges::any_of(options.m_Archive.m_Files, [&](const auto& file) {
      return options.m_Archive.m_Recursive && IsBelow(file, name);
    });
    if (isBelow && !seen.contains(name)) {
      teller.Take(name, {{FindingCode::Missing, {}, {}, "it was noted and is not there"}});
    }
  }
}

int RunCheck(const CheckOptions& given) {
  CheckOptions options = given;
  const Terms terms(options);
  std::vector<std::string>& files = options.m_Archive.m_Files;
  if (files.empty() && terms.m_Noted) {
    files = terms.m_Noted->Names();
  }
  if (files.empty()) {
    throw Failure("", "FILE: it is missing", "\"zamxml check --help\" tells more");
  }
  Teller teller(options);
  std::set<std::string> seen;
  const auto look = [&](const std::string& name) { return FindingsIn(name, terms); };
  const auto take = [&](const std::string& file, const std::vector<Finding>& findings) {
    if (terms.m_Noted) {
      seen.insert(PlainName(file));
    }
    teller.Take(file, findings);
  };
  const auto tell = [&](const std::string& file, const std::string& why) {
    teller.TakeError(file, why);
  };
  const ArchiveCounts counts = ForEachDocument(options.m_Archive, look, take, tell);
  if (!terms.m_Noted) {
    return teller.End(counts);
  }
  TellMissing(options, terms, seen, teller);
  const int exitCode = teller.End(counts);
  const auto isListed = [&](const std::string& name) { return terms.m_Noted->Lists(name); };
  if (!seen.empty() && std::ranges::none_of(seen, isListed)) {
    throw Failure(options.m_Against, "it lists none of these documents",
                  "it has to name them as they are named here");
  }
  return exitCode;
}

}  // namespace

void AddCheck(CommandLine& line) {
  line.Add(
      "check", "Check documents and their history", RunCheck, [](Verb verb, CheckOptions& options) {
        verb.Texts("FILE", options.m_Archive.m_Files,
                   "Documents, or folders with -r; with --against all that are listed, otherwise");
        DescribeArchive(verb, options.m_Archive);
        verb.Text("--against", options.m_Against, "Compare with lines of \"zamxml digest\"");
        verb.Texts("--ignore", options.m_Ignore,
                   "A code of findings to leave out; may be repeated");
        verb.Flag("--json", options.m_Json, "Print JSON");
      });
}
