#pragma once

#include <CLI/CLI.hpp>
#include <functional>

/// What a verb does once the command line has been read: the exit code; Failure ends it early.
using VerbRun = std::function<int()>;

/// Each adds one verb to the command line. When the verb is given, parsing sets what is to run.
void AddNew(CLI::App& app, VerbRun& run);
void AddShow(CLI::App& app, VerbRun& run);
void AddLog(CLI::App& app, VerbRun& run);
void AddDiff(CLI::App& app, VerbRun& run);
void AddBlame(CLI::App& app, VerbRun& run);
void AddAmend(CLI::App& app, VerbRun& run);
void AddRevert(CLI::App& app, VerbRun& run);
void AddCheck(CLI::App& app, VerbRun& run);
void AddExport(CLI::App& app, VerbRun& run);
void AddImport(CLI::App& app, VerbRun& run);
