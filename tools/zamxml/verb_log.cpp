#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "archive.h"
#include "change_list.h"
#include "document.h"
#include "excerpt.h"
#include "failure.h"
#include "input.h"
#include "json_form.h"
#include "output.h"
#include "selection.h"
#include "text.h"
#include "verbs.h"

namespace {

struct LogOptions {
  ArchiveOptions m_Archive;
  std::string m_File;
  std::string m_Number;
  SelectionOptions m_Selection;
  unsigned int m_Count = 0;
  bool m_Reverse = false;
  bool m_Patch = false;
  bool m_Json = false;
};

std::string TextOf(const ZAMXMLModification& modification, int number, const LogOptions& options,
                   const Selection& selection) {
  const std::string line =
      fmt::format("{}  {} change{}  {}\n", Headline(modification, number), modification.GetCount(),
                  modification.GetCount() == 1 ? "" : "s", Printable(modification.m_UID));
  const bool isWhole = options.m_Patch || !options.m_Number.empty();
  return isWhole ? line + ChangeLines(modification, selection.Paths()) : line;
}

/// The numbers of the modifications to be shown, in that order.
std::vector<int> Choose(const Document& document, const LogOptions& options, Selection& selection) {
  std::vector<int> numbers;
  if (!options.m_Number.empty()) {
    const int number = document.Position(options.m_Number);
    if (number == Document::Original) {
      throw Failure(document.Name(), options.m_Number, "it is no modification");
    }
    if (selection.Takes(document.Modification(number))) {
      numbers.push_back(number);
    }
    return numbers;
  }
  for (int number = 0; number <= document.Last(); ++number) {
    if (selection.Takes(document.Modification(number))) {
      numbers.push_back(number);
    }
  }
  if (options.m_Reverse) {
    std::reverse(numbers.begin(), numbers.end());
  }
  if (options.m_Count != 0 && options.m_Count < numbers.size()) {
    numbers.resize(options.m_Count);
  }
  return numbers;
}

/// The modifications, each after the prefix.
Excerpt HistoryOf(Document& document, const LogOptions& options, Selection selection,
                  const std::string& prefix) {
  Excerpt history{{}, 0, document.Unreadable(), std::move(selection)};
  Json json = JsonOutput("log", document.Name());
  json["modifications"] = Json::array();
  for (const int number : Choose(document, options, history.m_Selection)) {
    const ZAMXMLModification& modification = document.Modification(number);
    ++history.m_Count;
    if (options.m_Json) {
      json["modifications"].push_back(ToJson(modification, number));
    } else {
      history.m_Text += prefix + TextOf(modification, number, options, history.m_Selection);
    }
  }
  if (options.m_Json) {
    history.m_Text = JsonText(json);
  }
  return history;
}

int RunFolder(const LogOptions& options, const Selection& selection) {
  if (!options.m_Number.empty()) {
    throw Failure(options.m_File, options.m_Number,
                  "a folder has no modifications; name one of its documents");
  }
  ArchiveOptions archive = options.m_Archive;
  archive.m_Files = {options.m_File};
  const auto extract = [&](Document& document, Selection own) {
    return HistoryOf(document, options, std::move(own),
                     Printable(_bstr_t::FromUtf8(document.Name())) + ": ");
  };
  const auto tell = [&](const std::string& name, const std::string& why) {
    if (options.m_Json) {
      Json json = JsonOutput("log", name);
      json["error"] = why;
      Deliver(JsonText(json));
    }
  };
  return PrintExcerpts(archive, selection, "modification", extract, tell);
}

int RunLog(const LogOptions& options) {
  const Selection selection(options.m_Selection);
  std::error_code error;
  if (std::filesystem::is_directory(options.m_File, error)) {
    return RunFolder(options, selection);
  }
  const Input input(options.m_File);
  Document document(input.Path(), options.m_File);
  const Excerpt history = HistoryOf(document, options, selection, {});
  Deliver(history.m_Text);
  const int idle = history.m_Selection.ReportIdle(options.m_File, &document.m_Xml);
  if (history.m_Lost > 0) {
    throw LostHistory(options.m_File, history.m_Lost);
  }
  return idle;
}

}  // namespace

void AddLog(CommandLine& line) {
  line.Add("log", "Show the history of a document", RunLog, [](Verb verb, LogOptions& options) {
    verb.Text("FILE", options.m_File, "The document, or a folder with -r", Presence::Required);
    verb.Text("N", options.m_Number, "Only this modification, with its changes");
    verb.Flag("-p,--patch", options.m_Patch, "Show each change, old and new");
    DescribeSelection(verb, options.m_Selection);
    verb.Number("-n,--count", options.m_Count, 0, 1000000000, "At most so many; 0 for all");
    verb.Flag("--reverse", options.m_Reverse, "The newest first");
    DescribeArchive(verb, options.m_Archive);
    verb.Flag("--json", options.m_Json, "Print JSON");
  });
}
