#include "support/document.h"

namespace {

using Recording = test::DocumentTest;

TEST_F(Recording, EditIsStored) {
  ASSERT_EQ(Open(test::DocumentBytes(test::ThreeWeights())), 1);
  ASSERT_EQ(m_Document.SetHistoryToOriginal(), 1);
  m_Document.TakeCalls();
  ASSERT_EQ(m_Document.BeginModify(u"2.25.1", u"kim", u"김 민서"), 1);
  EXPECT_EQ(m_Document.TakeCalls(), "") << "at the original nothing moves";
  EXPECT_EQ(m_Document.m_strFilePath, m_Path.u16string());

  ZAMXMLName name;
  name.m_Full = u"김민서";
  ZAMXMLStatement list;
  list.AddStatement(u"a");
  list.AddStatement(u"b");
  int index = 0;
  const auto expectAdded = [&](int added, const _bstr_t& before, const _bstr_t& after) {
    EXPECT_EQ(added, index);
    const ZAMXMLChangeItem& item = *m_Document.m_pModification->GetChange(index++);
    EXPECT_EQ(item.m_OldValue + u" " + item.m_NewValue, before + u" " + after);
  };
  expectAdded(m_Document.AddChangeItemName(u"c", u"PatientInfo/Name", name), u"Kim^^^^^",
              u"김민서^^^^^");
  expectAdded(m_Document.Set(u"PatientInfo/Weight", u"70"), u"62", u"70");
  expectAdded(m_Document.AddChangeItemStatement(u"c", u"Foreign", list), u"", u"a^b");
  expectAdded(m_Document.Set(u"New/Deep", u"x"), u"", u"x");
  expectAdded(m_Document.Set(u"PatientInfo/Weight", u"71"), u"62", u"71");
  EXPECT_EQ(m_Document.m_pModification->GetChange(0)->m_Code, u"c");
  ASSERT_EQ(m_Document.CommitModify(), 1);
  EXPECT_EQ(m_Document.CommitModify(), 0) << "only once";
  EXPECT_EQ(m_Document.GetHistoryCount(), 4);
  EXPECT_EQ(m_Document.m_nHistory, -1);
  EXPECT_EQ(m_Document.Weight(), u"58") << "nothing is shown yet";
  EXPECT_EQ(m_Document.m_CloneXml.IsOpened(), 0);

  ASSERT_EQ(m_Document.Save(), 1);
  EXPECT_EQ(Stored(u"PatientInfo/Weight"), "58");
  ASSERT_EQ(m_Document.Open(m_Path.c_str(), nullptr), 1);
  EXPECT_EQ(m_Document.Weight() + m_Document.m_PatientInfo.m_Name.m_Full, u"71김민서");
  EXPECT_EQ(m_Document.m_Modifications.GetModification(3)->m_UserName, u"김 민서");
}

TEST_F(Recording, NoEditNoItem) {
  ASSERT_EQ(Open(test::DocumentBytes()), 1);
  _bstr_t untouched = u"as it was";
  EXPECT_EQ(m_Document.GetOldValue(u"PatientInfo/ID", u"", ZAMXML_VTYPE_STRING, untouched), 0);
  EXPECT_EQ(untouched, u"as it was");
  EXPECT_EQ(m_Document.CreateChangeItem(u"", u"PatientInfo/ID", u"", ZAMXML_VTYPE_STRING), nullptr);
  EXPECT_EQ(m_Document.Set(u"PatientInfo/ID", u""), -1);
  ASSERT_EQ(m_Document.GetLogCount(), 2);
  EXPECT_EQ(m_Document.GetLog(0).m_Detail, u"Can not find XML node");
  ZAMXMLChangeItem item;
  EXPECT_EQ(m_Document.AddChangeItem(&item) + m_Document.Begin(), 0);
  EXPECT_EQ(m_Document.AddChangeItem(nullptr), -1);
}

TEST_F(Recording, CancelLeavesNoTrace) {
  const std::string bytes = test::DocumentBytes(test::ThreeWeights());
  ASSERT_EQ(Open(bytes), 1);
  ASSERT_EQ(m_Document.BeginModify(u"1", u"first", u"U"), 1);
  EXPECT_EQ(m_Document.m_ShownWeights, (std::vector<std::string>{"58", "62"}));
  const std::vector<std::string> during = Names("tmp");
  ASSERT_EQ(during.size(), 3U);
  EXPECT_EQ(during.front(), "Clone.xml");
  {
    test::Document other;
    ASSERT_EQ(other.Open(m_Path.c_str(), nullptr), 1);
    ASSERT_EQ(other.Begin(), 1);
    EXPECT_EQ(Names("tmp").size(), 5U) << "each edit has a folder of its own";
  }
  EXPECT_EQ(Names("tmp"), during);
  m_Document.Set(u"PatientInfo/ID", u"x");
  ASSERT_EQ(m_Document.BeginModify(u"2", u"second", u"U"), 1);
  EXPECT_EQ(m_Document.m_pModification->GetCount(), 0);
  EXPECT_EQ(m_Document.m_pModification->m_UserID, u"second");
  m_Document.CancelModify();
  EXPECT_EQ(Names("tmp").size(), 1U);
  EXPECT_EQ(m_Document.Save(), 1);
  EXPECT_EQ(test::ReadBytes(m_Path), bytes);
}

TEST_F(Recording, CommitWithoutRootKeepsModification) {
  m_Document.m_CompatibleResult = 1;
  ASSERT_EQ(Open(test::DocumentBytes()), 1);
  ASSERT_EQ(m_Document.Begin(), 1);
  test::Load(m_Document.m_Xml, "<Other/>");
  EXPECT_EQ(m_Document.CommitModify(), 0);
  EXPECT_NE(test::Entries(m_Document).find("Modifications"), std::string::npos);
  EXPECT_EQ(m_Document.GetHistoryCount(), 1);
  EXPECT_NE(m_Document.m_CloneXml.IsOpened(), 0);
  EXPECT_EQ(m_Document.Set(u"PatientInfo/ID", u"x"), -1);
}

TEST_F(Recording, ItemsAreStoredSafely) {
  ASSERT_EQ(Open(test::DocumentBytes()), 1);
  ASSERT_EQ(m_Document.Begin(), 1);
  const auto add = [&](const _bstr_t& node, int type) {
    auto* item =
        m_Document.CreateChangeItem(u"", node, u"x", static_cast<ZAMXML_VTYPE>(type), u"A");
    EXPECT_EQ(item->m_OldValue, u"") << "the attribute's value, until it is added";
    return m_Document.AddChangeItem(item);
  };
  EXPECT_EQ(add(u"PatientInfo/Name", ZAMXML_VTYPE_NAME), 0);
  EXPECT_EQ(add(u"PatientInfo/ID", -1) + add(u"StudyInfo/ID", 3), 1 + 2);
  ZAMXMLName name;
  name.m_Given = u"with^sign";
  EXPECT_EQ(m_Document.AddChangeItemName(u"", u"OrderInfo/AuthorName", name), 3);
  ASSERT_EQ(m_Document.CommitModify(), 1);
  EXPECT_EQ(m_Document.m_Modifications.GetModification(0)->GetCount(), 2);
  const std::string entries = test::Entries(m_Document);
  for (const char* told :
       {"PatientInfo/Name@x", "OrderInfo/AuthorName", "PatientInfo/ID", "StudyInfo/ID"}) {
    EXPECT_NE(entries.find(std::string("| ") + told + "\n"), std::string::npos) << entries;
  }
  ASSERT_EQ(m_Document.SetHistoryToLast(), 1);
  EXPECT_EQ(m_Document.m_PatientInfo.m_Name.m_Full + m_Document.m_PatientInfo.m_ID, u"AP1");
  ASSERT_EQ(m_Document.SetHistoryToOriginal(), 1);
  EXPECT_EQ(m_Document.m_PatientInfo.m_Name.m_Full, u"Kim") << "undone whole";
}

TEST_F(Recording, OwnTextsAreArguments) {
  ASSERT_EQ(Open(test::DocumentBytes(test::ThreeWeights())), 1);
  _bstr_t& id = m_Document.m_PatientInfo.m_ID;
  m_Document.m_Modifications.GetModification(0)->m_UserName = u"not stored";
  const ZAMXMLModification& entry = *m_Document.m_Modifications.GetModification(1);
  ASSERT_EQ(m_Document.BeginModify(entry.m_UID, id, entry.m_UserID), 1);
  const auto& begun = m_Document.m_pModification;
  ASSERT_EQ(m_Document.BeginModify(begun->m_UID, begun->m_UserID, begun->m_UserName), 1);
  EXPECT_EQ(begun->m_UID + u" " + begun->m_UserID + u" " + begun->m_UserName, u"2.25.7 P1 u");
  _bstr_t text = u"PatientInfo/Weight";
  EXPECT_EQ(m_Document.GetOldValue(text, u"", ZAMXML_VTYPE_STRING, text), 1);
  EXPECT_EQ(text, u"62");

  const std::filesystem::path copy = m_Folder.Path("copy.xml");
  id = copy.c_str();
  ASSERT_EQ(m_Document.SaveAs(id, nullptr), 1);
  EXPECT_EQ(m_Document.m_strFilePath, copy.u16string());
  EXPECT_TRUE(std::filesystem::exists(copy));
  id = m_Path.c_str();
  ASSERT_EQ(m_Document.Open(id, nullptr), 1);
  EXPECT_EQ(m_Document.m_strFilePath, m_Path.u16string());

  const ZAMXMLDocumentInfo& header = m_Document.m_DefaultDocInfo;
  m_Document.SetDefaultDocInfo(header.m_Author, header.m_Type, header.m_Version, header.m_ID,
                               header.m_Application);
  EXPECT_EQ(header.m_ID + header.m_Author, u"KESTRANE Co.,Ltd.UNKNOWN");
}

TEST_F(Recording, HooksLoseNoModification) {
  const struct {
    const char* m_Hook;
    int m_Moved;   ///< the modifications after an edit is committed there in a move
    int m_Opened;  ///< and after an edit is made there in an opening
  } rows[] = {{"read-header", 3, 3},
              {"read-list", 3, 3},
              {"read-patient", 3, 4},
              {"read-own", 3, 4},
              {"changed", 4, 3}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.m_Hook);
    const auto commit = [this] {
      return m_Document.Set(u"PatientInfo/Weight", u"70") + m_Document.CommitModify();
    };
    ASSERT_EQ(Open(test::DocumentBytes(test::ThreeWeights())) + m_Document.Begin(), 2);
    m_Document.m_Hook = row.m_Hook;
    m_Document.m_Meanwhile = commit;
    EXPECT_EQ(m_Document.SetHistory(0), 1);
    EXPECT_EQ(m_Document.GetHistoryCount(), row.m_Moved);
    m_Document.m_Meanwhile = [&] { m_Document.Begin(), commit(); };
    ASSERT_EQ(m_Document.Open(m_Path.c_str(), nullptr), 1);
    m_Document.m_Meanwhile = nullptr;
    ASSERT_EQ(m_Document.Save() + m_Document.Open(m_Path.c_str(), nullptr), 2);
    EXPECT_EQ(m_Document.GetHistoryCount(), row.m_Opened);
    EXPECT_EQ(Stored(u"PatientInfo/Weight"), "58");
  }
}

TEST_F(Recording, ReplacedCharactersAreToldOf) {
  ASSERT_EQ(Open(test::DocumentBytes()), 1);
  ASSERT_EQ(m_Document.BeginModify(u"1", u"u\x1", u"U"), 1);
  m_Document.Set(u"PatientInfo/ID", u"bell \x7");
  ASSERT_EQ(m_Document.CommitModify(), 1);
  EXPECT_EQ(m_Document.GetLogCount(), 2) << test::Entries(m_Document);
  m_Document.New(nullptr);
  m_Document.m_PatientInfo.m_ID = u"bell \x7";
  ASSERT_EQ(m_Document.SaveAs(m_Path.c_str(), &m_Log), 1);
  EXPECT_NE(test::Entries(m_Log).find("PatientInfo/ID"), std::string::npos);
}

}  // namespace
