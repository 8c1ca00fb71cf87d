#pragma once

#include <cstddef>
#include <mutex>
#include <string>

enum class Colour { Old, New, Number, Title };

/// The text in a colour, or as it is where the standard output is no terminal or NO_COLOR is set.
std::string Painted(Colour colour, const std::string& text);

/// A bar on the standard error that shows how far a long work is; nothing where that is no
/// terminal. Advance may be called by several threads at once.
class ProgressBar {
public:
  explicit ProgressBar(std::size_t total);
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  /// Takes the bar off the screen.
  ~ProgressBar();

  void Advance();

private:
  std::mutex m_Mutex;
  std::size_t m_Total;
  std::size_t m_Done = 0;
  std::size_t m_Shown = 0;  ///< per cent
  bool m_Visible;
};
