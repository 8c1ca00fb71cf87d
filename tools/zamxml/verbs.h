#pragma once

#include "command_line.h"

/// Each adds one verb to the command line.
void AddNew(CommandLine& line);
void AddShow(CommandLine& line);
void AddLog(CommandLine& line);
void AddDiff(CommandLine& line);
void AddBlame(CommandLine& line);
void AddAmend(CommandLine& line);
void AddRevert(CommandLine& line);
void AddCheck(CommandLine& line);
void AddDigest(CommandLine& line);
void AddChanges(CommandLine& line);
void AddReport(CommandLine& line);
void AddExport(CommandLine& line);
void AddImport(CommandLine& line);
void AddComplete(CommandLine& line);
