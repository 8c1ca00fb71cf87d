#pragma once

#include <ZAMXMLData.h>

#include <string>
#include <vector>

#include "value_path.h"

/// Help with paths that were mistyped or are not yet typed.

/// The paths that name something in a tree, in document order, each once: elements and attributes,
/// without indexes and without the history.
std::vector<std::string> ReadPaths(ZAMXml& tree);

/// "; did you mean PatientInfo/Weight?" where a path of the tree is near to what was given but not
/// the same, otherwise nothing.
std::string DidYouMean(ZAMXml& tree, const std::string& given);

/// Says on the standard error which arguments took nothing in the tree of a file; the exit code.
int ReportIdle(const PathFilter& filter, const std::string& file, ZAMXml& tree);
