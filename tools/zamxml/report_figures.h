#pragma once

#include <optional>
#include <string>
#include <vector>

#include "json_form.h"
#include "report_html.h"
#include "report_model.h"

/// What the elements around a binary block say about it.
struct BlockNotes {
  int m_Label = ReportElement::None;  ///< the value that names it
  std::optional<double> m_Rate;       ///< samples in a second
};

/// The name is a value "name", "label" or "lead" of the block's element. The rate is a value
/// "SamplesPerSecond", "SamplingRate", "SampleRate" or "SamplingFrequency" there or in an element
/// around it, in Hz or, with such a unit, in kHz. Attribute or element, in any case.
BlockNotes NotesOf(const ReportModel& model, const BlockLife& block);

/// The blocks below an element as figures: those of one parent below each other on one axis, as
/// they are at the last position.
std::string FiguresHtml(const ReportModel& model, const PageTexts& texts,
                        const ReportElement& element);

/// All blocks over the whole history, for the script of the page.
Json BlocksToJson(const ReportModel& model);
