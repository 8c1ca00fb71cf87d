#pragma once

#include <functional>

namespace test {

/// How memory runs short in one run of a scenario.
class Shortage {
public:
  Shortage(int number, bool lasting) : m_Number(number), m_Lasting(lasting) {}

  /// Takes the step with that allocation of this thread failing: the n-th from here, and all later
  /// ones when it lasts. Gives the step's result, 0 when an exception says that memory ran out. The
  /// step asserts nothing: that needs memory.
  int During(const std::function<int()>& step);

  /// Whether an allocation has failed.
  bool Happened() const { return m_Happened; }
  /// Whether none succeeds after the first that fails: even a log entry may then be lost.
  bool IsLasting() const { return m_Lasting; }

private:
  int m_Number;
  bool m_Lasting;
  bool m_Happened = false;
};

/// Runs the scenario without a failure, then with its first, second, third ... allocation failing,
/// until none fails: once with that one failing alone, once with all from there on. Each run must
/// release what it allocates. The first run that fails an assertion is the last.
///
/// operator new, malloc, calloc and realloc count alike. The sanitizers bring a malloc of their
/// own: there operator new alone counts.
void ForEachShortage(const std::function<void(Shortage&)>& scenario);

}  // namespace test
