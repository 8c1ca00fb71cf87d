#include <fmt/format.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "archive.h"
#include "change_list.h"
#include "document.h"
#include "excerpt.h"
#include "failure.h"
#include "json_form.h"
#include "output.h"
#include "selection.h"
#include "text.h"
#include "verbs.h"

namespace {

struct ChangesOptions {
  ArchiveOptions m_Archive;
  SelectionOptions m_Selection;
  bool m_Csv = false;
  bool m_Jsonl = false;
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

std::string LineOf(const ChangesOptions& options, const std::string& file, int number,
                   const ZAMXMLModification& modification, const ZAMXMLChangeItem& item) {
  if (options.m_Csv) {
    return CsvLine(RowOf(file, number, modification, item));
  }
  return options.m_Jsonl ? JsonLine(RowOf(file, number, modification, item), number)
                         : PlainLine(file, number, modification, item);
}

int RunChanges(const ChangesOptions& options) {
  if (options.m_Csv && options.m_Jsonl) {
    throw Failure("", "--csv and --jsonl", "only one of them can be given");
  }
  const Selection selection(options.m_Selection);
  if (options.m_Csv) {
    Deliver(CsvLine(Columns));
  }
  return PrintExcerpts(
      options.m_Archive, selection, "change", [&](Document& document, Selection own) {
        Excerpt changes{{}, 0, document.Unreadable(), std::move(own)};
        for (int number = 0; number <= document.Last(); ++number) {
          const ZAMXMLModification& modification = document.Modification(number);
          if (!changes.m_Selection.Takes(modification)) {
            continue;
          }
          for (const ZAMXMLChangeItem* item : modification.m_Changes) {
            if (Concerns(changes.m_Selection.Paths(), *item)) {
              ++changes.m_Count;
              changes.m_Text += LineOf(options, document.Name(), number, modification, *item);
            }
          }
        }
        return changes;
      });
}

}  // namespace

void AddChanges(CommandLine& line) {
  line.Add("changes", "Print every change of many documents, one a line", RunChanges,
           [](Verb verb, ChangesOptions& options) {
             DescribeFiles(verb, options.m_Archive);
             DescribeSelection(verb, options.m_Selection);
             verb.Flag("--csv", options.m_Csv, "Print comma-separated values with a header");
             verb.Flag("--jsonl", options.m_Jsonl, "Print one JSON object a line");
           });
}
