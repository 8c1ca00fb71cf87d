#pragma once

#include <string>

/// A file that is read: "-" is the standard input, which is kept in memory and leaves
/// nothing on the disk.
class Input {
public:
  explicit Input(const std::string& name);
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;
  ~Input();

  /// As the user gave it.
  const std::string& Name() const { return m_Name; }
  /// A path under which it can be opened as long as this object lives.
  const std::string& Path() const { return m_Path; }
  /// All of its bytes; Failure when they cannot be read.
  std::string ReadAll() const;

private:
  std::string m_Name;
  std::string m_Path;
  int m_Descriptor = -1;
};
