#include "output.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

bool UsesColours() {
  const char* refused = std::getenv("NO_COLOR");
  const char* terminal = std::getenv("TERM");
  return ::isatty(STDOUT_FILENO) != 0 && (refused == nullptr || *refused == '\0') &&
         (terminal == nullptr || std::string_view(terminal) != "dumb");
}

const char* CodeOf(Colour colour) {
  switch (colour) {
    case Colour::Old:
      return "31";
    case Colour::New:
      return "32";
    case Colour::Number:
      return "33";
    case Colour::Title:
      break;
  }
  return "1";
}

}  // namespace

std::string Painted(Colour colour, const std::string& text) {
  static const bool painting = UsesColours();
  return painting ? fmt::format("\x1b[{}m{}\x1b[0m", CodeOf(colour), text) : text;
}

ProgressBar::ProgressBar(std::size_t total)
    : m_Total(total), m_Visible(total > 1 && ::isatty(STDERR_FILENO) != 0) {}

ProgressBar::~ProgressBar() {
  if (m_Visible) {
    fmt::print(stderr, "\r\x1b[K");
  }
}

void ProgressBar::Advance() {
  const std::lock_guard<std::mutex> guard(m_Mutex);
  const std::size_t percent = ++m_Done * 100 / m_Total;
  if (m_Visible && percent != m_Shown) {
    m_Shown = percent;
    fmt::print(stderr, "\r[{:<50}] {}/{}", std::string(percent / 2, '#'), m_Done, m_Total);
  }
}
