#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/system.h"

/// What the files that call the operating system share.
namespace zam {

/// The system's words for errno.
std::string LastReason();

/// Nothing, with the system's words for errno.
std::nullopt_t NothingBecause(std::string& reason);

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

std::string FolderOf(const std::string& path);
/// What follows the last separator.
std::string_view NameOf(std::string_view path);
std::string Joined(const std::string& folder, const std::string& name);

/// What a path leads to behind any links.
struct Target {
  std::string m_Path;
  std::optional<struct stat> m_Status;  ///< nothing: there is no file
};
std::optional<Target> FollowLinks(std::string path, std::string& reason);

/// The same, once what killed saves have left beside the target is cleared up.
std::optional<Target> FindTarget(const std::string& path, std::string& reason);

FileIdentity IdentityOf(const struct stat& status);
bool IsSameFile(const std::optional<FileIdentity>& file, const std::optional<FileIdentity>& other);

/// Whether the path, without following a link, names that file.
bool LeadsTo(const std::string& path, const FileIdentity& file);

/// A hidden name in the target's folder, made from the target's own: the next one who needs it
/// finds what an earlier one left there. It is short, however long the target's name is.
std::string NameBeside(const std::string& target, std::string_view purpose);

/// Whether a TemporaryFolder has the file: what is left there goes with the folder.
bool IsInTemporaryFolder(const std::string& path);

}  // namespace zam
