#include "platform/xml/path.h"

#include "platform/xml/name_escape.h"

namespace zam {
namespace {

/// No path has more steps: what follows the last "/" that counts is one step, under its escaped
/// name. So no path that is stored in a document builds elements too deep to be opened again.
constexpr int MaximumSteps = 256;

}  // namespace

Path::Path(std::u16string_view path) {
  while (m_nSteps < MaximumSteps) {
    const auto separator = path.find(u'/');
    if (separator == std::u16string_view::npos) {
      break;
    }
    m_Steps += StoredName(path.substr(0, separator));
    m_Steps += '/';
    ++m_nSteps;
    path.remove_prefix(separator + 1);
  }
  m_Steps += StoredName(path);
}

std::string_view Path::CutStep(std::string_view& rest) noexcept {
  const auto end = rest.find('/');
  const std::string_view step = rest.substr(0, end);
  rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  return step;
}

std::string_view Path::Parent() const noexcept {
  const auto end = m_Steps.rfind('/');
  return std::string_view(m_Steps).substr(0, end == std::string::npos ? 0 : end);
}

std::string_view Path::Last() const noexcept {
  const auto end = m_Steps.rfind('/');
  return std::string_view(m_Steps).substr(end == std::string::npos ? 0 : end + 1);
}

}  // namespace zam
