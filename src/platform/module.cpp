#include "zamxml/platform/module.h"

namespace {

std::uint16_t Low16Bits(unsigned int identifier) noexcept {
  return static_cast<std::uint16_t>(identifier & 0xFFFFU);
}

}  // namespace

ZAMModule::ZAMModule() = default;
ZAMModule::~ZAMModule() = default;

void ZAMModule::AddXmlResource(unsigned int identifier, std::string_view bytes) {
  m_Resources.insert_or_assign(Low16Bits(identifier), std::string(bytes));
}

std::optional<std::string_view> ZAMModule::FindXmlResource(unsigned int identifier) const {
  const auto found = m_Resources.find(Low16Bits(identifier));
  if (found == m_Resources.end()) {
    return std::nullopt;
  }
  return found->second;
}
