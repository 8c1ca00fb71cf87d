#include "document_finder.h"

#include <filesystem>
#include <system_error>

namespace {

namespace fs = std::filesystem;

bool IsDocumentName(const std::string& name) {
  return name.size() > 4 && (name.ends_with(".xml") || name.ends_with(".XML"));
}

}  // namespace

DocumentFinder::DocumentFinder(const ArchiveOptions& options) : m_Options(options) {}

std::optional<Found> DocumentFinder::Next() {
  for (;;) {
    while (!m_Open.empty()) {
      if (auto found = NextBelow()) {
        m_IsEmpty = false;
        return found;
      }
    }
    if (m_IsEmpty) {
      m_IsEmpty = false;
      const std::size_t others = m_Others - m_OthersBefore;
      return Found{m_Options.m_Files[m_NextFile - 1],
                   "there is no document in it" +
                       (others == 0 ? "" : "; files of other names: " + std::to_string(others)),
                   true};
    }
    if (m_NextFile == m_Options.m_Files.size()) {
      return std::nullopt;
    }
    const std::string& name = m_Options.m_Files[m_NextFile++];
    std::error_code error;
    if (!fs::is_directory(name, error)) {
      return Found{name};
    }
    if (!m_Options.m_Recursive) {
      return Found{name, "it is a folder: -r looks at the documents in it", true};
    }
    m_IsEmpty = true;
    m_OthersBefore = m_Others;
    if (auto failed = Enter(name)) {
      m_IsEmpty = false;
      return failed;
    }
  }
}

/// Reads the names in a folder; what cannot be read of it.
std::optional<Found> DocumentFinder::Enter(const std::string& path) {
  Folder folder{path, {}};
  std::error_code error;
  fs::directory_iterator next(path, error);
  for (; !error && next != fs::directory_iterator(); next.increment(error)) {
    std::error_code unknown;
    const bool isFolder = next->symlink_status(unknown).type() == fs::file_type::directory;
    std::string name = next->path().filename().string();
    if (isFolder || IsDocumentName(name)) {
      folder.m_Entries.emplace_back(std::move(name), isFolder);
    } else {
      ++m_Others;
    }
  }
  std::sort(folder.m_Entries.begin(), folder.m_Entries.end());
  m_Open.push_back(std::move(folder));
  if (error) {
    return Found{path, "cannot read the folder: " + error.message()};
  }
  return std::nullopt;
}

std::optional<Found> DocumentFinder::NextBelow() {
  Folder& folder = m_Open.back();
  if (folder.m_Next == folder.m_Entries.size()) {
    m_Open.pop_back();
    return std::nullopt;
  }
  const auto& [name, isFolder] = folder.m_Entries[folder.m_Next++];
  const std::string path = (fs::path(folder.m_Path) / name).string();
  return isFolder ? Enter(path) : Found{path};
}
