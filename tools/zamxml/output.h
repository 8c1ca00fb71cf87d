#pragma once

#include <cstddef>
#include <initializer_list>
#include <mutex>
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

/// A bar on the standard error that shows how far a long work is; nothing where that is no
/// terminal. Advance may be called by several threads at once.
class ProgressBar {
public:
  explicit ProgressBar(std::size_t total);
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  /// Takes the bar off the screen.
  ~ProgressBar();

  void Advance() noexcept;

private:
  std::mutex m_Mutex;
  std::size_t m_Total;
  std::size_t m_Done = 0;
  std::size_t m_Shown = 0;  ///< per cent
  bool m_Visible;
};
