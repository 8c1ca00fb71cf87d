#include "excerpt.h"

#include <algorithm>
#include <optional>

#include "failure.h"
#include "input.h"
#include "output.h"
#include "text.h"

namespace {

/// A path that found nothing may be meant for another one of the document, where that is a file.
int ReportIdle(const Selection& selection, const std::string& file, const std::string& document) {
  if (document == "-") {
    return selection.ReportIdle(file, nullptr);
  }
  Document sample(document, document);
  return selection.ReportIdle(file, &sample.m_Xml);
}

}  // namespace

int PrintExcerpts(const ArchiveOptions& options, const Selection& selection, const char* noun,
                  const Extract& extract, const Tell& tell) {
  Selection used = selection;
  std::optional<std::string> first;
  std::size_t count = 0;
  int exitCode = ExitFine;
  const auto look = [&](const std::string& name) {
    const Input input(name);
    Document document(input.Path(), name);
    return extract(document, selection);
  };
  const auto take = [&](const std::string& name, const Excerpt& excerpt) {
    first = first ? first : name;
    count += excerpt.m_Count;
    used.Absorb(excerpt.m_Selection);
    Deliver(excerpt.m_Text);
    if (excerpt.m_Lost != 0) {
      exitCode = ExitFinding;
      WriteError({LostHistory(Printable(_bstr_t::FromUtf8(name)), excerpt.m_Lost).what()});
    }
  };
  const ArchiveCounts counts = ForEachDocument(options, look, take, tell);
  WriteSummary(counts, Counted(count, noun));
  const int idle = first ? ReportIdle(used, options.m_Files.front(), *first) : ExitFine;
  return std::max<int>({exitCode, counts.Code(), idle});
}
