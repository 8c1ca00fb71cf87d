#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zam {

/// No path has more steps: what follows the last "/" that counts is one step, under its escaped
/// name. So no path that is stored in a document builds elements too deep to be opened again.
inline constexpr std::size_t MaximumSteps = 256;

/// The steps of a "/"-joined path, each under the name that it is stored by; at least one.
std::vector<std::string> PathSteps(std::u16string_view path);

}  // namespace zam
