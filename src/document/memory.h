#pragma once

#include "zamxml/platform/error.h"
#include "zamxml/platform/xml.h"

namespace zam {

/// Whether a record inside other records ran out of memory since the tree's log was cleared. Its
/// owners go on and succeed without it; a document must not be shown, or saved, without it.
inline bool RanOutOfMemory(const ZAMXml& xml) {
  return xml.GetLogCount() != 0 && xml.GetLog(0).m_Code == E_OUTOFMEMORY;
}

}  // namespace zam
