#include "finding.h"

#include <ZAMXMLData.h>
#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "failure.h"
#include "text.h"

namespace {

struct Kind {
  std::string_view m_Word;
  Severity m_Severity;
};

/// In the order of the codes.
constexpr Kind Kinds[] = {
    {"no-document", Severity::Finding},
    {"missing-id", Severity::Finding},
    {"repeated-element", Severity::Finding},
    {"unknown-element", Severity::Finding},
    {"stray-element", Severity::Finding},
    {"lost-modification", Severity::Finding},
    {"unknown-type", Severity::Finding},
    {"unapplicable", Severity::Finding},
    {"changes-history", Severity::Finding},
    {"old-value", Severity::Finding},
    {"lost-separator", Severity::Finding},
    {"empty-modification", Severity::Finding},
    {"repeated-place", Severity::Finding},
    {"empty-uid", Severity::Finding},
    {"repeated-uid", Severity::Finding},
    {"empty-user", Severity::Finding},
    {"bad-date", Severity::Finding},
    {"bad-time", Severity::Finding},
    {"future-time", Severity::Finding},
    {"earlier-time", Severity::Note},
    {"rewritten", Severity::Finding},
    {"missing", Severity::Finding},
    {"unlisted", Severity::Note},
};

const Kind& KindOf(FindingCode code) { return Kinds[static_cast<std::size_t>(code)]; }

}  // namespace

std::string_view WordOf(FindingCode code) { return KindOf(code).m_Word; }

Severity SeverityOf(FindingCode code) { return KindOf(code).m_Severity; }

std::vector<FindingCode> ParseCodes(const std::string& option,
                                    const std::vector<std::string>& words) {
  std::vector<FindingCode> codes;
  for (const std::string& word : words) {
    const auto* found = std::ranges::find(Kinds, word, &Kind::m_Word);
    if (found == std::end(Kinds)) {
      std::string all;
      for (const Kind& kind : Kinds) {
        all += (all.empty() ? "" : ", ") + std::string(kind.m_Word);
      }
      throw Failure("", option + ' ' + Printable(_bstr_t::FromUtf8(word)), "the codes are " + all);
    }
    codes.push_back(static_cast<FindingCode>(found - std::begin(Kinds)));
  }
  return codes;
}

std::string Sentence(const Finding& finding) {
  std::string sentence = IsNote(finding) ? "note: " : "";
  if (finding.m_Modification) {
    sentence += fmt::format("modification {}: ", *finding.m_Modification);
  }
  if (!finding.m_Path.m_Element.empty()) {
    sentence += Printable(_bstr_t::FromUtf8(finding.m_Path.Whole())) + ": ";
  }
  return fmt::format("{}{} [{}]", sentence, finding.m_What, WordOf(finding.m_Code));
}
