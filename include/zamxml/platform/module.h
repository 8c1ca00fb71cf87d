#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "zamxml/platform/export.h"

/// The XML resources of a host module. Each has an integer identifier, of which the low 16 bits
/// count. Keeps the bytes unchanged.
///
/// Thread safety: used by one thread at a time while resources are added, by any number of readers
/// afterwards.
class ZAMXML_API ZAMModule {
public:
  ZAMModule();
  ZAMModule(const ZAMModule&) = delete;
  ZAMModule& operator=(const ZAMModule&) = delete;
  ~ZAMModule();

  /// Copies the bytes into the store. Replaces an earlier resource of that identifier.
  void AddXmlResource(unsigned int identifier, std::string_view bytes);

  /// Returns the bytes of the resource, or nothing if there is none. They are valid until the
  /// resource is replaced.
  std::optional<std::string_view> FindXmlResource(unsigned int identifier) const;

private:
  std::map<std::uint16_t, std::string> m_Resources;
};

/// A module handle. The host owns the store.
using HINSTANCE = const ZAMModule*;
