#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>

#include "support/document.h"
#include "support/failing_calls.h"

/// One file and several processes or documents: what others see, leave behind or put in its place.

namespace {

namespace fs = std::filesystem;
using test::Call;

class Sharing : public test::DocumentTest {
protected:
  Sharing() { test::WriteBytes(m_Path, m_Bytes); }

  /// What another process does: saves the document again, as a new file.
  void SaveByAnother() const {
    ZAMXml other;
    test::Load(other, m_Bytes);
    EXPECT_EQ(other.SaveAs(m_Path.c_str(), nullptr), 1);
  }

  std::string m_Bytes = test::DocumentBytes(test::ThreeWeights(), "", "OTHER");
};

/// Takes a snapshot, records a modification and builds the document anew through a template.
int RecordAndRebuild(const fs::path& path) {
  test::Document document;
  document.m_Template = "<KESTRANE_ZAM/>";
  if (document.Open(path.c_str(), nullptr) == 0 || document.Begin() == 0 ||
      document.CommitModify() == 0) {
    return 0;
  }
  document.SetDefaultDocInfo(u"THIRD", u"", u"", u"", u"");
  return document.Save();
}

TEST_F(Sharing, KilledProcessLeavesNothing) {
  int count = 3;
  const int kills = test::ForEachKill([this] { RecordAndRebuild(m_Path); },
                                      [this, &count] {
                                        ASSERT_EQ(m_Document.Open(m_Path.c_str(), nullptr), 1);
                                        const int found = m_Document.GetHistoryCount();
                                        ASSERT_TRUE(found == count || found == count + 1);
                                        ASSERT_EQ(m_Document.Weight(), u"62");
                                        count = found + 1;
                                        ASSERT_EQ(RecordAndRebuild(m_Path), 1);
                                        ASSERT_EQ(Names("documents").size(), 1U);
                                        ASSERT_EQ(Names("tmp").size(), 1U);
                                      });
  EXPECT_GT(kills, 60);
  EXPECT_FALSE(HasFailure()) << kills;
}

TEST_F(Sharing, FailedSaveKeepsAnothersFile) {
  for (const std::string hook : {"template", "write-study"}) {
    ASSERT_EQ(Open(m_Bytes), 1);
    m_Document.m_Template = "<KESTRANE_ZAM/>";
    m_Document.m_Failing = "write-study";
    m_Document.m_Hook = hook;
    bool passed = false;
    m_Document.m_Meanwhile = [&passed] { passed = true; };
    const test::BeforeEachCall behindTheHook([&](Call) {
      if (std::exchange(passed, false)) {
        test::WriteBytes(m_Folder.Path("new"), "<Another/>");
        fs::rename(m_Folder.Path("new"), m_Path);
      }
    });
    EXPECT_EQ(m_Document.Save(), 0);
    EXPECT_EQ(test::ReadBytes(m_Path), hook == "template" ? "<Another/>" : m_Bytes);
    EXPECT_EQ(Names("documents").size(), 1U);
  }
}

/// A host that does something of its own after the save, and fails.
class Refusing : public test::Document {
protected:
  int OnFileSave(const _bstr_t& path, ZAMLog* log) override {
    ZAMXMLFile::OnFileSave(path, log);
    return 0;
  }
};

TEST_F(Sharing, ChangedFileIsSeen) {
  const std::string elsewhere = m_Folder.Path("elsewhere.xml");
  // Another saves right before the n-th such call of the step.
  const auto meanwhile = [this](Call which, int number, const std::function<void()>& step) {
    const test::BeforeEachCall before(
        [&](Call call) { call == which && --number == 0 ? SaveByAnother() : void(); });
    step();
  };
  const struct {
    const char* m_Name;
    int m_Changed;
    std::function<void(test::Document&)> m_Do;
  } rows[] = {
      {"nothing", 0, [](auto&) {}},
      {"written in place", 1, [&](auto&) { test::WriteBytes(m_Path, m_Bytes + "\n"); }},
      {"replaced by the same bytes", 1, [&](auto&) { SaveByAnother(); }},
      {"touched", 1, [&](auto&) { fs::last_write_time(m_Path, {}); }},
      {"gone", 1, [&](auto&) { fs::remove(m_Path); }},
      {"replaced when it is read", 1,
       [&](auto& document) {
         meanwhile(Call::Close, 1, [&] { EXPECT_EQ(document.Open(m_Path, nullptr), 1); });
       }},
      {"replaced when it is saved", 1,
       [&](auto& document) { meanwhile(Call::Fsync, 2, [&] { EXPECT_EQ(document.Save(), 1); }); }},
      {"replaced, and saved over", 0,
       [&](auto& document) {
         SaveByAnother();
         EXPECT_EQ(document.Save(), 1);
       }},
      {"an edit", 0,
       [](auto& document) { EXPECT_EQ(document.Begin() + document.CommitModify(), 2); }},
      {"replaced, and edited", 1, [&](auto& document) { SaveByAnother(), document.Begin(); }},
      {"saved, and again as soon as it is shown", 0,
       [](auto& document) {
         document.m_WhenChanged = [&document, shown = 0]() mutable {
           if (++shown == 2) {
             EXPECT_EQ(document.Save(), 1);
           }
         };
         EXPECT_EQ(document.Save(), 1);
       }},
      {"saves that fail", 0,
       [&](auto& document) {
         const test::FailingCall full(Call::Write, 1, ENOSPC);
         EXPECT_EQ(document.Save(), 0);
         document.m_Template = "<KESTRANE_ZAM/>";
         document.m_Failing = "write-study";
         EXPECT_EQ(document.Save(), 0);
       }},
      {"a save to another path", 0,
       [&](auto& document) {
         EXPECT_EQ(document.SaveAs(elsewhere, nullptr), 1);
         fs::remove(m_Path);
       }},
      {"a save to another path that the host takes back", 0,
       [&](auto&) {
         Refusing refusing;
         ASSERT_EQ(refusing.Open(m_Path.c_str(), nullptr), 1);
         EXPECT_EQ(refusing.SaveAs(elsewhere.c_str(), nullptr), 0);
         EXPECT_EQ(refusing.IsFileChanged(), 0);
       }},
      {"a move of the history", 0, [](auto& document) { document.SetHistory(0); }},
      {"no path", 0, [&](auto& document) { document.New(nullptr), fs::remove(m_Path); }},
      {"a tree", 0,
       [&](auto& document) {
         ZAMXml tree;
         test::Load(tree, m_Bytes);
         document.OpenFromXML(tree, nullptr), fs::remove(m_Path);
       }},
  };
  fs::create_symlink("document.xml", m_Folder.Path("documents/link"));
  for (const auto& row : rows) {
    for (const char* name : {"documents/document.xml", "documents/link"}) {
      SCOPED_TRACE(row.m_Name + std::string(" ") + name);
      test::WriteBytes(m_Path, m_Bytes);
      test::Document document;
      ASSERT_EQ(document.Open(m_Folder.Path(name).c_str(), nullptr), 1);
      row.m_Do(document);
      EXPECT_EQ(document.IsFileChanged(), row.m_Changed);
      EXPECT_EQ(document.m_Xml.m_strFilePath.IsEmpty() ? 0 : document.m_Xml.IsFileChanged(),
                row.m_Changed);
    }
  }
}

}  // namespace
