#pragma once

#include <vector>

#include "document.h"
#include "finding.h"

/// Checks a document that has just been opened: it has all sections, each with its identifier and
/// no field twice; its history can be read and is a chain, so that what every change says was there
/// before is what the document held; and its entries say who and when. Whether they say the truth,
/// and whether any was left out, the document alone cannot tell (see digest.h).
std::vector<Finding> Verify(Document& document);
