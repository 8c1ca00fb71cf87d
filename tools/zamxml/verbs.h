#pragma once

#include <CLI/CLI.hpp>

/// Each adds one verb to the command line. When the verb is given, it runs while the line is parsed
/// and sets the exit code; Failure ends it early.
void AddNew(CLI::App& app, int& exitCode);
void AddShow(CLI::App& app, int& exitCode);
void AddLog(CLI::App& app, int& exitCode);
void AddDiff(CLI::App& app, int& exitCode);
void AddBlame(CLI::App& app, int& exitCode);
void AddAmend(CLI::App& app, int& exitCode);
void AddRevert(CLI::App& app, int& exitCode);
void AddCheck(CLI::App& app, int& exitCode);
void AddExport(CLI::App& app, int& exitCode);
void AddImport(CLI::App& app, int& exitCode);
