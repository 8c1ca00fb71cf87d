#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/posix.h"
#include "platform/system.h"

namespace zam {
namespace {

constexpr std::string_view FolderPrefix = "zamxml-edit-";
constexpr std::string_view RandomPart = "XXXXXX";

struct CloseListing {
  void operator()(DIR* listing) const noexcept { ::closedir(listing); }
};
using Listing = std::unique_ptr<DIR, CloseListing>;

bool IsPrivateFolder(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
         status.st_uid == ::geteuid() && (status.st_mode & 0777) == 0700;
}

/// The names in a folder that begin so; none when it cannot be read.
std::vector<std::string> NamesIn(const std::string& folder, std::string_view prefix) {
  std::vector<std::string> names;
  const Listing listing(::opendir(folder.c_str()));
  while (const dirent* entry = listing ? ::readdir(listing.get()) : nullptr) {
    if (std::string_view(entry->d_name).starts_with(prefix)) {
      names.emplace_back(entry->d_name);
    }
  }
  std::ranges::sort(names);
  return names;
}

}  // namespace

/// The folder with its lock (flock(2)), which tells that its process lives. All that is needed to
/// remove it is at hand beforehand, so that this takes no memory.
class TemporaryFolder::Opened {
public:
  explicit Opened(std::string path) : m_Path(std::move(path)), m_Process(ProcessNumber()) {}

  const std::string& Path() const noexcept { return m_Path; }

  /// Makes the folder; its path has ended in the random part until then.
  bool Make() { return ::mkdtemp(m_Path.data()) != nullptr; }

  /// Opens it and takes its lock; false when another process has that.
  bool Lock() {
    Descriptor folder(::open(m_Path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    m_Listing.reset(folder.IsOpen() ? ::fdopendir(folder.Number()) : nullptr);
    if (!m_Listing) {
      return false;
    }
    const int number = folder.Release();
    m_HasLock = ::flock(number, LOCK_EX | LOCK_NB) == 0;
    return (m_HasLock || errno != EWOULDBLOCK) && LeadsTo(m_Path, number);
  }
  /// False also where the file system has no locks.
  bool HasLock() const noexcept { return m_HasLock; }

  void Remove() const noexcept {
    while (const dirent* entry = m_Listing ? ::readdir(m_Listing.get()) : nullptr) {
      ::unlinkat(::dirfd(m_Listing.get()), entry->d_name, 0);
    }
    ::rmdir(m_Path.c_str());
  }
  /// A forked child has the folder as well, but it is its parent's.
  bool IsOwned() const noexcept { return m_Process == ProcessNumber(); }

private:
  std::string m_Path;
  unsigned long m_Process;
  Listing m_Listing;
  bool m_HasLock = false;
};

std::optional<std::string> PrivateTempFolder() {
  const char* configured = std::getenv("TMPDIR");
  const std::string root = configured != nullptr && *configured == '/' ? configured : "/tmp";
  const std::string name = "zamxml-" + std::to_string(::geteuid());
  std::string folder = Joined(root, name);
  if ((::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST) && IsPrivateFolder(folder)) {
    return folder;
  }
  // Another user has taken that name. Nobody can foresee the next one; this user's later processes
  // look for it.
  for (const std::string& other : NamesIn(root, name + '-')) {
    if (IsPrivateFolder(Joined(root, other))) {
      return Joined(root, other);
    }
  }
  folder.append("-").append(RandomPart);
  return ::mkdtemp(folder.data()) != nullptr ? std::optional(folder) : std::nullopt;
}

TemporaryFolder::TemporaryFolder(std::unique_ptr<Opened> opened) noexcept
    : m_Opened(std::move(opened)) {}

TemporaryFolder::~TemporaryFolder() {
  if (m_Opened->IsOwned()) {
    m_Opened->Remove();
  }
}

const std::string& TemporaryFolder::Path() const noexcept { return m_Opened->Path(); }

std::unique_ptr<TemporaryFolder> TemporaryFolder::Make() {
  constexpr int Attempts = 100;
  const auto parent = PrivateTempFolder();
  if (!parent) {
    return nullptr;
  }
  for (const std::string& name : NamesIn(*parent, FolderPrefix)) {
    Opened leftover(Joined(*parent, name));
    if (leftover.Lock() && leftover.HasLock()) {
      leftover.Remove();
    }
  }
  const std::string pattern = Joined(*parent, std::string(FolderPrefix).append(RandomPart));
  for (int attempt = 0; attempt < Attempts; ++attempt) {
    std::unique_ptr<TemporaryFolder> folder(new TemporaryFolder(std::make_unique<Opened>(pattern)));
    // Until it is locked, another process may take it for a leftover.
    if (!folder->m_Opened->Make()) {
      break;
    }
    if (folder->m_Opened->Lock()) {
      return folder;
    }
  }
  return nullptr;
}

}  // namespace zam
