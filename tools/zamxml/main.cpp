#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <string>
#include <system_error>

#include "failure.h"
#include "verbs.h"

namespace {

constexpr const char* Footer =
    "A position is \"original\", \"last\" or the number of a modification: the state right after\n"
    "it. Modifications are numbered from 0, as \"zamxml log\" shows them. A PATH is element names\n"
    "joined by \"/\" below the root element, as in PatientInfo/Name/Family; PATH@ATTR is an\n"
    "attribute of that element. FILE may be \"-\", the standard input, where it is only read.\n"
    "Exit code: 0 fine, 1 a finding (invalid, different, in conflict), 2 wrong usage or a file\n"
    "that cannot be read or written.";

int ReportUsage(const std::string& what) {
  fmt::print(stderr, "zamxml: {}\nTry \"zamxml --help\" or \"zamxml VERB --help\".\n", what);
  return ExitFailed;
}

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

int Run(int argc, char** argv) {
  CLI::App app("Examination documents and their recorded history", "zamxml");
  app.set_version_flag("--version", "zamxml " ZAMXML_VERSION);
  app.require_subcommand(1);
  app.footer(Footer);
  int exitCode = ExitFine;
  for (const auto add : {AddNew, AddShow, AddLog, AddDiff, AddBlame, AddAmend, AddRevert, AddCheck,
                         AddExport, AddImport}) {
    add(app, exitCode);
  }
  app.get_formatter()->label("SUBCOMMAND", "VERB");
  for (CLI::App* verb : app.get_subcommands({})) {
    verb->group("Verbs");
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
      return app.exit(error);
    }
    const std::string unknown = UnknownVerb(app, argc, argv);
    return ReportUsage(unknown.empty() ? error.what() : unknown);
  } catch (const Failure& failure) {
    fmt::print(stderr, "zamxml: {}\n", failure.what());
    return failure.Code();
  } catch (const std::exception& error) {
    fmt::print(stderr, "zamxml: {}\n", error.what());
    return ExitFailed;
  }
  return exitCode;
}

}  // namespace

int main(int argc, char** argv) {
  const int exitCode = Run(argc, argv);
  // A full disk behind a redirection shows only here.
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    fmt::print(stderr, "zamxml: standard output: cannot write: {}\n",
               std::system_category().message(errno));
    return ExitFailed;
  }
  return exitCode;
}
