#pragma once

#include <string>

#include "report_html.h"
#include "report_model.h"

/// A value at the last position, in an element that the script of the page finds by its number:
/// every place of a value with a history is one.
std::string SlotHtml(const ReportModel& model, const PageTexts& texts, int value);

/// All sections of a document at the last position: patient, order, study, those of the host, and
/// the header of the document at the end.
std::string SectionsHtml(const ReportModel& model, const PageTexts& texts);
