#pragma once

#include <cstddef>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

/// All that the library asks of the operating system. Paths are in UTF-8. One source file for each
/// system; every call here may be made by several threads at once.
namespace zam {

/// The bytes of a file, with room for one more behind them, which is zero.
struct FileBytes {
  std::unique_ptr<char[]> m_Bytes;
  std::size_t m_Size = 0;

  std::string_view View() const noexcept { return {m_Bytes.get(), m_Size}; }
};

/// The whole of a regular file; nothing, with the system's reason, when it cannot be read.
std::optional<FileBytes> ReadFile(const std::string& path, std::string& reason);

enum class Conversion { Done, BadBytes, UnknownEncoding };

/// Appends bytes in a named encoding, as UTF-8, to the text. Bytes that are none in that encoding,
/// or a character that is cut off at the end, give BadBytes: the text then holds what stands before
/// them.
Conversion AppendConverted(std::string& text, std::string_view bytes, const std::string& encoding);

enum class Durability {
  Transient,  ///< for files that live for a moment only
  Durable,    ///< the bytes and the name are on the disk when the call returns
};

/// Replaces the file at the path by one with those bytes, or creates it. At any moment the path
/// names the old file or the whole new one. An existing file keeps its mode and, where the system
/// lets it, its owner; a symbolic link is followed to its target. On failure: false, the system's
/// reason, and the old file as it was.
bool WriteFile(const std::string& path, std::string_view bytes, Durability durability,
               std::string& reason);

bool RemoveFile(const std::string& path) noexcept;

/// A folder inside the system's temporary directory that only this user can enter, or nothing.
std::optional<std::string> PrivateTempFolder();

unsigned long ProcessNumber() noexcept;

/// The local date and time now.
std::tm LocalTime();

/// Keeps the file that stands at a path, under a second name beside it, while others replace the
/// path; nothing is kept where no file stands or the file system has no hard links.
class KeptFile {
public:
  explicit KeptFile(const std::string& path);
  KeptFile(const KeptFile&) = delete;
  KeptFile& operator=(const KeptFile&) = delete;
  /// Drops the second name; without Forget, the kept file is put back at the path first.
  ~KeptFile();

  /// The kept file is no longer wanted.
  void Forget() noexcept { m_Wanted = false; }

private:
  std::string m_Path;
  std::string m_Kept;
  bool m_Wanted = true;
};

/// A file without content that one holder at a time has locked. It stands while it is held; one
/// that a killed process left is nobody's.
class LockFile {
public:
  enum class Attempt { Held, Busy, Failed };
  enum class For {
    Owner,     ///< only this user can lock it
    Everyone,  ///< so can all who can enter the folder
    Leftover,  ///< it is not made, only taken over
  };

  LockFile() = default;
  LockFile(const LockFile&) = delete;
  LockFile& operator=(const LockFile&) = delete;
  /// Releases it.
  ~LockFile() { Release(); }

  /// Locks the file, without waiting. Any result but Held comes with the reason; after Busy it may
  /// be worth another attempt.
  Attempt Take(const std::string& path, For whom, std::string& reason);
  /// Removes the file and gives the lock up.
  void Release() noexcept;

  bool IsHeld() const noexcept { return m_Descriptor >= 0; }

private:
  std::string m_Path;
  unsigned long m_Process = 0;
  int m_Descriptor = -1;
};

/// The name of the lock's file for a path: the same for all paths and links to one file. Nothing,
/// with the system's reason, when there is no such folder.
std::optional<std::string> LockFileName(const std::string& path, std::string& reason);

}  // namespace zam
