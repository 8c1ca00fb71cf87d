#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <sstream>
#include <string>

#include "failure.h"
#include "memory.h"
#include "output.h"
#include "target.h"
#include "text.h"
#include "verbs.h"

namespace {

constexpr const char* Footer =
    "A position is \"original\", \"last\" or the number of a modification: the state right after\n"
    "it. Modifications are numbered from 0, as \"zamxml log\" shows them. A PATH is element names\n"
    "joined by \"/\" below the root element, as in PatientInfo/Name/Family; PATH@ATTR is an\n"
    "attribute of that element. FILE may be \"-\", the standard input, where it is only read.\n"
    "Exit code: 0 fine, 1 a finding (invalid, different, in conflict), 2 wrong usage, a file that\n"
    "cannot be read or written, or too little memory.";

/// What the user gave in the place of a verb, when it is none: the parser only says that something
/// is missing.
std::string UnknownVerb(CLI::App& app, int argc, char** argv) {
  const std::string first = argc < 2 ? "" : argv[1];
  const auto isFirst = [&](const CLI::App* verb) { return verb->get_name() == first; };
  if (first.empty()) {
    return "no verb is given";
  }
  return first[0] == '-' || !app.get_subcommands(isFirst).empty()
             ? ""
             : first + ": there is no such verb";
}

template <class Kind>
bool Is(const CLI::ParseError& error) {
  return dynamic_cast<const Kind*>(&error) != nullptr;
}

/// The parser's error in this program's words.
std::string PlainWords(const CLI::ParseError& error) {
  const std::string what = error.what();
  const auto colon = std::min(what.find(": "), what.size());
  const std::string option = what.substr(0, colon);
  const std::string rest = colon < what.size() ? what.substr(colon + 2) : "";
  if (Is<CLI::RequiredError>(error)) {
    return what.substr(0, what.rfind(" is required")) + ": it is missing";
  }
  if (Is<CLI::ArgumentMismatch>(error)) {
    return option + (rest.find("At Most") == 0 ? ": it is given twice" : ": its value is missing");
  }
  if (Is<CLI::ConversionError>(error)) {
    return rest.substr(0, rest.find(" = ")) + ": it cannot take this value";
  }
  return Is<CLI::ExtrasError>(error) ? rest + ": it is not expected here" : what;
}

[[noreturn]] void RefuseUsage(CLI::App& app, const std::string& what) {
  const auto verbs = app.get_subcommands();
  const std::string verb = verbs.empty() ? "" : verbs.front()->get_name() + ' ';
  throw Failure("", what, "\"zamxml " + verb + "--help\" tells more");
}

/// Reads the command line: what is to run.
VerbRun Parse(int argc, char** argv) {
  CLI::App app("Examination documents and their recorded history", "zamxml");
  app.set_version_flag("--version", "zamxml " ZAMXML_VERSION);
  app.require_subcommand(1);
  app.footer(Footer);
  VerbRun run;
  for (const auto add : {AddNew, AddShow, AddLog, AddDiff, AddBlame, AddAmend, AddRevert, AddCheck,
                         AddExport, AddImport}) {
    add(app, run);
  }
  app.get_formatter()->label("SUBCOMMAND", "VERB");
  for (CLI::App* verb : app.get_subcommands({})) {
    verb->group("Verbs");
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
      std::ostringstream text;
      app.exit(error, text, text);
      return [help = text.str()] {
        Deliver(help);
        return ExitFine;
      };
    }
    const std::string unknown = UnknownVerb(app, argc, argv);
    RefuseUsage(app, unknown.empty() ? PlainWords(error) : unknown);
  }
  return run;
}

/// A short memory makes other reasons look like the cause.
int Report(const std::string& what, int exitCode) {
  RequireMemory();
  WriteError({Printable(_bstr_t::FromUtf8(what))});
  return exitCode;
}

int Run(int argc, char** argv) {
  try {
    const VerbRun run = Parse(argc, argv);
    RequireMemory();
    return run();
  } catch (const Failure& failure) {
    return Report(failure.what(), failure.Code());
  } catch (const std::exception& error) {
    if (IsShortage(error)) {
      throw;
    }
    return Report(error.what(), ExitFailed);
  }
}

}  // namespace

int main(int argc, char** argv) {
  WatchMemory(ReleaseTarget);
  try {
    return Run(argc, argv);
  } catch (...) {
    ReportShortage();
    return ExitFailed;
  }
}
