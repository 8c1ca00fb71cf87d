#include <string>
#include <unordered_set>

#include "document.h"
#include "failure.h"
#include "output.h"
#include "suggestion.h"
#include "text.h"
#include "verbs.h"

namespace {

struct CompleteOptions {
  std::string m_What;
  std::string m_File;
};

std::string Positions(const Document& document) {
  std::string lines = "original\nlast\n";
  for (int number = 0; number <= document.Last(); ++number) {
    lines += std::to_string(number) + '\n';
  }
  return lines;
}

std::string Users(const Document& document) {
  std::string lines;
  std::unordered_set<std::string> known;
  for (int number = 0; number <= document.Last(); ++number) {
    const std::string user = Printable(document.Modification(number).m_UserID);
    if (!user.empty() && known.insert(user).second) {
      lines += user + '\n';
    }
  }
  return lines;
}

std::string Paths(Document& document) {
  document.MoveTo(document.Last());
  std::string lines;
  for (const std::string& path : ReadPaths(document.m_Xml)) {
    lines += path + '\n';
  }
  return lines;
}

int RunComplete(const CompleteOptions& options) {
  Document document(options.m_File, options.m_File);
  if (options.m_What == "paths") {
    Deliver(Paths(document));
  } else if (options.m_What == "positions") {
    Deliver(Positions(document));
  } else if (options.m_What == "users") {
    Deliver(Users(document));
  } else {
    throw Failure("", options.m_What, "what can be completed is paths, positions or users");
  }
  return ExitFine;
}

}  // namespace

void AddComplete(CommandLine& line) {
  line.Add("complete", "Print the words that a shell can offer for a document", RunComplete,
           [](Verb verb, CompleteOptions& options) {
             verb.Text("WHAT", options.m_What, "paths, positions or users", Presence::Required);
             verb.Text("FILE", options.m_File, "The document", Presence::Required);
           });
}
