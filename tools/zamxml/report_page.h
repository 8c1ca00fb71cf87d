#pragma once

#include <string>
#include <vector>

#include "document.h"
#include "report_model.h"
#include "verify.h"

/// The whole page about a document, one HTML file that asks for nothing else. Without its script it
/// shows the last position and all changes. The digest is that of the last position.
std::string ReportPage(const Document& document, const ReportModel& model,
                       const std::vector<Finding>& findings, const std::string& digest);
