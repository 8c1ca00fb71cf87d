#include <functional>
#include <tuple>
#include <utility>

#include "support/document.h"

namespace {

using DocumentSaving = test::DocumentTest;

TEST_F(DocumentSaving, NewIsBuiltOnce) {
  ASSERT_EQ(m_Document.New(nullptr), 1);
  EXPECT_EQ(m_Document.Save(), 0) << "it has no path";
  EXPECT_EQ(m_Document.GetLogCount(), 1);
  m_Document.m_PatientInfo.m_ID = u"first";
  EXPECT_EQ(m_Document.SaveAs(m_Folder.Path("no/where").c_str(), nullptr), 0);
  m_Document.TakeCalls();
  m_Document.m_PatientInfo.m_ID = u"P9";
  ASSERT_EQ(m_Document.SaveAs(m_Path.c_str(), nullptr), 1);
  EXPECT_EQ(m_Document.TakeCalls(),
            "template write-header write-patient write-order write-study write-list write-own");
  EXPECT_EQ(Stored(u"Modifications"), "(none)");
  EXPECT_EQ(Stored(u"DocumentInfo/ID") + Stored(u"DocumentInfo/Version"), "UNKNOWN0.0.0.0");

  m_Document.m_PatientInfo.m_ID = u"not recorded";
  ASSERT_EQ(m_Document.Save(), 1);
  EXPECT_EQ(m_Document.TakeCalls(), "");
  EXPECT_EQ(Stored(u"PatientInfo/ID"), "P9");
}

TEST_F(DocumentSaving, OriginalIsStored) {
  const std::string weights = test::DocumentBytes(test::ThreeWeights());
  const std::string sample = test::ReadBytes(ZAMXML_SOURCE_DIR "/share/samples/worked-example.xml");
  const std::tuple<std::string, int, std::vector<std::string>> rows[] = {
      {weights, 2, {"58", "62"}},
      {weights, 1, {"58", "61"}},
      {weights, 0, {"58", "60"}},
      {weights, -1, {}},
      {sample, 1, {"136", "136"}}};
  for (const auto& [bytes, position, shown] : rows) {
    SCOPED_TRACE(position);
    ASSERT_EQ(Open(bytes), 1);
    m_Document.m_DefaultDocInfo = m_Document.m_DocInfo;
    ASSERT_EQ(m_Document.SetHistory(position), 1);
    m_Document.m_ShownWeights.clear();
    ASSERT_EQ(m_Document.Save(), 1);
    EXPECT_EQ(m_Document.m_ShownWeights, shown);
    EXPECT_EQ(m_Document.m_nHistory, position);
    EXPECT_EQ(test::ReadBytes(m_Path), bytes);
  }
}

TEST_F(DocumentSaving, OtherKindIsRebuiltOnce) {
  const std::string bytes = test::DocumentBytes(test::ThreeWeights(), "", "OTHER");
  ASSERT_EQ(Open(bytes), 1);
  ASSERT_EQ(m_Document.SetHistory(1), 1);
  m_Document.TakeCalls();
  m_Document.m_Failing = "write-order";
  EXPECT_EQ(m_Document.Save(), 0);
  EXPECT_EQ(m_Document.TakeCalls(), "template write-header write-patient write-order");
  EXPECT_EQ(test::ReadBytes(m_Path), bytes);
  EXPECT_EQ(m_Document.m_DocInfo.m_ID + m_Document.m_DocInfo.m_Version, u"OTHER7");
  EXPECT_TRUE(m_Document.m_Xml.GetNode(u"KESTRANE_ZAM/Foreign")) << "the tree is as it was";

  EXPECT_EQ(m_Document.Begin() + m_Document.m_CloneXml.IsOpened(), 0);
  const ZAMLogEntry entry = m_Document.GetLog(m_Document.GetLogCount() - 1);
  EXPECT_EQ(entry.m_Detail, u"Fail to create temporary file");
  EXPECT_EQ(entry.m_Code, -2003);
  EXPECT_EQ(m_Document.m_strFilePath, m_Path.u16string());
  EXPECT_EQ(Names("tmp").size(), 1U);

  m_Document.m_Failing.clear();
  m_Document.m_NonStandardResult = -3;
  m_Document.m_Xml.AddNode(u"KESTRANE_ZAM/Recording", nullptr);
  m_Document.m_Xml.AddNode(u"KESTRANE_ZAM/Recording", nullptr);
  ASSERT_EQ(m_Document.Save(), 1);
  EXPECT_NE(test::Entries(m_Document).find("| Foreign, Recording\n"), std::string::npos)
      << test::Entries(m_Document);
  EXPECT_EQ(m_Document.m_DocInfo.m_ID, u"UNKNOWN");
  EXPECT_EQ(Stored(u"DocumentInfo/ID") + Stored(u"DocumentInfo/Version"), "UNKNOWN0.0.0.0");
  EXPECT_EQ(Stored(u"Foreign/Row"), "(none)") << "no hook wrote it";
  EXPECT_EQ(Stored(u"PatientInfo/Weight"), "58");
  EXPECT_EQ(m_Document.Weight(), u"61");
  m_Document.TakeCalls();
  ASSERT_EQ(m_Document.Save(), 1);
  EXPECT_EQ(m_Document.TakeCalls().find("write"), std::string::npos) << "only once";
  ASSERT_EQ(m_Document.Open(m_Path.c_str(), nullptr), 1);
  EXPECT_EQ(m_Document.GetHistoryCount(), 3);
}

TEST_F(DocumentSaving, FailureKeepsPositionAndPath) {
  ASSERT_EQ(Open(test::DocumentBytes(test::ThreeWeights())), 1);
  const auto target = m_Folder.Path("missing/document.xml");
  EXPECT_EQ(m_Document.SaveAs(target.c_str(), nullptr), 0);
  EXPECT_EQ(m_Document.m_nHistory, 2);
  EXPECT_EQ(m_Document.Weight(), u"62");
  EXPECT_EQ(m_Document.m_strFilePath, m_Path.u16string());
  EXPECT_NE(test::Entries(m_Document).find(target.string()), std::string::npos)
      << test::Entries(m_Document);
}

TEST_F(DocumentSaving, TemplateIsFilled) {
  m_Document.m_Template =
      "<KESTRANE_ZAM><Logo a='1'>x</Logo><PatientInfo><Ward>7</Ward></PatientInfo></KESTRANE_ZAM>";
  ASSERT_EQ(m_Document.New(nullptr), 1);
  m_Document.m_PatientInfo.m_ID = u"P9";
  ASSERT_EQ(m_Document.SaveAs(m_Path.c_str(), nullptr), 1);
  EXPECT_EQ(Stored(u"Logo") + Stored(u"PatientInfo/Ward") + Stored(u"PatientInfo/ID"), "x7P9");

  ASSERT_EQ(Open(test::DocumentBytes(test::ThreeWeights(), "", "OTHER")), 1);
  m_Document.m_CopyTemplate = [&](const _bstr_t& path) {
    return m_Document.m_Xml.SaveAs(path, nullptr);
  };
  ASSERT_EQ(m_Document.Save(), 1);
  EXPECT_EQ(Stored(u"Foreign/Row") + Stored(u"PatientInfo/Weight"), "158") << "carried over";
  EXPECT_EQ(m_Document.Weight(), u"62");
  EXPECT_EQ(test::Entries(m_Document), "") << "nothing was dropped";
}

TEST_F(DocumentSaving, TemplateThatFailsLeavesNoTrace) {
  const std::string bytes = test::DocumentBytes({}, "", "OTHER");
  const auto fresh = m_Folder.Path("documents/new.xml");
  for (const std::string failing : {"", "write-study"}) {
    ASSERT_EQ(Open(bytes), 1);
    m_Document.m_Template = failing.empty() ? "<not well-formed" : "<KESTRANE_ZAM/>";
    m_Document.m_Failing = failing;
    EXPECT_EQ(m_Document.Save(), 0);
    EXPECT_EQ(m_Document.SaveAs(fresh.c_str(), nullptr), 0);
    EXPECT_EQ(test::ReadBytes(m_Path), bytes) << "the file that was there is back";
    EXPECT_EQ(Names("documents"), std::vector<std::string>{"document.xml"});
    m_Document.m_Failing.clear();
  }
}

TEST_F(DocumentSaving, TemplateIsCopiedByteForByte) {
  const std::string bytes("\xFF\xFE<\0 any bytes \r\n", 17);
  ZAMModule module;
  module.AddXmlResource(0x10007, bytes);
  const auto copy = [&](HINSTANCE from, unsigned int identifier) {
    test::WriteBytes(m_Path, "old");
    const int result = test::Document::CopyXMLTemplate(from, identifier, m_Path.c_str());
    return std::to_string(result) + test::ReadBytes(m_Path);
  };
  EXPECT_EQ(copy(&module, 7), "1" + bytes) << "of an identifier the low 16 bits count";
  EXPECT_EQ(copy(&module, 8) + copy(nullptr, 7), "00") << "no such resource: the file is empty";
  EXPECT_EQ(test::Document::CopyXMLTemplate(&module, 7, m_Folder.Path("no/where").c_str()), 0);
}

TEST_F(DocumentSaving, WithheldHistoryIsInNoSave) {
  ASSERT_EQ(Open(test::DocumentBytes(test::ThreeWeights(), "", "OTHER")), 1);
  m_Document.m_WithholdsHistory = true;
  for (const char* save : {"first", "second", "after a commit"}) {
    SCOPED_TRACE(save);
    m_Document.ClearLog();
    ASSERT_EQ(m_Document.Save(), 1);
    EXPECT_EQ(Stored(u"PatientInfo/Weight") + Stored(u"Modifications"), "58(none)");
    EXPECT_EQ(m_Document.Weight(), u"62") << "the document in memory keeps it";
    EXPECT_EQ(test::Entries(m_Document).find("-2009"), std::string::npos);
    ASSERT_EQ(m_Document.SetHistory(0), 1);
    EXPECT_EQ(m_Document.Weight(), u"60");
    ASSERT_EQ(m_Document.Begin(), 1);
    m_Document.Set(u"PatientInfo/Weight", u"62");
    EXPECT_EQ(m_Document.m_pModification->GetChange(0)->m_OldValue, u"62");
    ASSERT_EQ(m_Document.CommitModify() + m_Document.SetHistoryToLast(), 2);
  }
}

TEST_F(DocumentSaving, ListWithoutRootIsBuilt) {
  m_Document.m_CompatibleResult = 1;
  ASSERT_EQ(Open("<Older/>"), 1);
  m_Document.m_PatientInfo.m_ID = u"P9";
  m_Document.m_Modifications.m_ModificationList.Add(new ZAMXMLModification);
  EXPECT_EQ(m_Document.SetHistory(0), 0);
  EXPECT_NE(test::Entries(m_Document).find("-2009"), std::string::npos);
  EXPECT_EQ(m_Document.SaveAs(m_Folder.Path("no/where").c_str(), nullptr), 0);
  ASSERT_EQ(m_Document.Begin(), 1);
  ASSERT_EQ(m_Document.CommitModify() + m_Document.Save(), 2);
  EXPECT_EQ(Stored(u"PatientInfo/ID"), "P9");
  ASSERT_EQ(m_Document.Open(m_Path.c_str(), nullptr), 1);
  EXPECT_EQ(m_Document.GetHistoryCount(), 2);
}

/// What a host does to the document in a hook while it is saved.
struct Meanwhile {
  std::string m_Name;
  std::function<void(test::Document&, const std::string& other)> m_Do;
  bool m_Replaces;  ///< the document is another one afterwards
};

TEST_F(DocumentSaving, HooksMayReplaceOrMove) {
  const std::string other = m_Folder.Path("other.xml");
  test::WriteBytes(other, test::DocumentBytes({{"PatientInfo/ID", "", "P1", "B"}}));
  const Meanwhile calls[] = {
      {"Close", [](auto& document, auto&) { document.Close(); }, true},
      {"New", [](auto& document, auto&) { document.New(nullptr); }, true},
      {"Open", [](auto& document, auto& path) { EXPECT_EQ(document.Open(path, nullptr), 1); },
       true},
      {"SetHistory", [](auto& document, auto&) { document.SetHistory(0); }, false},
      {"BeginModify", [](auto& document, auto&) { document.Begin(); }, false},
  };
  int fired = 0;
  const auto save = [&](const Meanwhile& call, const std::string& hook, const std::string& id,
                        int position, bool edits) {
    SCOPED_TRACE(call.m_Name + ' ' + hook + ' ' + id + ' ' + std::to_string(position));
    const std::string bytes = test::DocumentBytes(test::ThreeWeights(), "", id);
    ASSERT_EQ(Open(bytes), 1);
    ASSERT_EQ(m_Document.SetHistory(position), 1);
    m_Document.m_Hook = hook;
    m_Document.m_Meanwhile = [&] { call.m_Do(m_Document, other); };
    const int saved = edits ? m_Document.Begin() : m_Document.Save();
    if (std::exchange(m_Document.m_Meanwhile, nullptr)) {
      EXPECT_EQ(saved, 1) << "the hook is not called here";
      return;
    }
    ++fired;
    if (call.m_Replaces) {
      const bool isOther = call.m_Name == "Open";
      EXPECT_EQ(saved, 0);
      EXPECT_EQ(m_Document.m_PatientInfo.m_ID, isOther ? u"B" : u"");
      EXPECT_EQ(m_Document.GetHistoryCount(), isOther ? 1 : 0);
      EXPECT_EQ(m_Document.Save(), isOther ? 1 : 0);
      EXPECT_EQ(test::ReadBytes(m_Path), bytes);
      EXPECT_LE(Names("tmp").size(), 1U);
      return;
    }
    EXPECT_TRUE(saved != 0 || test::ReadBytes(m_Path) == bytes);
    EXPECT_EQ(Stored(u"PatientInfo/Weight"), "58");
    const bool moved = call.m_Name == "SetHistory" && (hook == "changed" || hook == "template");
    const int shown = m_Document.m_nHistory;
    EXPECT_TRUE(shown == position || (moved && shown == 0)) << shown;
    EXPECT_EQ(m_Document.Weight(), shown == 2 ? u"62" : shown == 0 ? u"60" : u"58");
    ASSERT_EQ(m_Document.Save(), 1);
    EXPECT_EQ(Stored(u"PatientInfo/Weight") + Stored(u"PatientInfo/ID") + Stored(u"OrderInfo/ID") +
                  Stored(u"StudyInfo/ID"),
              "58P1O1S1");
    ASSERT_EQ(m_Document.SetHistoryToLast(), 1);
    EXPECT_EQ(m_Document.Weight(), u"62");
    EXPECT_EQ(m_Document.GetHistoryCount(), 3);
  };
  for (const Meanwhile& call : calls) {
    for (const char* hook :
         {"changed", "template", "read-header", "read-list", "read-patient", "read-own",
          "write-header", "write-patient", "write-study", "write-list", "write-own"}) {
      for (const char* id : {"UNKNOWN", "OTHER"}) {
        for (const int position : {2, -1}) {
          save(call, hook, id, position, false);
          save(call, hook, id, position, call.m_Replaces);
        }
      }
    }
  }
  EXPECT_GE(fired, 10 * 22);
}

}  // namespace
