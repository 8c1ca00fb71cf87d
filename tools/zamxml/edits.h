#pragma once

#include <ZAMXMLData.h>

#include <optional>
#include <string>
#include <vector>

#include "value_path.h"

/// One change that a user asks for. Every text in it has been found storable.
struct Edit {
  ValuePath m_Path;
  ZAMXML_VTYPE m_Type = ZAMXML_VTYPE_STRING;
  std::string m_New;                 ///< folded for names and statements
  std::optional<std::string> m_Old;  ///< what the document has to hold, when the user said so
};

/// Failure, naming the file and what the text is, when a text cannot be stored as it is.
void RefuseUnstorable(const std::string& file, const std::string& what, const std::string& text);

/// "PATH[@ATTR]=VALUE"
Edit ParseTextEdit(const std::string& file, const std::string& argument);
/// "PATH=FULL^FAMILY^GIVEN^MIDDLE^PREFIX^SUFFIX"; parts may be left out from the end.
Edit ParseNameEdit(const std::string& file, const std::string& argument);
/// "PATH=TEXT" and further texts, one statement each.
Edit ParseStatementsEdit(const std::string& file, const std::vector<std::string>& arguments);
/// The "changes" of a JSON document; source is what messages call it.
std::vector<Edit> ParseJsonEdits(const std::string& file, const std::string& source,
                                 const std::string& json);

/// Failure when two of them write one place: one of the values would be lost.
void RefuseRepeated(const std::string& file, const std::vector<Edit>& edits);
