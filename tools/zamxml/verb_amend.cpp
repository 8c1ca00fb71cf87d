#include <string>
#include <vector>

#include "failure.h"
#include "input.h"
#include "recording.h"
#include "verbs.h"

namespace {

struct AmendOptions : RecordingOptions {
  std::vector<std::string> m_Set;
  std::vector<std::string> m_Names;
  std::vector<std::vector<std::string>> m_Statements;
  std::string m_From;
};

std::vector<Edit> ReadEdits(const AmendOptions& options) {
  std::vector<Edit> edits;
  if (!options.m_From.empty()) {
    const Input input(options.m_From);
    edits = ParseJsonEdits(options.m_File, options.m_From, input.ReadAll());
  }
  for (const std::string& argument : options.m_Set) {
    edits.push_back(ParseTextEdit(options.m_File, argument));
  }
  for (const std::string& argument : options.m_Names) {
    edits.push_back(ParseNameEdit(options.m_File, argument));
  }
  for (const std::vector<std::string>& arguments : options.m_Statements) {
    edits.push_back(ParseStatementsEdit(options.m_File, arguments));
  }
  if (edits.empty()) {
    throw Failure(options.m_File, "no change is given", "--set, --name, --statements or --from");
  }
  RefuseRepeated(options.m_File, edits);
  return edits;
}

int RunAmend(const AmendOptions& options) {
  const std::vector<Edit> edits = ReadEdits(options);
  return RecordModification("amend", options, [&](Document&) { return edits; });
}

}  // namespace

void AddAmend(CommandLine& line) {
  line.Add("amend", "Record one modification of any number of changes", RunAmend,
           [](Verb verb, AmendOptions& options) {
             AddRecordingOptions(verb, options);
             verb.Texts("--set", options.m_Set, "A text: PATH[@ATTR]=VALUE; may be repeated");
             verb.Texts("--name", options.m_Names,
                        "A name: PATH=FULL^FAMILY^GIVEN^MIDDLE^PREFIX^SUFFIX; may be repeated");
             verb.TextLists("--statements", options.m_Statements,
                            "A list: PATH=TEXT and more texts; may be repeated");
             verb.Text("--from", options.m_From,
                       "Changes from a JSON file; - is the standard input");
             verb.Flag("--create", options.m_Create, "Let changes add elements and attributes");
           });
}
