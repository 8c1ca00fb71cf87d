#include <fmt/format.h>

#include <string>
#include <unordered_map>
#include <vector>

#include "change_list.h"
#include "document.h"
#include "failure.h"
#include "input.h"
#include "json_form.h"
#include "output.h"
#include "suggestion.h"
#include "text.h"
#include "values.h"
#include "verbs.h"

namespace {

struct BlameOptions {
  std::string m_File;
  std::vector<std::string> m_Paths;
  bool m_Json = false;
};

/// The modification that changed a value last, by its path; what no modification changed is not in
/// it.
using Setters = std::unordered_map<std::string, int>;

std::unordered_map<std::string, _bstr_t> ReadAllTouched(Document& document,
                                                        const ZAMXMLModification& modification) {
  std::unordered_map<std::string, _bstr_t> texts;
  for (const ZAMXMLChangeItem* item : modification.m_Changes) {
    for (const Value& value : ReadTouched(document.m_Xml, *item)) {
      texts.emplace(value.m_Path.Whole(), value.m_Text);
    }
  }
  return texts;
}

/// Walks to the last state and compares what each modification touches before and after it.
Setters WalkHistory(Document& document) {
  Setters setters;
  for (int number = 0; number <= document.Last(); ++number) {
    const ZAMXMLModification& modification = document.Modification(number);
    auto before = ReadAllTouched(document, modification);
    document.MoveTo(number);
    for (const auto& [path, text] : ReadAllTouched(document, modification)) {
      const auto old = before.find(path);
      if (old == before.end() || old->second != text) {
        setters[path] = number;
      }
      before.erase(path);
    }
    for (const auto& gone : before) {
      setters.erase(gone.first);
    }
  }
  return setters;
}

/// The columns of one value, as long as they are not painted.
struct Row {
  int m_Setter;
  std::string m_Origin;
  std::string m_Value;
};

Row RowOf(const Document& document, const Value& value, int setter) {
  return {setter, setter == Document::Original ? "" : Origin(document.Modification(setter)),
          Printable(_bstr_t::FromUtf8(value.m_Path.Whole())) + " = " + Quoted(value.m_Text)};
}

std::string Table(const std::vector<Row>& rows) {
  std::size_t numbers = 0;
  std::size_t origins = 0;
  for (const Row& row : rows) {
    numbers = std::max(numbers, Document::PositionName(row.m_Setter).size());
    origins = std::max(origins, WidthOf(row.m_Origin));
  }
  std::string text;
  for (const Row& row : rows) {
    const std::string number = Document::PositionName(row.m_Setter);
    text += Painted(Colour::Number, number) + std::string(numbers - number.size() + 2, ' ') +
            row.m_Origin + std::string(origins - WidthOf(row.m_Origin), ' ') +
            (origins == 0 ? "" : "  ") + row.m_Value + '\n';
  }
  return text;
}

int RunBlame(const BlameOptions& options) {
  const PathFilter filter(options.m_Paths);
  const Input input(options.m_File);
  Document document(input.Path(), options.m_File);
  const Setters setters = WalkHistory(document);
  Json json = JsonOutput("blame", options.m_File);
  json["values"] = Json::array();
  std::vector<Row> rows;
  for (const Value& value : ReadValues(document.m_Xml)) {
    if (!filter.Takes(value.m_Path)) {
      continue;
    }
    const auto found = setters.find(value.m_Path.Whole());
    const int setter = found == setters.end() ? Document::Original : found->second;
    if (options.m_Json) {
      Json entry = ToJson(value);
      entry["modification"] = setter == Document::Original
                                  ? Json(nullptr)
                                  : JsonHead(document.Modification(setter), setter);
      json["values"].push_back(std::move(entry));
    } else {
      rows.push_back(RowOf(document, value, setter));
    }
  }
  Deliver(options.m_Json ? JsonText(json) : Table(rows));
  return ReportIdle(filter, options.m_File, document.m_Xml);
}

}  // namespace

void AddBlame(CommandLine& line) {
  line.Add("blame", "Show which modification set each value last", RunBlame,
           [](Verb verb, BlameOptions& options) {
             verb.Text("FILE", options.m_File, "The document", Presence::Required);
             verb.Texts("PATH", options.m_Paths, "Only these values: PATH[@ATTR]");
             verb.Flag("--json", options.m_Json, "Print JSON");
           });
}
