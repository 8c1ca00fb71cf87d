#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "support/failing_calls.h"
#include "support/tree.h"

namespace {

namespace fs = std::filesystem;

class Lock : public testing::Test {
protected:
  fs::path Document() const { return m_Folder.Path("document.xml"); }

  /// Whether a second lock for the path is refused, with path and reason.
  static bool IsTaken(const fs::path& path) {
    ZAMFileLock second(path.c_str());
    ZAMLog log;
    if (second.Lock(0, &log) != 0) {
      return false;
    }
    EXPECT_EQ(log.GetLogCount(), 1);
    EXPECT_EQ(log.GetLog(0).m_Detail.utf8(), path.string() + ": another holder has locked it");
    return true;
  }

  int Files() const {
    return static_cast<int>(std::distance(fs::directory_iterator(m_Folder.Path("")), {}));
  }

  test::TemporaryFolder m_Folder;
};

TEST_F(Lock, ExcludesEveryName) {
  fs::create_directory(m_Folder.Path("folder"));
  fs::create_symlink("../document.xml", m_Folder.Path("folder/up"));
  fs::create_directory_symlink(".", m_Folder.Path("again"));
  const std::string longest(255, 'n');
  const struct {
    fs::path m_Held;
    fs::path m_Tried;
    bool m_Taken;
  } rows[] = {{Document(), Document(), true},
              {Document(), m_Folder.Path("folder/up"), true},
              {m_Folder.Path("folder/up"), m_Folder.Path("again/document.xml"), true},
              {m_Folder.Path(longest), m_Folder.Path("again/" + longest), true},
              {m_Folder.Path(longest), m_Folder.Path(longest.substr(1)), false},
              {Document(), m_Folder.Path("folder/document.xml"), false}};
  const int before = Files();
  for (const auto& row : rows) {
    SCOPED_TRACE(row.m_Tried);
    ZAMFileLock lock(row.m_Held.c_str());
    EXPECT_EQ(lock.IsLocked(), 0);
    EXPECT_EQ(lock.Lock(0, nullptr), 1);
    EXPECT_EQ(lock.Lock(0, nullptr), 1);
    EXPECT_EQ(IsTaken(row.m_Tried), row.m_Taken);
    lock.Unlock();
    EXPECT_EQ(lock.IsLocked(), 0);
    EXPECT_FALSE(IsTaken(row.m_Tried));
    EXPECT_EQ(Files(), before);
  }
}

TEST_F(Lock, LastsAcrossSaves) {
  const fs::path before = fs::current_path();
  fs::current_path(m_Folder.Path(""));
  {
    ZAMFileLock lock(u"document.xml");
    ASSERT_EQ(lock.Lock(0, nullptr), 1);
    fs::current_path(before);
    ZAMXml xml;
    test::Load(xml, "<R/>");
    for (int save = 0; save < 3; ++save) {
      EXPECT_EQ(xml.SaveAs(Document().c_str(), nullptr), 1);
      EXPECT_TRUE(IsTaken(Document()));
    }
    // What a forked child does to its copy is no matter of the holder.
    EXPECT_EQ(test::Unprivileged([&lock] { return lock.Unlock(), 1; }), 1);
    EXPECT_TRUE(IsTaken(Document()));
  }
  EXPECT_FALSE(IsTaken(Document()));
  EXPECT_EQ(Files(), 1);
}

TEST_F(Lock, RefusesWithTheReason) {
  fs::create_symlink("loop", m_Folder.Path("loop"));
  fs::create_directory(m_Folder.Path("closed"));
  fs::permissions(m_Folder.Path("closed"), fs::perms(0555));
  fs::permissions(m_Folder.Path(""), fs::perms(0755));
  const struct {
    fs::path m_Path;
    const char* m_Reason;
  } rows[] = {{m_Folder.Path("missing/x.xml"), "No such file"},
              {m_Folder.Path("loop"), "symbolic links"},
              {m_Folder.Path("closed/x.xml"), "Permission denied"},
              {"", "no path"}};
  for (const auto& row : rows) {
    EXPECT_EQ(test::Unprivileged([&row] {
                ZAMLog log;
                ZAMFileLock lock(row.m_Path.c_str());
                const int locked = lock.Lock(std::numeric_limits<double>::infinity(), &log);
                const bool told =
                    log.GetLogCount() == 1 && log.GetLog(0).m_Type == ZAM_LOG_TYPE_ERROR &&
                    log.GetLog(0).m_Detail.utf8().find(row.m_Reason) != std::string::npos;
                return locked == 0 && told ? 1 : 0;
              }),
              1)
        << row.m_Path;
  }
}

TEST_F(Lock, SecondWriterWaits) {
  constexpr int Writers = 4;
  constexpr int Rounds = 25;
  test::WriteBytes(Document(), "");
  std::vector<pid_t> writers;
  for (int writer = 0; writer < Writers; ++writer) {
    writers.push_back(fork());
    if (writers.back() == 0) {
      for (int round = 0; round < Rounds; ++round) {
        ZAMFileLock lock(Document().c_str());
        if (lock.Lock(60, nullptr) == 0) {
          _exit(1);
        }
        // Read, change, and put a new file in its place, as a save does.
        const std::string bytes = test::ReadBytes(Document());
        test::WriteBytes(m_Folder.Path("next"), bytes + '.');
        fs::rename(m_Folder.Path("next"), Document());
      }
      _exit(0);
    }
  }
  for (const pid_t writer : writers) {
    int status = -1;
    waitpid(writer, &status, 0);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(test::ReadBytes(Document()).size(), std::size_t{Writers * Rounds});
  EXPECT_EQ(Files(), 1);
  ZAMFileLock lock(Document().c_str());
  ASSERT_EQ(lock.Lock(0, nullptr), 1);
  const auto start = std::chrono::steady_clock::now();
  ZAMFileLock second(Document().c_str());
  EXPECT_EQ(second.Lock(0.05, nullptr), 0);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
  EXPECT_EQ(second.Lock(std::numeric_limits<double>::quiet_NaN(), nullptr), 0);
}

TEST_F(Lock, KilledHolderLeavesNothing) {
  const mode_t mask = umask(077);
  const pid_t holder = fork();
  if (holder == 0) {
    ZAMFileLock lock(Document().c_str());
    lock.Lock(0, nullptr);
    kill(getpid(), SIGKILL);
  }
  int status = 0;
  waitpid(holder, &status, 0);
  umask(mask);
  ASSERT_EQ(Files(), 1);
  // Another user can take it over and remove it, in a folder that all can write to.
  struct stat left {};
  stat(fs::directory_iterator(m_Folder.Path(""))->path().c_str(), &left);
  EXPECT_EQ(left.st_mode & 0777, 0666U);
  EXPECT_EQ(left.st_size, 0);
  fs::permissions(m_Folder.Path(""), fs::perms(0777));
  EXPECT_EQ(test::Unprivileged([this] {
              ZAMFileLock lock(Document().c_str());
              return lock.Lock(0, nullptr);
            }),
            1);
  EXPECT_EQ(Files(), 0);
}

}  // namespace
