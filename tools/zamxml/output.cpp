#include "output.h"

#include <fmt/format.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "failure.h"
#include "memory.h"

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

bool WriteAll(int descriptor, std::string_view bytes) noexcept {
  while (!bytes.empty()) {
    const auto written = ::write(descriptor, bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR) {
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(written < 0 ? 0 : written));
  }
  return true;
}

void Deliver(std::string_view text) {
  RequireMemory();
  if (const char* why = WriteOutput(text)) {
    throw Failure("standard output", "cannot write", why);
  }
}

const char* WriteOutput(std::string_view text) noexcept {
  return WriteAll(STDOUT_FILENO, text) ? nullptr : std::strerror(errno);
}

void WriteError(std::initializer_list<std::string_view> parts) noexcept {
  std::array<iovec, 16> pieces{};
  std::size_t count = 0;
  const auto add = [&](std::string_view piece) {
    pieces.at(count++) = {const_cast<char*>(piece.data()), piece.size()};
  };
  add("zamxml");
  for (const std::string_view part : parts) {
    add(": ");
    add(part);
  }
  add("\n");
  (void)!::writev(STDERR_FILENO, pieces.data(), static_cast<int>(count));
}

std::string Painted(Colour colour, const std::string& text) {
  static const bool painting = UsesColours();
  return painting ? fmt::format("\x1b[{}m{}\x1b[0m", CodeOf(colour), text) : text;
}

Progress::Progress()
    : m_Next(std::chrono::steady_clock::now() + std::chrono::seconds(1)),
      m_Visible(::isatty(STDERR_FILENO) != 0) {}

void Progress::Advance() noexcept {
  ++m_Done;
  if (m_Visible && std::chrono::steady_clock::now() >= m_Next) {
    m_Next = std::chrono::steady_clock::now() + std::chrono::milliseconds(100);
    m_Shown = true;
    std::array<char, 60> line{};
    const int length = std::snprintf(line.data(), line.size(), "\r%zu documents", m_Done);
    WriteAll(STDERR_FILENO, {line.data(), static_cast<std::size_t>(length)});
  }
}

void Progress::Clear() noexcept {
  if (m_Shown) {
    m_Shown = false;
    WriteAll(STDERR_FILENO, "\r\x1b[K");
  }
}
