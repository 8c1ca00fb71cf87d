#pragma once

#include <ZAMXMLData.h>

#include <string>
#include <string_view>

/// Dates and times as a history has them: local time, "2024-03-05" and "14:07:09". Whole stamps,
/// "2024-03-05 14:07:09", and their beginnings compare as texts.

/// A day of the calendar.
bool IsDate(std::string_view text);
/// A time of the day, to the second.
bool IsTime(std::string_view text);

/// Whether a text has the form of a day, or of a day and a time to the minute or second, with a
/// space or "T" between them; that day or time need not exist.
bool LooksLikeStamp(std::string_view text);
/// Such a text with a space in the middle. Failure, naming what it is for, unless it is a day of
/// the calendar and a time of that day.
std::string ParseStamp(const std::string& what, const std::string& text);

std::string StampOf(const ZAMXMLModification& modification);
/// Whether the modification was made after a stamp; only as much of its own counts as is given.
bool IsAfter(const ZAMXMLModification& modification, std::string_view stamp);

/// What the clock shows that many hours from now.
std::string StampIn(int hours);
