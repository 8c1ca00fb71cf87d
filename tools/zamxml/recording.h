#pragma once

#include <functional>
#include <string>
#include <vector>

#include "document.h"
#include "edits.h"
#include "target.h"

/// What amend and revert share: whose modification it is, and where the document goes.
struct RecordingOptions : TargetOptions {
  std::string m_File;
  std::string m_UserID;
  std::string m_UserName;
  std::string m_UID;
  std::string m_Code;
  std::string m_Output;
  bool m_DryRun = false;
  bool m_Create = false;
  bool m_ChangeDocumentID = false;
  bool m_Json = false;
};

void AddRecordingOptions(Verb verb, RecordingOptions& options);

/// Opens the document under a lock, records the edits that the function gives for it as one
/// modification, saves, and prints what was recorded. Edits that change nothing are left out; when
/// none remains nothing is recorded.
int RecordModification(const std::string& verb, const RecordingOptions& options,
                       const std::function<std::vector<Edit>(Document&)>& edits);
