#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <exception>
#include <filesystem>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "document.h"
#include "failure.h"
#include "input.h"
#include "json_form.h"
#include "memory.h"
#include "output.h"
#include "text.h"
#include "verbs.h"
#include "verify.h"

namespace {

namespace fs = std::filesystem;

constexpr unsigned int MaximumJobs = 1024;

struct Options {
  std::vector<std::string> m_Files;
  bool m_Recursive = false;
  bool m_Json = false;
  unsigned int m_Jobs = std::max(1U, std::thread::hardware_concurrency());
};

/// A file that is to be looked at, and what came out.
struct Target {
  std::string m_Name;
  std::string m_Error;  ///< why it could not be looked at
  std::vector<Finding> m_Findings;
  bool m_OutOfMemory = false;
};

bool IsDocumentName(const fs::path& path) {
  const std::string extension = path.extension().string();
  return extension == ".xml" || extension == ".XML";
}

/// Adds the documents below a folder, and what cannot be read there, sorted by name.
void AddBelow(const fs::path& folder, std::vector<Target>& targets) {
  std::error_code error;
  std::vector<fs::directory_entry> entries;
  fs::directory_iterator next(folder, error);
  for (; !error && next != fs::directory_iterator(); next.increment(error)) {
    entries.push_back(*next);
  }
  if (error) {
    targets.push_back({folder.string(), "cannot read the folder: " + error.message(), {}});
  }
  std::sort(entries.begin(), entries.end());
  for (const fs::directory_entry& entry : entries) {
    std::error_code unknown;
    if (entry.symlink_status(unknown).type() == fs::file_type::directory) {
      AddBelow(entry.path(), targets);
    } else if (IsDocumentName(entry.path())) {
      targets.push_back({entry.path().string(), {}, {}});
    }
  }
}

std::vector<Target> TargetsOf(const Options& options) {
  std::vector<Target> targets;
  for (const std::string& name : options.m_Files) {
    std::error_code error;
    if (!fs::is_directory(name, error)) {
      targets.push_back({name, {}, {}});
    } else if (options.m_Recursive) {
      AddBelow(name, targets);
    } else {
      targets.push_back({name, "it is a folder: -r looks at the documents in it", {}});
    }
  }
  return targets;
}

std::vector<Finding> FindingsIn(const std::string& name) {
  try {
    const Input input(name);
    Document document(input.Path(), name);
    return Verify(document);
  } catch (const Unsound& failure) {
    return {{std::nullopt, {}, failure.Message()}};
  }
}

/// What is found while the memory runs short is no finding.
void Check(Target& target) noexcept {
  try {
    std::vector<Finding> findings = FindingsIn(target.m_Name);
    RequireMemory();
    target.m_Findings = std::move(findings);
  } catch (const std::exception& error) {
    target.m_OutOfMemory = RanShort() || IsShortage(error);
    if (!target.m_OutOfMemory) {
      const auto* failure = dynamic_cast<const Failure*>(&error);
      target.m_Error = failure != nullptr ? failure->Message() : error.what();
    }
  }
  ForgetShortage();
}

void CheckAll(std::vector<Target>& targets, unsigned int jobs) {
  std::atomic<std::size_t> next{0};
  ProgressBar progress(targets.size());
  const auto work = [&] {
    for (std::size_t i = next++; i < targets.size(); i = next++) {
      if (targets[i].m_Error.empty()) {
        Check(targets[i]);
      }
      progress.Advance();
    }
  };
  std::vector<std::jthread> helpers;
  try {
    for (std::size_t i = 1; i < std::min<std::size_t>(jobs, targets.size()); ++i) {
      helpers.emplace_back(work);
    }
  } catch (const std::system_error&) {
    // Fewer helpers take longer.
  }
  work();
}

Json ToJson(const std::string& file, const Finding& finding) {
  Json json{{"file", file}};
  json["modification"] = finding.m_Modification ? Json(*finding.m_Modification) : Json(nullptr);
  json.update(ToJson(finding.m_Path));
  json["what"] = finding.m_What;
  return json;
}

int Run(const Options& options) {
  std::vector<Target> targets = TargetsOf(options);
  RequireMemory();
  CheckAll(targets, options.m_Jobs);
  Json json = JsonOutput("check", options.m_Files.front());
  json["checked"] = targets.size();
  json["findings"] = Json::array();
  std::string text;
  int exitCode = ExitFine;
  for (const Target& target : targets) {
    const std::string name = Printable(_bstr_t::FromUtf8(target.m_Name));
    for (const Finding& finding : target.m_Findings) {
      exitCode = std::max<int>(exitCode, ExitFinding);
      if (options.m_Json) {
        json["findings"].push_back(ToJson(target.m_Name, finding));
      } else {
        text += name + ": " + Sentence(finding) + '\n';
      }
    }
    if (target.m_OutOfMemory || !target.m_Error.empty()) {
      exitCode = ExitFailed;
      WriteError({name, target.m_OutOfMemory ? "not enough memory" : target.m_Error});
    }
  }
  Deliver(options.m_Json ? JsonText(json) : text);
  return exitCode;
}

}  // namespace

void AddCheck(CommandLine& line) {
  line.Add("check", "Prove documents and their history; silent if fine", Run,
           [](Verb verb, Options& options) {
             verb.Texts("FILE", options.m_Files, "Documents, or folders with -r",
                        Presence::Required);
             verb.Flag("-r,--recursive", options.m_Recursive, "Check every .xml file in folders");
             verb.Number("-j,--jobs", options.m_Jobs, 1, MaximumJobs,
                         "Documents looked at side by side");
             verb.Flag("--json", options.m_Json, "Print JSON");
           });
}
