#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <set>
#include <string>
#include <system_error>

#include "support/failing_calls.h"
#include "support/tree.h"

namespace {

namespace fs = std::filesystem;
using test::Call;

const char Old[] = "<R>the old document</R>";
const char New[] = "<R>the new document</R>";

class Saving : public testing::Test {
protected:
  Saving() {
    test::WriteBytes(Target(), Old);
    test::Load(m_Xml, New);
  }

  fs::path Target() const { return m_Folder.Path("target.xml"); }

  int SaveTo(const fs::path& path) {
    m_Log.ClearLog();
    return m_Xml.SaveAs(path.c_str(), &m_Log);
  }

  std::string Reason() const {
    return m_Log.GetLogCount() == 1 ? m_Log.GetLog(0).m_Detail.utf8() : "not logged";
  }

  std::set<std::string> Names() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(m_Folder.Path(""))) {
      names.insert(entry.path().filename());
    }
    return names;
  }

  test::TemporaryFolder m_Folder;
  ZAMXml m_Xml;
  ZAMLog m_Log;
};

TEST_F(Saving, FailingCallLeavesWholeFile) {
  const struct {
    Call m_Call;
    int m_Error;
    int m_Refused;  ///< so many of these calls cannot be done without when a file is replaced
  } rows[] = {{Call::Open, EMFILE, 2},  {Call::Write, ENOSPC, 1}, {Call::Fchmod, EPERM, 1},
              {Call::Fsync, EIO, 2},    {Call::Close, EDQUOT, 1}, {Call::Rename, EACCES, 1},
              {Call::Flock, ENOLCK, 0}, {Call::Link, EPERM, 0}};
  for (const bool replacing : {true, false}) {
    for (const auto& row : rows) {
      int refused = 0;
      bool happened = true;
      for (int number = 1; happened; ++number) {
        SCOPED_TRACE(testing::Message() << "call " << static_cast<int>(row.m_Call) << ", number "
                                        << number << (replacing ? ", replacing" : ", creating"));
        test::WriteBytes(Target(), Old);
        const fs::path path = replacing ? Target() : m_Folder.Path("created.xml");
        m_Xml.m_strFilePath.Empty();
        int saved = 1;
        {
          const test::FailingCall failing(row.m_Call, number, row.m_Error);
          saved = SaveTo(path);
          happened = failing.Happened();
        }
        if (saved == 0) {
          ++refused;
          EXPECT_NE(Reason().find(std::system_category().message(row.m_Error)), std::string::npos)
              << Reason();
          EXPECT_EQ(Names(), std::set<std::string>{"target.xml"});
          EXPECT_EQ(test::ReadBytes(Target()), Old);
          EXPECT_TRUE(m_Xml.m_strFilePath.IsEmpty());
        } else {
          EXPECT_EQ(test::ReadBytes(path), New);
          EXPECT_EQ(m_Xml.m_strFilePath, _bstr_t(path.c_str()));
          fs::remove(path);
          EXPECT_EQ(Names().size(), replacing ? 0U : 1U);
        }
      }
      EXPECT_EQ(refused, !replacing && row.m_Call == Call::Fchmod ? 0 : row.m_Refused);
    }
  }
}

TEST_F(Saving, FailureKeepsOthersSave) {
  ZAMXml other;
  test::Load(other, "<R>another document</R>");
  for (const bool replacing : {true, false}) {
    const fs::path path = replacing ? Target() : m_Folder.Path("created.xml");
    int flushes = 0;
    const test::FailingCall folder(Call::Fsync, 2, EIO);
    const test::BeforeEachCall meanwhile([&](Call call) {
      if (call == Call::Fsync && ++flushes == 2) {
        EXPECT_EQ(other.SaveAs(path.c_str(), nullptr), 1);
      }
    });
    EXPECT_EQ(SaveTo(path), 0);
    EXPECT_EQ(test::ReadBytes(path), "<R>another document</R>");
    EXPECT_EQ(Names().size(), replacing ? 1U : 2U);
  }
}

TEST_F(Saving, ShortWritesGoOn) {
  for (const int error : {EINTR, 0}) {
    test::WriteBytes(Target(), Old);
    const test::FailingCall failing(Call::Write, 1, error);
    EXPECT_EQ(SaveTo(Target()), 1);
    EXPECT_TRUE(failing.Happened());
    EXPECT_EQ(test::ReadBytes(Target()), New);
  }
}

TEST_F(Saving, DurableFlushes) {
  m_Xml.SetDurable(0);
  const test::FailingCall failing(Call::Fsync, 1, EIO);
  EXPECT_EQ(SaveTo(Target()), 1);
  EXPECT_FALSE(failing.Happened());
  m_Xml.SetDurable(1);
  EXPECT_EQ(SaveTo(Target()), 0);
}

TEST_F(Saving, RefusedTargets) {
  fs::create_directory(m_Folder.Path("folder"));
  fs::create_symlink("loop", m_Folder.Path("loop"));
  fs::create_symlink("missing/x.xml", m_Folder.Path("nowhere"));
  mkfifo(m_Folder.Path("pipe").c_str(), 0600);
  const std::set<std::string> before = Names();
  const struct {
    fs::path m_Path;
    const char* m_Reason;
  } rows[] = {{m_Folder.Path("missing/x.xml"), "No such file"},
              {m_Folder.Path("nowhere"), "No such file"},
              {m_Folder.Path("target.xml/x"), "Not a directory"},
              {m_Folder.Path("folder"), "not a regular file"},
              {m_Folder.Path("pipe"), "not a regular file"},
              {m_Folder.Path("loop"), "symbolic links"},
              {"/dev/full", "not a regular file"},
              {"", "no path"}};
  for (const auto& row : rows) {
    EXPECT_EQ(SaveTo(row.m_Path), 0);
    EXPECT_NE(Reason().find(row.m_Reason), std::string::npos) << row.m_Path << ": " << Reason();
    EXPECT_EQ(Names(), before) << row.m_Path;
  }
  EXPECT_TRUE(fs::is_character_file("/dev/full"));
  EXPECT_TRUE(fs::is_fifo(m_Folder.Path("pipe")));
  using std::string_view_literals::operator""sv;
  EXPECT_EQ(m_Xml.SaveAs(_bstr_t(Target().c_str()) + _bstr_t(u"\0x"sv), &m_Log), 0);
  EXPECT_EQ(test::ReadBytes(Target()), Old);
  ZAMXml empty;
  EXPECT_EQ(empty.SaveAs(Target().c_str(), nullptr), 0);
  empty.New(nullptr);
  EXPECT_EQ(empty.SaveAs(Target().c_str(), nullptr), 0);
  EXPECT_EQ(test::ReadBytes(Target()), Old);
}

TEST_F(Saving, ReadOnlyTargets) {
  fs::permissions(Target(), fs::perms(0444));
  fs::permissions(m_Folder.Path(""), fs::perms(0777));
  EXPECT_EQ(test::Unprivileged([this] {
              const int saved = SaveTo(Target());
              return saved == 0 && Reason().find("Permission denied") != std::string::npos ? 1 : 0;
            }),
            1);
  fs::permissions(m_Folder.Path(""), fs::perms(0555));
  EXPECT_EQ(test::Unprivileged([this] { return SaveTo(m_Folder.Path("new.xml")); }), 0);
  fs::permissions(m_Folder.Path(""), fs::perms(0755));
  EXPECT_EQ(test::ReadBytes(Target()), Old);
  EXPECT_EQ(Names(), std::set<std::string>{"target.xml"});
}

TEST_F(Saving, LinksStayLinks) {
  fs::create_directory(m_Folder.Path("folder"));
  const struct {
    const char* m_Link;
    fs::path m_Leads;
    const char* m_File;
  } rows[] = {{"absolute", Target(), "target.xml"},
              {"relative", "target.xml", "target.xml"},
              {"folder/up", "../target.xml", "target.xml"},
              {"chain", "folder/up", "target.xml"},
              {"dangling", "folder/fresh.xml", "folder/fresh.xml"}};
  for (const auto& row : rows) {
    test::WriteBytes(Target(), Old);
    fs::create_symlink(row.m_Leads, m_Folder.Path(row.m_Link));
    EXPECT_EQ(SaveTo(m_Folder.Path(row.m_Link)), 1) << row.m_Link;
    EXPECT_TRUE(fs::is_symlink(m_Folder.Path(row.m_Link))) << row.m_Link;
    EXPECT_FALSE(fs::is_symlink(m_Folder.Path(row.m_File))) << row.m_Link;
    EXPECT_EQ(test::ReadBytes(m_Folder.Path(row.m_File)), New) << row.m_Link;
  }
}

TEST_F(Saving, BytesOfHost) {
  const std::string bytes("\0 a page", 8);
  const _bstr_t path(Target().c_str());
  fs::permissions(Target(), fs::perms(0640));
  const auto write = [&] { ZAMGF::WriteFile(path, bytes, nullptr); };
  const int kills = test::ForEachKill(write, [&] {
    const std::string now = test::ReadBytes(Target());
    EXPECT_TRUE(now == Old || now == bytes) << now;
  });
  EXPECT_GT(kills, 5);
  EXPECT_EQ(ZAMGF::WriteFile(path, bytes, &m_Log), 1);
  EXPECT_EQ(test::ReadBytes(Target()), bytes);
  EXPECT_EQ(fs::status(Target()).permissions(), fs::perms(0640));
  EXPECT_EQ(Names(), std::set<std::string>{"target.xml"}) << "what killed writes have left";
  EXPECT_EQ(ZAMGF::WriteFile(u"/dev/full", bytes, &m_Log), 0);
  EXPECT_EQ(Reason(), "/dev/full: it is not a regular file");
  m_Log.ClearLog();
  EXPECT_EQ(ZAMGF::WriteFile(u"", bytes, &m_Log), 0);
  EXPECT_EQ(Reason(), "there is no path");
}

TEST_F(Saving, RelativePathOfAnyScript) {
  const fs::path before = fs::current_path();
  fs::current_path(m_Folder.Path(""));
  EXPECT_EQ(m_Xml.SaveAs(u"\uAE40 \U0001F600.xml", nullptr), 1);
  fs::current_path(before);
  EXPECT_EQ(test::ReadBytes(m_Folder.Path("\xEA\xB9\x80 \xF0\x9F\x98\x80.xml")), New);
}

}  // namespace
