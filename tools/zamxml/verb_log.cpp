#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "archive.h"
#include "change_list.h"
#include "document.h"
#include "failure.h"
#include "input.h"
#include "json_form.h"
#include "output.h"
#include "selection.h"
#include "text.h"
#include "verbs.h"

namespace {

struct Options {
  ArchiveOptions m_Archive;
  std::string m_File;
  std::string m_Number;
  SelectionOptions m_Selection;
  unsigned int m_Count = 0;
  bool m_Reverse = false;
  bool m_Patch = false;
  bool m_Json = false;
};

/// What one document gives.
struct History {
  std::string m_Text;
  std::size_t m_Shown = 0;
  int m_Lost = 0;  ///< modifications that cannot be read
  Selection m_Selection;
};

std::string TextOf(const ZAMXMLModification& modification, int number, const Options& options,
                   const Selection& selection) {
  const std::string line =
      fmt::format("{}  {} change{}  {}\n", Headline(modification, number), modification.GetCount(),
                  modification.GetCount() == 1 ? "" : "s", Printable(modification.m_UID));
  const bool isWhole = options.m_Patch || !options.m_Number.empty();
  return isWhole ? line + ChangeLines(modification, selection.Paths()) : line;
}

/// The numbers of the modifications to be shown, in that order.
std::vector<int> Choose(const Document& document, const Options& options, Selection& selection) {
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

History HistoryOf(Document& document, const Options& options, const Selection& selection) {
  History history{{}, 0, document.Unreadable(), selection};
  Json json = JsonOutput("log", document.Name());
  json["modifications"] = Json::array();
  for (const int number : Choose(document, options, history.m_Selection)) {
    const ZAMXMLModification& modification = document.Modification(number);
    ++history.m_Shown;
    if (options.m_Json) {
      json["modifications"].push_back(ToJson(modification, number));
    } else {
      history.m_Text += TextOf(modification, number, options, history.m_Selection);
    }
  }
  if (options.m_Json) {
    history.m_Text = JsonText(json);
  }
  return history;
}

/// Each document that has something to show, below its name.
int RunFolder(const Options& options, Selection selection) {
  if (!options.m_Number.empty()) {
    throw Failure(options.m_File, options.m_Number,
                  "a folder has no modifications; name one of its documents");
  }
  std::size_t shown = 0;
  bool isAnyLost = false;
  const Selection fresh = selection;
  const auto look = [&](const std::string& name) {
    const Input input(name);
    Document document(input.Path(), name);
    return HistoryOf(document, options, fresh);
  };
  const auto take = [&](const std::string& file, const History& history) {
    const std::string name = Printable(_bstr_t::FromUtf8(file));
    selection.Absorb(history.m_Selection);
    if (options.m_Json) {
      Deliver(history.m_Text);
    } else if (history.m_Shown != 0) {
      Deliver((shown == 0 ? "" : "\n") + Painted(Colour::Title, name) + '\n' + history.m_Text);
    }
    if (history.m_Lost != 0) {
      isAnyLost = true;
      WriteError({LostHistory(name, history.m_Lost).what()});
    }
    shown += history.m_Shown;
  };
  const ArchiveCounts counts = ForEachDocument(options.m_Archive, look, take);
  WriteSummary(counts, Counted(shown, "modification") + (options.m_Count == 0 ? "" : " shown"));
  const int idle = counts.m_Documents == counts.m_Unreadable
                       ? ExitFine
                       : selection.ReportIdle(options.m_File, nullptr);
  return std::max<int>({counts.Code(), idle, isAnyLost ? ExitFinding : ExitFine});
}

int Run(const Options& given) {
  Options options = given;
  const Selection selection(options.m_Selection);
  options.m_Archive.m_Files = {options.m_File};
  std::error_code error;
  if (std::filesystem::is_directory(options.m_File, error)) {
    return RunFolder(options, selection);
  }
  const Input input(options.m_File);
  Document document(input.Path(), options.m_File);
  const History history = HistoryOf(document, options, selection);
  Deliver(history.m_Text);
  const int idle = history.m_Selection.ReportIdle(options.m_File, &document.m_Xml);
  if (history.m_Lost > 0) {
    throw LostHistory(options.m_File, history.m_Lost);
  }
  return idle;
}

}  // namespace

void AddLog(CommandLine& line) {
  line.Add("log", "Show the history of a document", Run, [](Verb verb, Options& options) {
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
