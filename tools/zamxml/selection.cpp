#include "selection.h"

#include "change_list.h"
#include "failure.h"
#include "output.h"
#include "stamp.h"
#include "suggestion.h"
#include "text.h"

namespace {

std::string StampOption(const char* option, const std::string& text) {
  return text.empty() ? "" : ParseStamp(option, text);
}

}  // namespace

void DescribeSelection(Verb& verb, SelectionOptions& options) {
  verb.Text("--user", options.m_User, "Only modifications of this user (identifier or name)");
  verb.Text("--since", options.m_Since, "Only from this date (and time) on");
  verb.Text("--until", options.m_Until, "Only up to this date (and time), inclusive");
  verb.Texts("--path", options.m_Paths, "Only what changes this value; may be repeated");
}

Selection::Selection(const SelectionOptions& options)
    : m_User(_bstr_t::FromUtf8(options.m_User)),
      m_Since(StampOption("--since", options.m_Since)),
      m_Until(StampOption("--until", options.m_Until)),
      m_Paths(options.m_Paths) {}

bool Selection::Takes(const ZAMXMLModification& modification) {
  const bool isByUser =
      m_User.length() == 0 || m_User == modification.m_UserID || m_User == modification.m_UserName;
  bool isAbout = m_Paths.TakesAll();
  for (const ZAMXMLChangeItem* item : modification.m_Changes) {
    isAbout = (!m_Paths.TakesAll() && Concerns(m_Paths, *item)) || isAbout;
  }
  // Only as much of the stamp counts as was given: a day as an end includes that day.
  const bool isWhen = StampOf(modification).substr(0, m_Since.size()) >= m_Since &&
                      (m_Until.empty() || !IsAfter(modification, m_Until));
  m_FoundUser = m_FoundUser || isByUser;
  m_FoundAny = m_FoundAny || (isByUser && isAbout && isWhen);
  return isByUser && isAbout && isWhen;
}

void Selection::Absorb(const Selection& other) {
  m_FoundUser = m_FoundUser || other.m_FoundUser;
  m_FoundAny = m_FoundAny || other.m_FoundAny;
  m_Paths.Absorb(other.m_Paths);
}

int Selection::ReportIdle(const std::string& file, ZAMXml* tree) const {
  const std::string name = Printable(_bstr_t::FromUtf8(file));
  const bool isAskedForUser = m_User.length() != 0;
  const bool asksForAnything =
      isAskedForUser || !m_Since.empty() || !m_Until.empty() || !m_Paths.TakesAll();
  const std::vector<std::string> idle = m_Paths.Idle();
  for (const std::string& path : idle) {
    WriteError({name, "--path " + Printable(_bstr_t::FromUtf8(path)),
                "no change is about it" + (tree == nullptr ? "" : DidYouMean(*tree, path))});
  }
  if (isAskedForUser && !m_FoundUser) {
    WriteError({name, "--user " + Printable(m_User), "no modification is by that user"});
  } else if (asksForAnything && idle.empty() && !m_FoundAny) {
    WriteError({name, "no modification fits all that is asked for"});
  }
  const bool isIdle = !idle.empty() || (isAskedForUser && !m_FoundUser);
  return isIdle || (asksForAnything && !m_FoundAny) ? ExitFinding : ExitFine;
}
