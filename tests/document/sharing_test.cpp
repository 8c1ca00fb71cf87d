#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "support/document.h"
#include "support/failing_calls.h"

/// One file and several processes or documents: what others see, leave behind or put in its place.

namespace {

namespace fs = std::filesystem;
using test::Call;

class Sharing : public testing::Test {
protected:
  Sharing() {
    fs::create_directory(m_Folder.Path("tmp"));
    fs::create_directory(m_Folder.Path("documents"));
    setenv("TMPDIR", m_Folder.Path("tmp").c_str(), 1);
    test::WriteBytes(m_Path, m_Bytes);
  }
  ~Sharing() override { unsetenv("TMPDIR"); }

  /// What another process does: saves the document again, as a new file.
  void SaveByAnother() const {
    ZAMXml other;
    test::Load(other, m_Bytes);
    EXPECT_EQ(other.SaveAs(m_Path.c_str(), nullptr), 1);
  }

  /// Names below the two folders.
  int Count(const char* folder) const {
    return static_cast<int>(
        std::distance(fs::recursive_directory_iterator(m_Folder.Path(folder)), {}));
  }

  test::TemporaryFolder m_Folder;
  fs::path m_Path = m_Folder.Path("documents/document.xml");
  std::string m_Bytes = test::DocumentBytes(test::ThreeWeights(), "", "OTHER");
};

/// Takes a snapshot, records a modification and builds the document anew through a template.
int RecordAndRebuild(const fs::path& path) {
  test::Document document;
  document.m_Template = "<KESTRANE_ZAM/>";
  if (document.Open(path.c_str(), nullptr) == 0 || document.BeginModify(u"1", u"u", u"U") == 0 ||
      document.CommitModify() == 0) {
    return 0;
  }
  document.SetDefaultDocInfo(u"THIRD", u"", u"", u"", u"");
  return document.Save();
}

TEST_F(Sharing, KilledProcessLeavesNothingForLong) {
  int count = 3;
  const int kills = test::ForEachKill(
      [this] { RecordAndRebuild(m_Path); },
      [this, &count] {
        test::Document document;
        ASSERT_EQ(document.Open(m_Path.c_str(), nullptr), 1);
        ASSERT_TRUE(document.GetHistoryCount() == count || document.GetHistoryCount() == count + 1);
        ASSERT_EQ(document.Weight(), u"62");
        count = document.GetHistoryCount() + 1;
        ASSERT_EQ(RecordAndRebuild(m_Path), 1);
        ASSERT_EQ(Count("documents"), 1);
        ASSERT_EQ(Count("tmp"), 1) << "the user's folder";
      });
  EXPECT_GT(kills, 100);
  EXPECT_FALSE(HasFailure()) << kills;
}

TEST_F(Sharing, FailedSaveThroughATemplateLeavesWhatAnotherHasSaved) {
  for (const char* hook : {"template", "write-study"}) {
    test::WriteBytes(m_Path, m_Bytes);
    test::Document document;
    ASSERT_EQ(document.Open(m_Path.c_str(), nullptr), 1);
    document.m_Template = "<KESTRANE_ZAM/>";
    document.m_Failing = "write-study";
    document.m_Hook = hook;
    bool passed = false;
    document.m_Meanwhile = [&passed] { passed = true; };
    const test::BeforeEachCall behindTheHook([&](Call) {
      if (std::exchange(passed, false)) {
        test::WriteBytes(m_Folder.Path("new"), "<Another/>");
        fs::rename(m_Folder.Path("new"), m_Path);
      }
    });
    EXPECT_EQ(document.Save(), 0);
    EXPECT_EQ(test::ReadBytes(m_Path), *hook == 't' ? "<Another/>" : m_Bytes);
    EXPECT_EQ(Count("documents"), 1);
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

TEST_F(Sharing, FileChangedByAnother) {
  const std::string elsewhere = m_Folder.Path("elsewhere.xml");
  const auto saveAfterwards = [this](test::Document& document) {
    int flushes = 0;
    const test::BeforeEachCall meanwhile([&](Call call) {
      if (call == Call::Fsync && ++flushes == 2) {  // of the folder: the new name stands there
        SaveByAnother();
      }
    });
    document.Save();
  };
  const auto openBefore = [this](test::Document& document) {
    bool done = false;
    const test::BeforeEachCall meanwhile([&](Call call) {
      if (call == Call::Close && !std::exchange(done, true)) {  // of the file: it is read
        SaveByAnother();
      }
    });
    document.Open(m_Path.c_str(), nullptr);
  };
  const struct {
    const char* m_Name;
    int m_Changed;
    std::function<void(test::Document&)> m_Do;
  } rows[] = {
      {"nothing", 0, [](auto&) {}},
      {"written in place", 1, [&](auto&) { test::WriteBytes(m_Path, m_Bytes + "\n"); }},
      {"replaced by the same bytes", 1, [&](auto&) { SaveByAnother(); }},
      {"touched", 1,
       [&](auto&) {
         fs::last_write_time(m_Path, fs::last_write_time(m_Path) + std::chrono::seconds(1));
       }},
      {"gone", 1, [&](auto&) { fs::remove(m_Path); }},
      {"replaced as soon as it is read", 1, openBefore},
      {"replaced as soon as it is saved", 1, saveAfterwards},
      {"replaced, and saved over", 0, [&](auto& document) { SaveByAnother(), document.Save(); }},
      {"an edit", 0,
       [](auto& document) { document.BeginModify(u"1", u"u", u"U"), document.CommitModify(); }},
      {"an edit, after it was replaced", 1,
       [&](auto& document) { SaveByAnother(), document.BeginModify(u"1", u"u", u"U"); }},
      {"a save that fails", 0,
       [](auto& document) {
         const test::FailingCall full(Call::Write, 1, ENOSPC);
         EXPECT_EQ(document.Save(), 0);
       }},
      {"a failed save through a template", 0,
       [](auto& document) {
         document.m_Template = "<KESTRANE_ZAM/>";
         document.m_Failing = "write-study";
         EXPECT_EQ(document.Save(), 0);
       }},
      {"a save to another path", 0,
       [&](auto& document) { document.SaveAs(elsewhere.c_str(), nullptr), fs::remove(m_Path); }},
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
  for (const auto& row : rows) {
    SCOPED_TRACE(row.m_Name);
    test::WriteBytes(m_Path, m_Bytes);
    fs::create_symlink("document.xml", m_Folder.Path("documents/link"));
    for (const char* name : {"documents/document.xml", "documents/link"}) {
      test::WriteBytes(m_Path, m_Bytes);
      test::Document document;
      ASSERT_EQ(document.Open(m_Folder.Path(name).c_str(), nullptr), 1);
      row.m_Do(document);
      EXPECT_EQ(document.IsFileChanged(), row.m_Changed) << name;
      EXPECT_EQ(document.m_Xml.m_strFilePath.IsEmpty() ? 0 : document.m_Xml.IsFileChanged(),
                row.m_Changed)
          << name;
    }
    fs::remove(m_Folder.Path("documents/link"));
  }
}

}  // namespace
