#pragma once

#include <string>
#include <string_view>

namespace zam {

/// A "/"-joined path, each step under the name that it is stored by; at least one step. Parsed once
/// and then looked up as often as wanted; a short one allocates nothing.
class Path {
public:
  explicit Path(std::u16string_view path);

  bool IsOneStep() const noexcept { return m_nSteps == 1; }
  int StepCount() const noexcept { return m_nSteps; }

  /// Cuts the first step off a path's rest; the rest of a whole path is Whole().
  static std::string_view CutStep(std::string_view& rest) noexcept;
  std::string_view Whole() const noexcept { return m_Steps; }
  /// What is before the last step (empty when it is the only one), and the last step.
  std::string_view Parent() const noexcept;
  std::string_view Last() const noexcept;

private:
  std::string m_Steps;
  int m_nSteps = 1;
};

}  // namespace zam
