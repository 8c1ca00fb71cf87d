#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "failure.h"
#include "input.h"
#include "json_form.h"
#include "output.h"
#include "text.h"
#include "verbs.h"
#include "verify.h"

namespace {

namespace fs = std::filesystem;

struct Options {
  std::vector<std::string> m_Files;
  bool m_Recursive = false;
  bool m_Json = false;
  unsigned int m_Jobs = std::max(1U, std::thread::hardware_concurrency());
};

/// What came out for one file.
struct Outcome {
  std::vector<Finding> m_Findings;
  std::string m_Error;  ///< why it could not be looked at at all
};

bool IsDocumentName(const fs::path& path) {
  const std::string extension = path.extension().string();
  return extension == ".xml" || extension == ".XML";
}

/// The documents below a folder, sorted.
std::vector<std::string> FilesBelow(const std::string& folder) {
  std::vector<std::string> files;
  std::error_code error;
  fs::recursive_directory_iterator entry(folder, error);
  for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
    if (entry->is_regular_file(error) && IsDocumentName(entry->path())) {
      files.push_back(entry->path().string());
    }
  }
  if (error) {
    throw Failure(folder, "cannot read the folder", error.message());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::vector<std::string> FilesToCheck(const Options& options) {
  std::vector<std::string> files;
  for (const std::string& name : options.m_Files) {
    std::error_code error;
    if (!fs::is_directory(name, error)) {
      files.push_back(name);
      continue;
    }
    if (!options.m_Recursive) {
      throw Failure(name, "it is a folder", "-r looks at the documents in it");
    }
    const std::vector<std::string> below = FilesBelow(name);
    files.insert(files.end(), below.begin(), below.end());
  }
  return files;
}

Outcome CheckFile(const std::string& name) {
  Outcome outcome;
  try {
    const Input input(name);
    outcome.m_Error = WhyUnreadable(input.Path());
    if (outcome.m_Error.empty()) {
      outcome.m_Findings = Verify(input.Path(), name);
    }
  } catch (const std::exception& failure) {
    outcome.m_Error = failure.what();
  }
  return outcome;
}

std::vector<Outcome> CheckAll(const std::vector<std::string>& files, unsigned int jobs) {
  std::vector<Outcome> outcomes(files.size());
  std::atomic<std::size_t> next{0};
  ProgressBar progress(files.size());
  const auto work = [&] {
    for (std::size_t i = next++; i < files.size(); i = next++) {
      outcomes[i] = CheckFile(files[i]);
      progress.Advance();
    }
  };
  std::vector<std::jthread> helpers;
  for (std::size_t i = 1; i < std::min<std::size_t>(jobs, files.size()); ++i) {
    helpers.emplace_back(work);
  }
  work();
  helpers.clear();
  return outcomes;
}

std::string Line(const std::string& file, const Finding& finding) {
  std::string line = file + ": ";
  if (finding.m_Modification) {
    line += fmt::format("modification {}: ", *finding.m_Modification);
  }
  if (!finding.m_Path.m_Element.empty()) {
    line += Printable(_bstr_t::FromUtf8(finding.m_Path.Whole())) + ": ";
  }
  return line + finding.m_What;
}

Json ToJson(const std::string& file, const Finding& finding) {
  Json json{{"file", file}};
  json["modification"] = finding.m_Modification ? Json(*finding.m_Modification) : Json(nullptr);
  json.update(ToJson(finding.m_Path));
  json["what"] = finding.m_What;
  return json;
}

int Run(const Options& options) {
  const std::vector<std::string> files = FilesToCheck(options);
  const std::vector<Outcome> outcomes = CheckAll(files, options.m_Jobs);
  Json json = JsonOutput("check", options.m_Files.front());
  json["checked"] = files.size();
  json["findings"] = Json::array();
  int exitCode = ExitFine;
  for (std::size_t i = 0; i < files.size(); ++i) {
    for (const Finding& finding : outcomes[i].m_Findings) {
      exitCode = std::max<int>(exitCode, ExitFinding);
      if (options.m_Json) {
        json["findings"].push_back(ToJson(files[i], finding));
      } else {
        fmt::print("{}\n", Line(files[i], finding));
      }
    }
    if (!outcomes[i].m_Error.empty()) {
      exitCode = ExitFailed;
      std::fflush(stdout);
      fmt::print(stderr, "zamxml: {}: cannot read it: {}\n", files[i], outcomes[i].m_Error);
    }
  }
  if (options.m_Json) {
    PrintJson(json);
  }
  return exitCode;
}

}  // namespace

void AddCheck(CLI::App& app, int& exitCode) {
  auto options = std::make_shared<Options>();
  CLI::App* verb = app.add_subcommand("check", "Prove documents and their history; silent if fine");
  verb->add_option("FILE", options->m_Files, "Documents, or folders with -r")->required();
  verb->add_flag("-r,--recursive", options->m_Recursive, "Check every .xml file in folders");
  verb->add_option("-j,--jobs", options->m_Jobs, "Documents looked at side by side")
      ->check(CLI::Range(1, 1024))
      ->capture_default_str();
  verb->add_flag("--json", options->m_Json, "Print JSON");
  verb->callback([options, &exitCode] { exitCode = Run(*options); });
}
