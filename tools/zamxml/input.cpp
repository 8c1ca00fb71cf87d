#include "input.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <string_view>
#include <system_error>

#include "failure.h"

namespace {

std::string LastReason() { return std::system_category().message(errno); }

bool WriteAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto written = ::write(descriptor, bytes.data(), bytes.size());
    if (written < 0 && errno != EINTR) {
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(written < 0 ? 0 : written));
  }
  return true;
}

bool CopyStandardInput(int descriptor) {
  std::array<char, 65536> buffer{};
  for (;;) {
    const auto count = ::read(STDIN_FILENO, buffer.data(), buffer.size());
    if (count == 0) {
      return true;
    }
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count < 0 || !WriteAll(descriptor, {buffer.data(), static_cast<std::size_t>(count)})) {
      return false;
    }
  }
}

}  // namespace

Input::Input(const std::string& name) : m_Name(name), m_Path(name) {
  if (name != "-") {
    return;
  }
  m_Descriptor = ::memfd_create("zamxml", MFD_CLOEXEC);
  if (m_Descriptor < 0 || !CopyStandardInput(m_Descriptor)) {
    const std::string why = LastReason();
    ::close(m_Descriptor);
    throw Failure(name, "cannot read the standard input", why);
  }
  m_Path = "/proc/self/fd/" + std::to_string(m_Descriptor);
}

Input::~Input() {
  if (m_Descriptor >= 0) {
    ::close(m_Descriptor);
  }
}

std::string Input::ReadAll() const {
  const std::string why = WhyUnreadable(m_Path);
  std::ifstream file(m_Path, std::ios::binary);
  if (!why.empty() || !file) {
    throw Failure(m_Name, "cannot open it", why);
  }
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string WhyUnreadable(const std::string& path) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  char byte = 0;
  const bool readable = descriptor >= 0 && ::read(descriptor, &byte, 1) >= 0;
  const std::string why = readable ? std::string() : LastReason();
  if (descriptor >= 0) {
    ::close(descriptor);
  }
  return why;
}
