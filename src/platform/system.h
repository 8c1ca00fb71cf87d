#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

/// All that the library asks of the operating system. Paths are in UTF-8. One source file for each
/// system; every call here may be made by several threads at once.
namespace zam {

/// What tells a file from every other that is put in its place, and from itself once it is written
/// to.
struct FileIdentity {
  std::uint64_t m_Device = 0;
  std::uint64_t m_Inode = 0;
  std::int64_t m_Size = 0;
  std::int64_t m_Seconds = 0;  ///< of the last modification
  std::int64_t m_Nanoseconds = 0;

  bool operator==(const FileIdentity&) const = default;
};

/// The regular file that the path leads to; nothing when none can be seen there.
std::optional<FileIdentity> IdentifyFile(const std::string& path) noexcept;

/// The bytes of a file, with room for one more behind them, which is zero.
struct FileBytes {
  std::unique_ptr<char[]> m_Bytes;
  std::size_t m_Size = 0;
  FileIdentity m_Identity;  ///< of the file, before it was read

  static FileBytes Copy(std::string_view bytes);
  std::string_view View() const noexcept { return {m_Bytes.get(), m_Size}; }
};

/// The whole of a regular file; nothing, with the system's reason, when it cannot be read.
std::optional<FileBytes> ReadFile(const std::string& path, std::string& reason);

enum class Conversion { Done, BadBytes, UnknownEncoding };

/// Appends bytes in a named encoding, as UTF-8, to the text. Bytes that are none in that encoding,
/// or a character that is cut off at the end, give BadBytes: the text then holds what precedes
/// them.
Conversion AppendConverted(std::string& text, std::string_view bytes, const std::string& encoding);

enum class Durability {
  Transient,  ///< for files that live for a moment only
  Durable,    ///< the bytes and the name are on the disk when the call returns
};

/// Takes the next bytes of a file; false when they cannot be written.
using WriteBlock = std::function<bool(std::string_view)>;
/// Writes a file block by block; false as soon as a block could not be written, or to give up.
using WriteContent = std::function<bool(const WriteBlock&)>;

/// Replaces the file at the path by one with that content, or creates it, and tells which file that
/// is. At any moment the path names the old file or the whole new one. An existing file keeps its
/// mode, access control list and other attributes and, where the system lets it, its owner; what
/// cannot be kept narrows access. A symbolic link is followed to its target. On failure: nothing,
/// the system's reason, and the old file as it was, or the one that another process has put there
/// meanwhile. Removes what killed saves to that path have left beside it.
std::optional<FileIdentity> WriteFile(const std::string& path, const WriteContent& content,
                                      Durability durability, std::string& reason);

bool RemoveFile(const std::string& path) noexcept;

/// A folder inside the system's temporary directory that only this user can enter, or nothing.
std::optional<std::string> PrivateTempFolder();

/// A folder of its own inside that one, gone with its files at the end. What killed processes have
/// left of theirs goes when one is made.
class TemporaryFolder {
public:
  /// Null when none can be had.
  static std::unique_ptr<TemporaryFolder> Make();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  const std::string& Path() const noexcept { return m_Path; }

private:
  enum class Lock {
    Taken,
    NotThere,  ///< the file system has no locks
    Refused,
  };

  explicit TemporaryFolder(std::string path) noexcept : m_Path(std::move(path)) {}
  Lock TakeLock();

  std::string m_Path;
  unsigned long m_Owner = 0;  ///< the process that removes it
  std::shared_ptr<void> m_Listing;
};

unsigned long ProcessNumber() noexcept;

/// The local date and time now.
std::tm LocalTime();

struct WorkingNames;

/// Keeps the file at a path, under a second name beside it, while a host puts another
/// one there for a moment. When the process is killed meanwhile, the next one that reads or writes
/// the file puts it back. Nothing is kept where there is no file or the file system has no hard
/// links.
class KeptFile {
public:
  explicit KeptFile(const std::string& path);
  KeptFile(const KeptFile&) = delete;
  KeptFile& operator=(const KeptFile&) = delete;
  /// Puts it back.
  ~KeptFile();

  /// The host is about to put that file at the target, through WriteFile in this thread.
  void HostPuts(const std::string& target, const FileIdentity& file) noexcept;
  /// The host is done: if the path leads to another file now, that is the host's.
  void HostIsDone() noexcept;
  /// Puts the kept file back, or none where there was none, unless the host has left the path
  /// alone, or the path no longer leads to what the host has put there: that is another process's
  /// then.
  void PutBack() noexcept;

private:
  std::string m_Target;
  std::optional<FileIdentity> m_Before;
  std::optional<FileIdentity> m_After;
  std::unique_ptr<WorkingNames> m_Names;  ///< null: there is nothing to put back
  KeptFile* m_Outer = nullptr;
  std::optional<FileIdentity> m_Noted;
  bool m_IsNoted = false;
  bool m_IsDone = false;
  bool m_IsNew = false;  ///< there was no file: what the host puts there goes again
};

/// A file that one holder at a time has locked. It is there while it is held; one that a killed
/// process has left is nobody's.
class LockFile {
public:
  enum class Attempt { Held, Busy, Failed };
  enum class For {
    Owner,     ///< only this user can lock it, and it is taken over only from this user
    Everyone,  ///< so can all who can enter the folder
    Leftover,  ///< the same, but it is not made, only taken over
  };

  LockFile() = default;
  LockFile(const LockFile&) = delete;
  LockFile& operator=(const LockFile&) = delete;
  /// Releases it.
  ~LockFile() { Release(); }

  /// Locks the file, without waiting. Any result but Held comes with the reason; after Busy it may
  /// be worth another attempt.
  Attempt Take(const std::string& path, For whom, std::string& reason);
  /// What the holder has put down in the file, or a killed one before.
  std::optional<FileIdentity> Note() const noexcept;
  void SetNote(const std::optional<FileIdentity>& file) const noexcept;
  /// Removes the file and gives the lock up.
  void Release() noexcept;

  bool IsHeld() const noexcept { return m_Descriptor >= 0; }

private:
  std::string m_Path;
  FileIdentity m_File;
  unsigned long m_Process = 0;
  int m_Descriptor = -1;
};

/// The name of the lock's file for a path: the same for all paths and links to one file. Nothing,
/// with the system's reason, when there is no such folder.
std::optional<std::string> LockFileName(const std::string& path, std::string& reason);

}  // namespace zam
