#pragma once

#include <optional>
#include <string>
#include <vector>

#include "value_path.h"

/// Something that is wrong with a document.
struct Finding {
  std::optional<int> m_Modification;
  ValuePath m_Path;  ///< empty where the whole document or modification is meant
  std::string m_What;
};

/// Opens the file and proves it: it is well-formed, has all sections, each with its identifier and
/// no field twice, and its history can be read and is a chain: what every change says was there
/// before is what the document held. A file that cannot be opened is one finding.
std::vector<Finding> Verify(const std::string& path, const std::string& name);
