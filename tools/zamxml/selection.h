#pragma once

#include <ZAMXMLData.h>

#include <string>
#include <vector>

#include "command_line.h"
#include "value_path.h"

/// Which modifications a verb is about.

struct SelectionOptions {
  std::string m_User;
  std::string m_Since;
  std::string m_Until;
  std::vector<std::string> m_Paths;
};

/// --user, --since, --until and --path.
void DescribeSelection(Verb& verb, SelectionOptions& options);

/// Remembers which of its conditions took anything. Used by one thread at a time; each thread takes
/// a copy and one of them absorbs the others.
class Selection {
public:
  /// Failure for a date that is none, or a path with an empty step.
  explicit Selection(const SelectionOptions& options);

  const PathFilter& Paths() const { return m_Paths; }
  /// The modification is taken; its changes are those that Paths concern.
  bool Takes(const ZAMXMLModification& modification);

  void Absorb(const Selection& other);
  /// Says on the standard error which conditions took nothing, with a path of the document, if
  /// there is one, that a path could have meant; the exit code.
  int ReportIdle(const std::string& file, ZAMXml* tree) const;

private:
  _bstr_t m_User;
  std::string m_Since;
  std::string m_Until;
  PathFilter m_Paths;
  bool m_FoundUser = false;
  bool m_FoundAny = false;
};
