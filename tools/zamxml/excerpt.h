#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "archive.h"
#include "document.h"
#include "selection.h"

/// What one document gives to a question about many.
struct Excerpt {
  std::string m_Text;
  std::size_t m_Count = 0;  ///< how much of what is asked for
  int m_Lost = 0;           ///< modifications that cannot be read
  Selection m_Selection;    ///< and what it has taken
};

/// Makes the excerpt of a document with a selection of its own; called by several threads at once.
using Extract = std::function<Excerpt(Document& document, Selection selection)>;

/// Prints the excerpts of all documents in their order, and on the standard error how many
/// documents and how much of the noun there were, and what was asked for in vain; the exit code.
int PrintExcerpts(const ArchiveOptions& options, const Selection& selection, const char* noun,
                  const Extract& extract, const Tell& tell = {});
