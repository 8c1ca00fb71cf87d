#pragma once

#include <vector>

#include "document.h"
#include "finding.h"

/// Adds what is wrong with the entries of a history, one by one: who, when, and what each changes.
void VerifyEntries(const Document& document, std::vector<Finding>& findings);
