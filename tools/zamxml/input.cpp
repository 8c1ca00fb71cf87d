#include "input.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <functional>
#include <string_view>
#include <utility>

#include "failure.h"
#include "output.h"

namespace {

class Descriptor {
public:
  explicit Descriptor(int number) noexcept : m_Number(number) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (m_Number >= 0) {
      ::close(m_Number);
    }
  }

  int Number() const noexcept { return m_Number; }
  int Release() noexcept { return std::exchange(m_Number, -1); }

private:
  int m_Number;
};

/// Hands over everything that can be read; false, with errno, when the system or the taker fails.
bool ReadAll(int descriptor, const std::function<bool(std::string_view)>& take) {
  std::array<char, 65536> buffer{};
  for (;;) {
    const auto count = ::read(descriptor, buffer.data(), buffer.size());
    if (count == 0) {
      return true;
    }
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count < 0 || !take({buffer.data(), static_cast<std::size_t>(count)})) {
      return false;
    }
  }
}

}  // namespace

Input::Input(const std::string& name) : m_Name(name), m_Path(name) {
  if (name != "-") {
    return;
  }
  Descriptor copy(::memfd_create("zamxml", MFD_CLOEXEC));
  if (copy.Number() < 0 || !::ReadAll(STDIN_FILENO, [&](std::string_view bytes) {
        return WriteAll(copy.Number(), bytes);
      })) {
    throw Failure(name, "cannot read the standard input", std::strerror(errno));
  }
  m_Path = "/proc/self/fd/" + std::to_string(copy.Number());
  m_Descriptor = copy.Release();
}

Input::~Input() {
  if (m_Descriptor >= 0) {
    ::close(m_Descriptor);
  }
}

std::string Input::ReadAll() const {
  const Descriptor file(::open(m_Path.c_str(), O_RDONLY | O_CLOEXEC));
  std::string text;
  if (file.Number() < 0 || !::ReadAll(file.Number(), [&](std::string_view bytes) {
        text += bytes;
        return true;
      })) {
    throw Failure(m_Name, "cannot read it", std::strerror(errno));
  }
  return text;
}
