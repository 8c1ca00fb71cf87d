#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "document.h"
#include "failure.h"
#include "input.h"
#include "json_form.h"
#include "output.h"
#include "text.h"
#include "values.h"
#include "verbs.h"

namespace {

struct DiffOptions {
  std::string m_File;
  std::string m_Second;  ///< the other file, or the first position
  std::string m_Third;   ///< empty, or the second position
  bool m_Json = false;
};

struct Difference {
  ValuePath m_Path;
  std::optional<_bstr_t> m_Old;  ///< nothing where there is no such value
  std::optional<_bstr_t> m_New;
};

/// What changed or went, in the order of the old values, then what came.
std::vector<Difference> Compare(const std::vector<Value>& before, const std::vector<Value>& after) {
  std::unordered_map<std::string, const Value*> unmatched;
  for (const Value& value : after) {
    unmatched.emplace(value.m_Path.Whole(), &value);
  }
  std::vector<Difference> differences;
  for (const Value& value : before) {
    const auto found = unmatched.find(value.m_Path.Whole());
    if (found == unmatched.end()) {
      differences.push_back({value.m_Path, value.m_Text, std::nullopt});
      continue;
    }
    if (found->second->m_Text != value.m_Text) {
      differences.push_back({value.m_Path, value.m_Text, found->second->m_Text});
    }
    unmatched.erase(found);
  }
  for (const Value& value : after) {
    if (unmatched.contains(value.m_Path.Whole())) {
      differences.push_back({value.m_Path, std::nullopt, value.m_Text});
    }
  }
  return differences;
}

std::vector<Value> ReadLast(const std::string& file) {
  const Input input(file);
  Document document(input.Path(), file);
  document.MoveTo(document.Last());
  return ReadValues(document.m_Xml);
}

std::vector<Difference> ComparePositions(const DiffOptions& options, Json& json) {
  const Input input(options.m_File);
  Document document(input.Path(), options.m_File);
  const int from = document.Position(options.m_Second);
  const int to = document.Position(options.m_Third);
  json["from"] = from;
  json["to"] = to;
  document.MoveTo(std::min(from, to));
  const std::vector<Value> earlier = ReadValues(document.m_Xml);
  document.MoveTo(std::max(from, to));
  const std::vector<Value> later = ReadValues(document.m_Xml);
  return from <= to ? Compare(earlier, later) : Compare(later, earlier);
}

std::vector<Difference> CompareFiles(const DiffOptions& options, Json& json) {
  if (options.m_File == "-" && options.m_Second == "-") {
    throw Failure("-", "cannot compare it", "only one of the files can be the standard input");
  }
  json["other"] = options.m_Second;
  return Compare(ReadLast(options.m_File), ReadLast(options.m_Second));
}

Json ToJson(const Difference& difference) {
  const auto value = [](const std::optional<_bstr_t>& text) {
    return text ? Json(text->utf8()) : Json(nullptr);
  };
  Json json = ToJson(difference.m_Path);
  json["type"] = "STRING";
  json["old"] = value(difference.m_Old);
  json["new"] = value(difference.m_New);
  return json;
}

std::string TextOf(const Difference& difference) {
  const auto value = [](const std::optional<_bstr_t>& text) {
    return text ? Quoted(*text) : std::string("none");
  };
  return fmt::format("{}: {} → {}\n", Printable(_bstr_t::FromUtf8(difference.m_Path.Whole())),
                     Painted(Colour::Old, value(difference.m_Old)),
                     Painted(Colour::New, value(difference.m_New)));
}

int RunDiff(const DiffOptions& options) {
  Json json = JsonOutput("diff", options.m_File);
  const std::vector<Difference> differences =
      options.m_Third.empty() ? CompareFiles(options, json) : ComparePositions(options, json);
  json["changes"] = Json::array();
  std::string text;
  for (const Difference& difference : differences) {
    if (options.m_Json) {
      json["changes"].push_back(ToJson(difference));
    } else {
      text += TextOf(difference);
    }
  }
  Deliver(options.m_Json ? JsonText(json) : text);
  return differences.empty() ? ExitFine : ExitFinding;
}

}  // namespace

void AddDiff(CommandLine& line) {
  line.Add("diff", "Compare two positions of a document (FILE A B), or two files (FILE A)", RunDiff,
           [](Verb verb, DiffOptions& options) {
             verb.Text("FILE", options.m_File, "The document", Presence::Required);
             verb.Text("A", options.m_Second,
                       "A position; alone, the other file: last states are compared",
                       Presence::Required);
             verb.Text("B", options.m_Third, "The other position");
             verb.Flag("--json", options.m_Json, "Print JSON");
           });
}
