#include <gtest/gtest.h>

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

}  // namespace
