#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "value_path.h"

/// What can be found in a document. Each has a word that scripts rely on: do not change them.
enum class FindingCode {
  NoDocument,
  MissingID,
  RepeatedElement,
  UnknownElement,
  StrayElement,
  LostModification,
  UnknownType,
  Unapplicable,
  ChangesHistory,
  OldValue,
  LostSeparator,
  EmptyModification,
  RepeatedPlace,
  EmptyUid,
  RepeatedUid,
  EmptyUser,
  BadDate,
  BadTime,
  FutureTime,
  EarlierTime,
  Rewritten,
  Missing,
  Unlisted,
};

enum class Severity {
  Finding,  ///< the document is not what a careful host writes, or the history is no chain
  Note,     ///< it may well be right
};

/// Something that was found in a document.
struct Finding {
  FindingCode m_Code;
  std::optional<int> m_Modification;
  ValuePath m_Path;  ///< empty where the whole document or modification is meant
  std::string m_What;
};

/// "old-value"
std::string_view WordOf(FindingCode code);
Severity SeverityOf(FindingCode code);
inline bool IsNote(const Finding& finding) { return SeverityOf(finding.m_Code) == Severity::Note; }

/// The codes for these words; Failure, with all words, when one is unknown.
std::vector<FindingCode> ParseCodes(const std::string& option,
                                    const std::vector<std::string>& words);

/// "note: modification 3: PATH: what [old-value]", in one line.
std::string Sentence(const Finding& finding);
