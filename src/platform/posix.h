#pragma once

#include <unistd.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>

/// What the files that call the operating system share.
namespace zam {

/// The system's words for errno.
std::string LastReason();

class Descriptor {
public:
  explicit Descriptor(int number) noexcept : m_Number(number) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(Descriptor&& other) noexcept {
    Close();
    m_Number = other.Release();
    return *this;
  }
  ~Descriptor() { Close(); }

  bool IsOpen() const noexcept { return m_Number >= 0; }
  int Number() const noexcept { return m_Number; }
  int Release() noexcept { return std::exchange(m_Number, -1); }
  bool Close() noexcept {
    const int number = Release();
    return number < 0 || ::close(number) == 0;
  }

private:
  int m_Number;
};

/// The system would end a path at a zero character and so take another file.
bool IsUsablePath(const std::string& path, std::string& reason);

std::string FolderOf(const std::string& path);
std::string Joined(const std::string& folder, const std::string& name);

/// The path behind any links, existing or not.
std::optional<std::string> FollowLinks(std::string path, std::string& reason);

/// Whether the path, without following a link, names the file that is opened.
bool LeadsTo(const std::string& path, int descriptor);

/// A hidden name in the target's folder, made from the target's own: the next one who needs it
/// finds what an earlier one left there. It is short, however long the target's name is.
std::string NameBeside(const std::string& target, std::string_view purpose);

}  // namespace zam
