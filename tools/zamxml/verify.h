#pragma once

#include <optional>
#include <string>
#include <vector>

#include "document.h"
#include "value_path.h"

/// Something that is wrong with a document.
struct Finding {
  std::optional<int> m_Modification;
  ValuePath m_Path;  ///< empty where the whole document or modification is meant
  std::string m_What;
};

/// Proves a document that has just been opened: it has all sections, each with its identifier and
/// no field twice, and its history can be read and is a chain: what every change says was there
/// before is what the document held.
std::vector<Finding> Verify(Document& document);

/// "modification 3: PATH: what", in one line.
std::string Sentence(const Finding& finding);
