#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "change_list.h"
#include "document.h"
#include "failure.h"
#include "input.h"
#include "json_form.h"
#include "output.h"
#include "text.h"
#include "verbs.h"

namespace {

struct Options {
  std::string m_File;
  std::string m_User;
  std::string m_Since;
  std::string m_Until;
  std::vector<std::string> m_Paths;
  bool m_Patch = false;
  bool m_Json = false;
};

/// A date, or date and time up to the minute or second; "T" may stand between them.
std::string ParseStamp(const char* option, const std::string& text) {
  constexpr std::string_view Form = "0000-00-00 00:00:00";
  std::string stamp = text;
  std::replace(stamp.begin(), stamp.end(), 'T', ' ');
  const auto fits = [](char c, char form) {
    return form == '0' ? c >= '0' && c <= '9' : c == form;
  };
  // Nothing, a day, or a time to the minute or the second.
  const std::size_t size = stamp.size();
  if ((size != 0 && size != 10 && size != 16 && size != 19) ||
      !std::equal(stamp.begin(), stamp.end(), Form.begin(), fits)) {
    throw Failure("", fmt::format("{} {}", option, text),
                  "a date is written 2024-03-05, with a time 2024-03-05 14:07");
  }
  return stamp;
}

class Selection {
public:
  explicit Selection(const Options& options)
      : m_User(_bstr_t::FromUtf8(options.m_User)),
        m_Since(ParseStamp("--since", options.m_Since)),
        m_Until(ParseStamp("--until", options.m_Until)),
        m_Paths(options.m_Paths) {}

  const PathFilter& Paths() const { return m_Paths; }

  bool Takes(const ZAMXMLModification& modification) const {
    if (m_User.length() != 0 && m_User != modification.m_UserID &&
        m_User != modification.m_UserName) {
      return false;
    }
    // Only as much of the stamp counts as was given: a day as an end includes that day.
    const std::string stamp = modification.m_Date.utf8() + ' ' + modification.m_Time.utf8();
    const std::string_view view = stamp;
    if ((!m_Since.empty() && view.substr(0, m_Since.size()) < m_Since) ||
        (!m_Until.empty() && view.substr(0, m_Until.size()) > m_Until)) {
      return false;
    }
    return m_Paths.TakesAll() ||
           std::any_of(modification.m_Changes.begin(), modification.m_Changes.end(),
                       [this](const ZAMXMLChangeItem* item) { return Concerns(m_Paths, *item); });
  }

private:
  _bstr_t m_User;
  std::string m_Since;
  std::string m_Until;
  PathFilter m_Paths;
};

std::string TextOf(const ZAMXMLModification& modification, int number, const Options& options,
                   const Selection& selection) {
  const std::string line =
      fmt::format("{}  {} change{}  {}\n", Headline(modification, number), modification.GetCount(),
                  modification.GetCount() == 1 ? "" : "s", Printable(modification.m_UID));
  return options.m_Patch ? line + ChangeLines(modification, selection.Paths()) : line;
}

int Run(const Options& options) {
  const Selection selection(options);
  const Input input(options.m_File);
  Document document(input.Path(), options.m_File);
  Json json = JsonOutput("log", options.m_File);
  json["modifications"] = Json::array();
  std::string text;
  for (int number = 0; number <= document.Last(); ++number) {
    const ZAMXMLModification& modification = document.Modification(number);
    if (!selection.Takes(modification)) {
      continue;
    }
    if (options.m_Json) {
      json["modifications"].push_back(ToJson(modification, number));
    } else {
      text += TextOf(modification, number, options, selection);
    }
  }
  const int unreadable = document.Unreadable();
  Deliver(options.m_Json ? JsonText(json) : text);
  if (unreadable > 0) {
    throw Failure(options.m_File, "its history is not whole",
                  fmt::format("modifications that cannot be read: {}", unreadable), ExitFinding);
  }
  return ExitFine;
}

}  // namespace

void AddLog(CommandLine& line) {
  line.Add("log", "Show the history of a document", Run, [](Verb verb, Options& options) {
    verb.Text("FILE", options.m_File, "The document", Presence::Required);
    verb.Flag("-p,--patch", options.m_Patch, "Show each change, old and new");
    verb.Text("--user", options.m_User, "Only modifications of this user (identifier or name)");
    verb.Text("--since", options.m_Since, "Only from this date (and time) on");
    verb.Text("--until", options.m_Until, "Only up to this date (and time), inclusive");
    verb.Texts("--path", options.m_Paths, "Only what changes this value; may be repeated");
    verb.Flag("--json", options.m_Json, "Print JSON");
  });
}
