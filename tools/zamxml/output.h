#pragma once

#include <chrono>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

enum class Colour { Old, New, Number, Title };

/// The text in a colour, or as it is where the standard output is no terminal or NO_COLOR is set.
std::string Painted(Colour colour, const std::string& text);

/// False, with errno, when not all of the bytes can be written.
bool WriteAll(int descriptor, std::string_view bytes) noexcept;

/// Writes all of it to the standard output at once; Failure when memory has run short before (see
/// RequireMemory) or it cannot be written.
void Deliver(std::string_view text);
/// The same without looking at the memory; 0, or why it cannot be written.
const char* WriteOutput(std::string_view text) noexcept;
/// "zamxml: one: two: three" on the standard error; takes no memory.
void WriteError(std::initializer_list<std::string_view> parts) noexcept;

/// How far a long work is, on the standard error; nothing where that is no terminal.
class Progress {
public:
  Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { Clear(); }

  /// One document more.
  void Advance() noexcept;
  /// Takes it off the screen, so that something else can be written there.
  void Clear() noexcept;

private:
  std::size_t m_Done = 0;
  std::chrono::steady_clock::time_point m_Next;  ///< when it is shown again
  bool m_Visible;
  bool m_Shown = false;
};
