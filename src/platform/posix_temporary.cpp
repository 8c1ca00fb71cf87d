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

constexpr std::string_view ParentPrefix = "zamxml-";
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
  // The standard library's iterator ends the process when it runs out of memory.
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

bool IsInTemporaryFolder(const std::string& path) {
  const std::string folder = FolderOf(path);
  return NameOf(folder).starts_with(FolderPrefix) &&
         NameOf(FolderOf(folder)).starts_with(ParentPrefix);
}

std::optional<std::string> PrivateTempFolder() {
  const char* configured = std::getenv("TMPDIR");
  const std::string root = configured != nullptr && *configured == '/' ? configured : "/tmp";
  const std::string name = std::string(ParentPrefix) + std::to_string(::geteuid());
  std::string folder = Joined(root, name);
  if (IsPrivateFolder(folder) ||
      ((::mkdir(folder.c_str(), 0700) == 0 || errno == EEXIST) && IsPrivateFolder(folder))) {
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

/// Opens the folder and takes its lock (flock(2)), which tells that its process lives.
TemporaryFolder::Lock TemporaryFolder::TakeLock() {
  Descriptor folder(::open(m_Path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  DIR* const listing = folder.IsOpen() ? ::fdopendir(folder.Number()) : nullptr;
  if (listing == nullptr) {
    return Lock::Refused;
  }
  m_Listing.reset(listing, ::closedir);
  const int number = folder.Release();
  const bool taken = ::flock(number, LOCK_EX | LOCK_NB) == 0;
  const bool busy = !taken && errno == EWOULDBLOCK;
  struct stat status {};
  if (busy || ::fstat(number, &status) != 0 || !LeadsTo(m_Path, IdentityOf(status))) {
    return Lock::Refused;
  }
  return taken ? Lock::Taken : Lock::NotThere;
}

/// All that this needs is at hand beforehand, so that it takes no memory. A forked child has the
/// folder as well, but it is its parent's.
TemporaryFolder::~TemporaryFolder() {
  if (m_Owner != ProcessNumber()) {
    return;
  }
  auto* const listing = static_cast<DIR*>(m_Listing.get());
  while (const dirent* entry = listing != nullptr ? ::readdir(listing) : nullptr) {
    if (entry->d_type != DT_DIR) {
      ::unlinkat(::dirfd(listing), entry->d_name, 0);
    }
  }
  ::rmdir(m_Path.c_str());
}

std::unique_ptr<TemporaryFolder> TemporaryFolder::Make() {
  constexpr int Attempts = 100;
  const auto parent = PrivateTempFolder();
  if (!parent) {
    return nullptr;
  }
  for (const std::string& name : NamesIn(*parent, FolderPrefix)) {
    TemporaryFolder leftover(Joined(*parent, name));
    if (leftover.TakeLock() == Lock::Taken) {
      leftover.m_Owner = ProcessNumber();
    }
  }
  const std::string pattern = Joined(*parent, std::string(FolderPrefix).append(RandomPart));
  for (int attempt = 0; attempt < Attempts; ++attempt) {
    std::unique_ptr<TemporaryFolder> folder(new TemporaryFolder(pattern));
    if (::mkdtemp(folder->m_Path.data()) == nullptr) {
      break;
    }
    folder->m_Owner = ProcessNumber();
    // Until it is locked, another process may take it for a leftover.
    if (folder->TakeLock() != Lock::Refused) {
      return folder;
    }
  }
  return nullptr;
}

}  // namespace zam
