#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <vector>

#include "change_list.h"
#include "failure.h"
#include "recording.h"
#include "verbs.h"

namespace {

struct RevertOptions : RecordingOptions {
  std::string m_Number;
};

/// Failure when a modification after the one to be reverted changed what that one changed.
void RefuseConflict(const Document& document, int number) {
  for (const ZAMXMLChangeItem* item : document.Modification(number).m_Changes) {
    for (int later = number + 1; later <= document.Last(); ++later) {
      for (const ZAMXMLChangeItem* other : document.Modification(later).m_Changes) {
        if (other->m_OldValue != other->m_NewValue && Overlap(*item, *other)) {
          throw Failure(
              document.Name(), fmt::format("cannot revert modification {}", number),
              fmt::format("modification {} changed {} later", later, PathOf(*other).Whole()),
              ExitFinding);
        }
      }
    }
  }
}

std::vector<Edit> OldValues(Document& document, const RevertOptions& options) {
  const int number = document.Position(options.m_Number);
  if (number == Document::Original) {
    throw Failure(document.Name(), "cannot revert the original", "it is no modification");
  }
  RefuseConflict(document, number);
  std::vector<Edit> edits;
  for (const ZAMXMLChangeItem* item : document.Modification(number).m_Changes) {
    const ValuePath path = ParseChangedPath(document.Name(), PathOf(*item).Whole());
    const bool known = std::any_of(edits.begin(), edits.end(), [&](const Edit& edit) {
      return edit.m_Path.Whole() == path.Whole();
    });
    if (!known) {
      edits.push_back({path, item->m_ValueType, item->m_OldValue.utf8(), std::nullopt});
    }
  }
  return edits;
}

int RunRevert(const RevertOptions& options) {
  return RecordModification("revert", options,
                            [&](Document& document) { return OldValues(document, options); });
}

}  // namespace

void AddRevert(CommandLine& line) {
  line.Add("revert", "Record a modification that takes an earlier one back", RunRevert,
           [](Verb verb, RevertOptions& options) {
             // What is taken back has been there: a list that was emptied may be filled again.
             options.m_Create = true;
             AddRecordingOptions(verb, options);
             verb.Text("N", options.m_Number, "Number of the modification, or last",
                       Presence::Required);
           });
}
