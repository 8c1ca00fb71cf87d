#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "zamxml/platform/export.h"

/// A host module's store of XML resources, each under an integer identifier of which the low
/// 16 bits count. Bytes are kept unchanged. Used by one thread at a time while resources are
/// added; afterwards by any number of readers.
class ZAMXML_API ZAMModule {
public:
  ZAMModule();
  ZAMModule(const ZAMModule&) = delete;
  ZAMModule& operator=(const ZAMModule&) = delete;
  ~ZAMModule();

  /// Keeps a copy of the bytes under the identifier; an earlier resource of that identifier goes.
  void AddXmlResource(unsigned int identifier, std::string_view bytes);

  /// The bytes under the identifier, or nothing. They live as long as the resource is not replaced.
  std::optional<std::string_view> FindXmlResource(unsigned int identifier) const;

private:
  std::map<std::uint16_t, std::string> m_Resources;
};

/// A module handle: a pointer to a store that stays the host's.
using HINSTANCE = const ZAMModule*;
