#pragma once

#include <ZAMXMLData.h>
#include <gtest/gtest.h>

#include <filesystem>
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

  /// Begins an edit by anybody.
  int Begin() { return BeginModify(u"1", u"u", u"U"); }
  /// Adds a text to the edit.
  int Set(const _bstr_t& node, const _bstr_t& value) {
    return AddChangeItem(u"", node, u"", ZAMXML_VTYPE_STRING, value);
  }

protected:
#define TEST_HOOK(function, hook)                      \
  int function(ZAMXml& xml, ZAMLog* log) override {    \
    DoMeanwhile(hook);                                 \
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
  void DoMeanwhile(const std::string& hook);
  int Call(const std::string& hook, int result);

  std::string m_Calls;
};

/// The entries of a log: "type category code text | detail" in lines.
std::string Entries(const ZAMLog& log);

/// A document, a file for it in a folder of its own, and a folder for temporary files.
class DocumentTest : public testing::Test {
protected:
  DocumentTest();
  ~DocumentTest() override;

  /// Writes the file and opens it.
  int Open(const std::string& bytes);

  /// What an element below the root holds in the file; "(none)" where there is none.
  std::string Stored(const std::u16string& path) const;

  /// The names below the folder "documents" or "tmp", sorted. The user's folder stays in the
  /// latter.
  std::vector<std::string> Names(const char* folder) const;

  TemporaryFolder m_Folder{TemporaryFolder::Medium::Memory};
  std::filesystem::path m_Path = m_Folder.Path("documents/document.xml");
  Document m_Document;
  ZAMLog m_Log;
};

}  // namespace test
