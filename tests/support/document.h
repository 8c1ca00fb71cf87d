#pragma once

#include <ZAMXMLData.h>

#include <functional>
#include <string>
#include <vector>

#include "support/tree.h"

namespace test {

/// A modification in a file: one change of an element or attribute.
struct Change {
  std::string m_Node;
  std::string m_Attribute;
  std::string m_Old;
  std::string m_New;
  std::string m_Type = "STRING";
};

/// The bytes of a document with one patient and a modification for each change; `dropped` leaves
/// out one section.
std::string DocumentBytes(const std::vector<Change>& changes = {}, const std::string& dropped = {},
                          const std::string& headerId = "UNKNOWN");

/// Three weights after the original 58.
std::vector<Change> ThreeWeights();

/// A host's document that writes down which hooks are called, with its protected operations open.
class Document : public ZAMXMLFile {
public:
  using ZAMXMLFile::_ReadFromXML;
  using ZAMXMLFile::_SetHistory;
  using ZAMXMLFile::_WriteToXML;
  using ZAMXMLFile::CopyXMLTemplate;
  using ZAMXMLFile::GetOldValue;
  using ZAMXMLFile::SetDefaultDocInfo;

  /// The hooks called since, joined by spaces.
  std::string TakeCalls();

  std::string m_Failing;                ///< the hook that gives 0
  int m_CompatibleResult = 0;           ///< what OnOpenCompatible gives
  int m_NonStandardResult = 1;          ///< what OnWriteNonStandard gives
  std::string m_Template;               ///< what OnCopyXMLTemplate writes, unless it is empty
  std::function<void()> m_WhenChanged;  ///< what a host does in OnHistoryChanged
  std::string m_Hook;                   ///< the hook in which a host does m_Meanwhile, once
  std::function<void()> m_Meanwhile;
  std::function<int(const _bstr_t& path)> m_CopyTemplate;  ///< what OnCopyXMLTemplate does, if set
  bool m_WithholdsHistory = false;          ///< whether OnWriteModification writes nothing
  std::vector<std::string> m_ShownWeights;  ///< the weight at each OnHistoryChanged

  _bstr_t Weight() const { return m_PatientInfo.m_Weight; }

protected:
#define TEST_HOOK(function, hook)                      \
  int function(ZAMXml& xml, ZAMLog* log) override {    \
    return Call(hook, ZAMXMLFile::function(xml, log)); \
  }
  int OnOpenCompatible(ZAMXml& xml, ZAMLog* log) override;
  void OnHistoryChanged() override;
  TEST_HOOK(OnReadDocumentInfo, "read-header");
  TEST_HOOK(OnReadPatientInfo, "read-patient");
  TEST_HOOK(OnReadOrderInfo, "read-order");
  TEST_HOOK(OnReadStudyInfo, "read-study");
  TEST_HOOK(OnReadModification, "read-list");
  TEST_HOOK(OnReadNonStandard, "read-own");
  int OnCopyXMLTemplate(const _bstr_t& path) override;
  TEST_HOOK(OnWriteDocumentInfo, "write-header");
  TEST_HOOK(OnWritePatientInfo, "write-patient");
  TEST_HOOK(OnWriteOrderInfo, "write-order");
  TEST_HOOK(OnWriteStudyInfo, "write-study");
  int OnWriteModification(ZAMXml& xml, ZAMLog* log) override;
  int OnWriteNonStandard(ZAMXml& xml, ZAMLog* log) override;
#undef TEST_HOOK

private:
  int Call(const std::string& hook, int result);

  std::string m_Calls;
};

/// The entries of a log: "type category code text | detail" in lines.
std::string Entries(const ZAMLog& log);

}  // namespace test
