#pragma once

#include <string>
#include <string_view>

/// Names and paths, as hosts give them and as the tree stores them.
namespace zam {

/// Whether a text is a name of XML 1.0 (fifth edition), as the parser takes it.
bool IsXmlName(std::u16string_view name) noexcept;

/// The name, in UTF-8, under which an element or attribute of that name is stored: the name itself
/// when it is an XML name. Otherwise each UTF-16 unit that is not allowed there becomes
/// "_xHHHH_" (and a "_" before an "x" as well, so that no two such names meet), the convention of
/// ISO/IEC 9075-14. An empty name becomes "_x_", which that convention gives to no other. A unit
/// that XML cannot carry counts as U+FFFD, as it does where the name is stored as a text.
std::string StoredName(std::u16string_view name);

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
