#include "stamp.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>

#include "failure.h"
#include "text.h"

namespace {

constexpr std::string_view Form = "0000-00-00 00:00:00";
constexpr std::size_t DayLength = 10;
constexpr std::size_t MinuteLength = 16;

/// Whether a text has the form, in which 0 is any digit.
bool Fits(std::string_view text, std::string_view form) {
  return std::equal(text.begin(), text.end(), form.begin(), form.end(), [](char c, char f) {
    return f == '0' ? c >= '0' && c <= '9' : c == f || (f == ' ' && c == 'T');
  });
}

int Number(std::string_view digits) {
  int number = 0;
  for (const char digit : digits) {
    number = number * 10 + (digit - '0');
  }
  return number;
}

}  // namespace

bool IsDate(std::string_view text) {
  if (!Fits(text, Form.substr(0, DayLength))) {
    return false;
  }
  const auto part = [&](std::size_t at, std::size_t size) { return Number(text.substr(at, size)); };
  return std::chrono::year_month_day(std::chrono::year(part(0, 4)),
                                     std::chrono::month(static_cast<unsigned int>(part(5, 2))),
                                     std::chrono::day(static_cast<unsigned int>(part(8, 2))))
      .ok();
}

bool IsTime(std::string_view text) {
  // A leap second has the number 60.
  return Fits(text, Form.substr(DayLength + 1)) && Number(text.substr(0, 2)) < 24 &&
         Number(text.substr(3, 2)) < 60 && Number(text.substr(6, 2)) <= 60;
}

bool LooksLikeStamp(std::string_view text) {
  const std::size_t size = text.size();
  return (size == DayLength || size == MinuteLength || size == Form.size()) &&
         Fits(text, Form.substr(0, size));
}

std::string ParseStamp(const std::string& what, const std::string& text) {
  const std::string shown = what + ' ' + Printable(_bstr_t::FromUtf8(text));
  if (!LooksLikeStamp(text)) {
    throw Failure("", shown, "a date is written 2024-03-05, with a time 2024-03-05 14:07");
  }
  std::string stamp = text;
  std::replace(stamp.begin(), stamp.end(), 'T', ' ');
  if (!IsDate(stamp.substr(0, DayLength))) {
    throw Failure("", shown, "there is no such day");
  }
  if (stamp.size() > DayLength &&
      !IsTime(stamp.substr(DayLength + 1) + (stamp.size() == MinuteLength ? ":00" : ""))) {
    throw Failure("", shown, "there is no such time");
  }
  return stamp;
}

std::string StampOf(const ZAMXMLModification& modification) {
  return modification.m_Date.utf8() + ' ' + modification.m_Time.utf8();
}

bool IsAfter(const ZAMXMLModification& modification, std::string_view stamp) {
  return StampOf(modification).substr(0, stamp.size()) > stamp;
}

std::string StampIn(int hours) {
  const std::time_t then = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now() +
                                                                std::chrono::hours(hours));
  std::tm local{};
  ::localtime_r(&then, &local);
  std::array<char, 32> stamp{};
  return {stamp.data(), std::strftime(stamp.data(), stamp.size(), "%Y-%m-%d %H:%M:%S", &local)};
}
