#include <exception>
#include <string>

#include "failure.h"
#include "memory.h"
#include "output.h"
#include "target.h"
#include "text.h"
#include "verbs.h"

namespace {

constexpr const char* Footer =
    "A position is \"original\", \"last\", the number of a modification (the state right after it) "
    "or\n"
    "a local time as 2024-03-05T12:00 (the state then). Modifications are numbered from 0, as\n"
    "\"zamxml log\" shows them. A PATH is element names joined by \"/\" below the root element, as "
    "in\n"
    "PatientInfo/Name/Family; PATH@ATTR is an attribute of that element. FILE may be \"-\", the\n"
    "standard input, where it is only read.\n"
    "Exit code: 0 fine, 1 a finding (invalid, different, in conflict), 2 wrong usage, a file that\n"
    "cannot be read or written, or too little memory.";

/// A short memory makes other reasons look like the cause.
int Report(const std::string& what, int exitCode) {
  RequireMemory();
  WriteError({Printable(_bstr_t::FromUtf8(what))});
  return exitCode;
}

int Run(int argc, char** argv) {
  try {
    CommandLine line("Examination documents and their recorded history", Footer);
    for (const auto add :
         {AddNew, AddShow, AddLog, AddDiff, AddBlame, AddAmend, AddRevert, AddCheck, AddDigest,
          AddChanges, AddReport, AddExport, AddImport, AddComplete}) {
      add(line);
    }
    const VerbRun run = line.Parse(argc, argv);
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
