#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
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
  SelectionOptions m_Selection;
  bool m_Csv = false;
  bool m_Jsonl = false;
};

/// What one document gives.
struct Changes {
  std::string m_Text;
  std::size_t m_Count = 0;
  int m_Lost = 0;  ///< modifications that cannot be read
  Selection m_Selection;
};

constexpr const char* Columns[] = {"file", "position", "date",      "time", "user", "user_name",
                                   "uid",  "path",     "attribute", "type", "old",  "new"};

/// The columns of one change; all are texts but the position.
std::vector<std::string> RowOf(const std::string& file, int number,
                               const ZAMXMLModification& modification,
                               const ZAMXMLChangeItem& item) {
  return {file,
          std::to_string(number),
          modification.m_Date.utf8(),
          modification.m_Time.utf8(),
          modification.m_UserID.utf8(),
          modification.m_UserName.utf8(),
          modification.m_UID.utf8(),
          item.m_Node.utf8(),
          item.m_Attribute.utf8(),
          TypeWord(item.m_ValueType),
          item.m_OldValue.utf8(),
          item.m_NewValue.utf8()};
}

template <class Fields>
std::string CsvLine(const Fields& fields) {
  std::string line;
  for (const std::string_view field : fields) {
    line += line.empty() ? "" : ",";
    if (field.find_first_of(",\"\r\n") == std::string_view::npos) {
      line += field;
      continue;
    }
    line += '"';
    for (const char c : field) {
      line += c == '"' ? "\"\"" : std::string(1, c);
    }
    line += '"';
  }
  return line + "\r\n";
}

std::string JsonLine(const std::vector<std::string>& row, int number) {
  Json json = Json::object();
  for (std::size_t i = 0; i < row.size(); ++i) {
    json[Columns[i]] = row[i];
  }
  json["position"] = number;
  return json.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string PlainLine(const std::string& file, int number, const ZAMXMLModification& modification,
                      const ZAMXMLChangeItem& item) {
  return fmt::format("{}: {}  {}  {}", Printable(_bstr_t::FromUtf8(file)),
                     Headline(modification, number), Printable(modification.m_UID),
                     ChangeLine(item));
}

Changes Look(const std::string& name, const Options& options, const Selection& selection) {
  const Input input(name);
  Document document(input.Path(), name);
  Changes changes{{}, 0, document.Unreadable(), selection};
  for (int number = 0; number <= document.Last(); ++number) {
    const ZAMXMLModification& modification = document.Modification(number);
    if (!changes.m_Selection.Takes(modification)) {
      continue;
    }
    for (const ZAMXMLChangeItem* item : modification.m_Changes) {
      if (!Concerns(changes.m_Selection.Paths(), *item)) {
        continue;
      }
      ++changes.m_Count;
      changes.m_Text += options.m_Csv ? CsvLine(RowOf(name, number, modification, *item))
                        : options.m_Jsonl
                            ? JsonLine(RowOf(name, number, modification, *item), number)
                            : PlainLine(name, number, modification, *item);
    }
  }
  return changes;
}

/// A document that the paths of a question can be compared with, where one of them found nothing.
int ReportIdle(const Selection& selection, const std::optional<std::string>& sample,
               const std::string& file) {
  if (!sample || *sample == "-") {
    return selection.ReportIdle(file, nullptr);
  }
  Document document(*sample, *sample);
  return selection.ReportIdle(file, &document.m_Xml);
}

int Run(const Options& options) {
  if (options.m_Csv && options.m_Jsonl) {
    throw Failure("", "--csv and --jsonl", "only one of them can be given");
  }
  const Selection fresh(options.m_Selection);
  Selection used = fresh;
  std::optional<std::string> first;
  std::size_t count = 0;
  bool isAnyLost = false;
  if (options.m_Csv) {
    Deliver(CsvLine(Columns));
  }
  const auto look = [&](const std::string& name) { return Look(name, options, fresh); };
  const auto take = [&](const std::string& name, const Changes& changes) {
    first = first ? first : name;
    count += changes.m_Count;
    used.Absorb(changes.m_Selection);
    Deliver(changes.m_Text);
    if (changes.m_Lost != 0) {
      isAnyLost = true;
      WriteError({LostHistory(name, changes.m_Lost).what()});
    }
  };
  const ArchiveCounts counts = ForEachDocument(options.m_Archive, look, take);
  WriteSummary(counts, Counted(count, "change"));
  const int idle = first ? ReportIdle(used, first, options.m_Archive.m_Files.front()) : ExitFine;
  return std::max<int>({counts.Code(), idle, isAnyLost ? ExitFinding : ExitFine});
}

}  // namespace

void AddChanges(CommandLine& line) {
  line.Add("changes", "Print every change of many documents, one a line", Run,
           [](Verb verb, Options& options) {
             verb.Texts("FILE", options.m_Archive.m_Files, "Documents, or folders with -r",
                        Presence::Required);
             DescribeArchive(verb, options.m_Archive);
             DescribeSelection(verb, options.m_Selection);
             verb.Flag("--csv", options.m_Csv, "Print comma-separated values with a header");
             verb.Flag("--jsonl", options.m_Jsonl, "Print one JSON object a line");
           });
}
