#pragma once

#include <string_view>

/// share/report as one text, made by the build: the page with its style and script in it, and a
/// comment <!--name--> wherever a part of a document comes in.
extern const std::string_view ReportTemplate;
