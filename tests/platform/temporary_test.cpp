#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/tree.h"

namespace {

namespace fs = std::filesystem;

/// The system's temporary directory is a folder of the test's own.
class Temporary : public testing::Test {
protected:
  Temporary() {
    const char* known = std::getenv("TMPDIR");
    m_Before = known != nullptr ? known : "";
    setenv("TMPDIR", m_Folder.Path("").c_str(), 1);
  }
  ~Temporary() override {
    m_Before.empty() ? unsetenv("TMPDIR") : setenv("TMPDIR", m_Before.c_str(), 1);
  }

  test::TemporaryFolder m_Folder;
  std::string m_Before;
};

void ExpectPrivate(const fs::path& folder) {
  struct stat status {};
  ASSERT_EQ(lstat(folder.c_str(), &status), 0) << folder;
  EXPECT_TRUE(S_ISDIR(status.st_mode));
  EXPECT_EQ(status.st_mode & 0777, 0700U);
  EXPECT_EQ(status.st_uid, geteuid());
}

TEST_F(Temporary, FolderIsPrivate) {
  const mode_t mask = umask(0);
  const fs::path folder = ZAMGF::GetSystemTempDir().utf8();
  umask(mask);
  EXPECT_EQ(folder.parent_path(), m_Folder.Path("").parent_path());
  ExpectPrivate(folder);
  EXPECT_EQ(ZAMGF::GetSystemTempDir().utf8(), folder);
}

TEST_F(Temporary, PlantedFolderIsNotUsed) {
  const fs::path usual = ZAMGF::GetSystemTempDir().utf8();
  fs::create_directory(m_Folder.Path("trap"));
  fs::permissions(m_Folder.Path("trap"), fs::perms(0700));
  const std::function<void(const fs::path&)> traps[] = {
      [&](const fs::path& path) { fs::create_symlink(m_Folder.Path("trap"), path); },
      [](const fs::path& path) { test::WriteBytes(path, "a file"); },
      [](const fs::path& path) { fs::create_directory(path); },
      [](const fs::path& path) { mkdir(path.c_str(), 0700), chmod(path.c_str(), 0710); },
      [](const fs::path& path) {
        mkdir(path.c_str(), 0700);
        if (geteuid() != 0 || chown(path.c_str(), 65534, 65534) != 0) {
          chmod(path.c_str(), 0777);
        }
      }};
  for (const auto& trap : traps) {
    fs::remove_all(usual);
    trap(usual);
    const fs::path folder = ZAMGF::GetSystemTempDir().utf8();
    EXPECT_NE(folder, usual);
    ExpectPrivate(folder);
  }
  // The name was still taken: the folder that was made instead is found again, by all processes.
  const fs::path folder = ZAMGF::GetSystemTempDir().utf8();
  EXPECT_EQ(ZAMGF::GetSystemTempDir().utf8(), folder);
  fs::remove_all(folder);
  for (const char* name : {"-", "-1", "-aaaaaa"}) {
    test::WriteBytes(usual.string() + name, "taken as well");
  }
  const fs::path other = ZAMGF::GetSystemTempDir().utf8();
  EXPECT_NE(other, folder);
  ExpectPrivate(other);
  setenv("TMPDIR", m_Folder.Path("missing").c_str(), 1);
  EXPECT_TRUE(!ZAMGF::GetSystemTempDir());
}

TEST_F(Temporary, NamesAreUnique) {
  std::vector<std::vector<std::string>> names(4);
  std::vector<std::thread> threads;
  for (auto& own : names) {
    threads.emplace_back([&own] {
      for (int i = 0; i < 500; ++i) {
        own.push_back(ZAMGF::MakeDateTimeFileName(u"pre", u"post", u"xml").utf8());
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  std::set<std::string> all;
  for (const auto& own : names) {
    all.insert(own.begin(), own.end());
  }
  EXPECT_EQ(all.size(), 2000U);
  EXPECT_NE(all.begin()->find('_' + std::to_string(getpid()) + '_'), std::string::npos);
}

TEST_F(Temporary, PathsAndDeletion) {
  EXPECT_EQ(ZAMGF::MakePath(u"a", u"b"), _bstr_t(u"a/b"));
  EXPECT_TRUE(!ZAMGF::MakePath(u"", u"b"));
  const fs::path file = m_Folder.Path("file");
  test::WriteBytes(file, "x");
  using std::string_view_literals::operator""sv;
  EXPECT_EQ(ZAMGF::DeleteFileW(_bstr_t(file.c_str()) + _bstr_t(u"\0x"sv), 0), 0);
  EXPECT_EQ(ZAMGF::DeleteFileW(file.c_str(), 0), 1);
  EXPECT_FALSE(fs::exists(file));
  EXPECT_EQ(ZAMGF::DeleteFileW(file.c_str(), 0), 0);
  EXPECT_EQ(ZAMGF::DeleteFileW(m_Folder.Path("").c_str(), 0), 0);
}

}  // namespace
