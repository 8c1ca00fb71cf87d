#include "support/document.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace test {
namespace {

std::string Element(const std::string& name, const std::string& content) {
  return content.empty() ? "<" + name + "/>" : "<" + name + ">" + content + "</" + name + ">";
}

}  // namespace

std::string DocumentBytes(const std::vector<Change>& changes, const std::string& dropped,
                          const std::string& headerId) {
  std::string modifications;
  for (const Change& change : changes) {
    modifications += Element(
        "Modification",
        Element("UID", "2.25.7") + Element("UserID", "u") +
            Element("Changes", Element("Item", Element("Node", change.m_Node) +
                                                   Element("Attribute", change.m_Attribute) +
                                                   Element("ValueType", change.m_Type) +
                                                   Element("OldValue", change.m_Old) +
                                                   Element("NewValue", change.m_New))));
  }
  std::string sections;
  const std::vector<std::pair<std::string, std::string>> contents{
      {"DocumentInfo", Element("ID", headerId) + Element("Version", "7")},
      {"PatientInfo",
       Element("ID", "P1") + "<Name><Full>Kim</Full></Name><Weight Unit=\"kg\">58</Weight>"},
      {"OrderInfo", Element("ID", "O1")},
      {"StudyInfo", Element("ID", "S1")},
      {"Foreign", "<!-- kept --><Row>1</Row>"},
      {"Modifications", modifications}};
  for (const auto& [name, content] : contents) {
    if (name != dropped && !(name == "Modifications" && changes.empty())) {
      sections += Element(name, content);
    }
  }
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + Element("KESTRANE_ZAM", sections);
}

std::vector<Change> ThreeWeights() {
  return {{"PatientInfo/Weight", "", "58", "60"},
          {"PatientInfo/Weight", "", "60", "61"},
          {"PatientInfo/Weight", "", "61", "62"}};
}

std::string Document::TakeCalls() { return std::exchange(m_Calls, {}); }

void Document::DoMeanwhile(const std::string& hook) {
  if (hook == m_Hook && m_Meanwhile) {
    std::exchange(m_Meanwhile, nullptr)();
  }
}

int Document::Call(const std::string& hook, int result) {
  DoMeanwhile(hook);
  m_Calls += (m_Calls.empty() ? "" : " ") + hook;
  return hook == m_Failing ? 0 : result;
}

int Document::OnOpenCompatible(ZAMXml& xml, ZAMLog* log) {
  return Call("compatible", m_CompatibleResult + ZAMXMLFile::OnOpenCompatible(xml, log));
}
void Document::OnHistoryChanged() {
  Call("changed", 1);
  if (m_WhenChanged) {
    m_WhenChanged();
  }
  m_ShownWeights.push_back(Weight().utf8());
}
int Document::OnWriteModification(ZAMXml& xml, ZAMLog* log) {
  return Call("write-list", m_WithholdsHistory ? 1 : ZAMXMLFile::OnWriteModification(xml, log));
}
int Document::OnCopyXMLTemplate(const _bstr_t& path) {
  if (m_CopyTemplate) {
    return Call("template", m_CopyTemplate(path));
  }
  if (m_Template.empty()) {
    return Call("template", ZAMXMLFile::OnCopyXMLTemplate(path));
  }
  ZAMModule module;
  module.AddXmlResource(9, m_Template);
  return Call("template", CopyXMLTemplate(&module, 9, path));
}
int Document::OnWriteNonStandard(ZAMXml& /*xml*/, ZAMLog* /*log*/) {
  return Call("write-own", m_NonStandardResult);
}

std::string Entries(const ZAMLog& log) {
  std::string lines;
  for (int i = 0; i < log.GetLogCount(); ++i) {
    const ZAMLogEntry& entry = log.GetLog(i);
    lines += std::to_string(entry.m_Type) + ' ' + std::to_string(entry.m_Category) + ' ' +
             std::to_string(entry.m_Code) + ' ' + entry.m_Text.utf8() + " | " +
             entry.m_Detail.utf8() + '\n';
  }
  return lines;
}

DocumentTest::DocumentTest() {
  std::filesystem::create_directory(m_Folder.Path("documents"));
  std::filesystem::create_directory(m_Folder.Path("tmp"));
  setenv("TMPDIR", m_Folder.Path("tmp").c_str(), 1);
}

DocumentTest::~DocumentTest() { unsetenv("TMPDIR"); }

int DocumentTest::Open(const std::string& bytes) {
  WriteBytes(m_Path, bytes);
  return m_Document.Open(m_Path.c_str(), &m_Log);
}

std::string DocumentTest::Stored(const std::u16string& path) const {
  ZAMXml tree;
  EXPECT_EQ(tree.Open(m_Path.c_str(), nullptr), 1);
  _bstr_t text;
  return tree.GetNodeText(tree.GetNode(u"KESTRANE_ZAM/" + path), text) != 0 ? text.utf8()
                                                                            : "(none)";
}

std::vector<std::string> DocumentTest::Names(const char* folder) const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(m_Folder.Path(folder))) {
    names.push_back(entry.path().filename().string());
  }
  std::ranges::sort(names);
  return names;
}

}  // namespace test
