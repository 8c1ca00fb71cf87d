#include "platform/system.h"
#include "zamxml/document.h"

int ZAMXMLFile::OnCopyXMLTemplate(const _bstr_t& /*path*/) { return 0; }

int ZAMXMLFile::CopyXMLTemplate(HINSTANCE module, unsigned int identifier, const _bstr_t& path) {
  const auto resource =
      module != nullptr ? module->FindXmlResource(identifier) : std::optional<std::string_view>();
  std::string reason;
  const auto written = zam::WriteFile(
      path.utf8(),
      [&](const zam::WriteBlock& write) { return write(resource.value_or(std::string_view())); },
      zam::Durability::Transient, reason);
  return written && resource ? 1 : 0;
}
