#include "platform/xml_path.h"

#include "platform/name_escape.h"

namespace zam {

std::vector<std::string> PathSteps(std::u16string_view path) {
  std::vector<std::string> steps;
  while (steps.size() + 1 < MaximumSteps) {
    const auto separator = path.find(u'/');
    if (separator == std::u16string_view::npos) {
      break;
    }
    steps.push_back(StoredName(path.substr(0, separator)));
    path.remove_prefix(separator + 1);
  }
  steps.push_back(StoredName(path));
  return steps;
}

}  // namespace zam
