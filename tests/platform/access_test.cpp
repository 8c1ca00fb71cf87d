#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "support/failing_calls.h"
#include "support/tree.h"

namespace {

namespace fs = std::filesystem;
using test::Call;

constexpr unsigned int Nobody = 65534;
constexpr unsigned int Doctor = 4243;
constexpr unsigned int Clinic = 4242;
constexpr const char* AccessList = "system.posix_acl_access";
constexpr const char* Inherited = "system.posix_acl_default";
constexpr const char* Note = "user.note";

struct Entry {
  enum Tag : unsigned int { Owner = 1, User = 2, OwnGroup = 4, Group = 8, Mask = 16, Others = 32 };
  Tag m_Tag;
  unsigned int m_Rights;
  unsigned int m_Id = 0xFFFFFFFF;
};
using Entries = std::vector<Entry>;

/// An access control list as the system takes it.
std::string List(const Entries& entries) {
  std::string bytes;
  const auto append = [&bytes](unsigned int value, int size) {
    for (int i = 0; i < size; ++i) {
      bytes += static_cast<char>(value >> (8 * i) & 0xFF);
    }
  };
  append(2, 4);
  for (const Entry& entry : entries) {
    append(entry.m_Tag, 2);
    append(entry.m_Rights, 2);
    append(entry.m_Id, 4);
  }
  return bytes;
}

bool Set(const fs::path& path, const char* name, const std::string& value) {
  return setxattr(path.c_str(), name, value.data(), value.size(), 0) == 0;
}

std::optional<std::string> Get(const fs::path& path, const char* name) {
  std::string value(1024, '\0');
  const auto size = getxattr(path.c_str(), name, value.data(), value.size());
  if (size < 0) {
    return std::nullopt;
  }
  value.resize(static_cast<std::size_t>(size));
  return value;
}

class Access : public testing::Test {
protected:
  Access() {
    fs::permissions(m_Folder.Path(""), fs::perms(0777));
    test::WriteBytes(Target(), "<R>old</R>");
    test::Load(m_Xml, "<R>new</R>");
  }

  fs::path Target() const { return m_Folder.Path("target.xml"); }

  int Save() { return m_Xml.SaveAs(Target().c_str(), nullptr); }

  /// Whether a user without rights can read any file of the folder.
  bool IsLeaking() const {
    return test::Unprivileged([this] {
             for (const auto& entry : fs::directory_iterator(m_Folder.Path(""))) {
               if (::open(entry.path().c_str(), O_RDONLY | O_CLOEXEC) >= 0) {
                 return 1;
               }
             }
             return 0;
           }) != 0;
  }

  struct stat Status() const {
    struct stat status {};
    EXPECT_EQ(stat(Target().c_str(), &status), 0);
    return status;
  }

  test::TemporaryFolder m_Folder;
  ZAMXml m_Xml;
};

TEST_F(Access, NeverWidens) {
  const Entries shared{{Entry::Owner, 6},
                       {Entry::User, 6, Doctor},
                       {Entry::OwnGroup, 0},
                       {Entry::Mask, 6},
                       {Entry::Others, 0}};
  const Entries without{{Entry::Owner, 6},         {Entry::User, 0, Nobody}, {Entry::OwnGroup, 4},
                        {Entry::Group, 6, Clinic}, {Entry::Mask, 4},         {Entry::Others, 4}};
  const Entries narrow{{Entry::Owner, 6},
                       {Entry::OwnGroup, 6},
                       {Entry::Group, 0, Clinic},
                       {Entry::Mask, 4},
                       {Entry::Others, 4}};
  const Entries inherited{{Entry::Owner, 7},
                          {Entry::User, 7, Nobody},
                          {Entry::OwnGroup, 7},
                          {Entry::Mask, 7},
                          {Entry::Others, 7}};
  const struct {
    const char* m_What;
    unsigned int m_Before;
    Entries m_List;
    bool m_Note;
    int m_Failing;  ///< the attribute that cannot be set
    unsigned int m_After;
    bool m_ListAfter;
  } rows[] = {{"a mode", 0640, {}, false, 0, 0640, false},
              {"rights of a program", 06750, {}, false, 0, 0750, false},
              {"an attribute", 0660, {}, true, 0, 0660, false},
              {"an attribute that cannot be set", 0660, {}, true, 1, 0600, false},
              {"a list", 0600, shared, true, 0, 0660, true},
              {"a list that cannot be set", 0600, shared, true, 2, 0600, false},
              {"a list that shuts out", 0600, without, false, 0, 0644, true},
              {"a list that shuts out, and cannot be set", 0600, without, false, 1, 0600, false},
              {"a list that shuts out a group", 0600, narrow, false, 1, 0640, false}};
  if (geteuid() != 0 || !Set(Target(), AccessList, List(shared)) || !Set(Target(), Note, "")) {
    GTEST_SKIP() << "needs root, and a file system with lists and attributes";
  }
  for (const bool inherits : {false, true}) {
    for (const auto& row : rows) {
      SCOPED_TRACE(std::string(row.m_What) + (inherits ? ", in a folder that hands one down" : ""));
      fs::remove(Target());
      removexattr(m_Folder.Path("").c_str(), Inherited);
      test::WriteBytes(Target(), "<R>old</R>");
      fs::permissions(Target(), fs::perms(row.m_Before));
      ASSERT_TRUE(row.m_List.empty() || Set(Target(), AccessList, List(row.m_List)));
      ASSERT_TRUE(!row.m_Note || Set(Target(), Note, "kept"));
      ASSERT_TRUE(!inherits || Set(m_Folder.Path(""), Inherited, List(inherited)));
      const bool leaked = IsLeaking();
      {
        const test::FailingCall failing(Call::SetAttribute, row.m_Failing, EPERM);
        const test::BeforeEachCall watch([&](Call) { EXPECT_TRUE(leaked || !IsLeaking()); });
        EXPECT_EQ(Save(), 1);
        EXPECT_TRUE(failing.Happened());
      }
      EXPECT_EQ(test::ReadBytes(Target()), "<R>new</R>");
      EXPECT_TRUE(leaked || !IsLeaking());
      EXPECT_EQ(Status().st_mode & 07777, row.m_After);
      EXPECT_EQ(Get(Target(), AccessList).value_or(""),
                row.m_ListAfter ? List(row.m_List) : std::string());
      EXPECT_EQ(Get(Target(), Note).value_or(""),
                row.m_Note && row.m_Failing != 1 ? "kept" : std::string());
    }
  }
}

TEST_F(Access, OtherUserKeepsGroupOrNarrows) {
  const Entries list{{Entry::Owner, 6},
                     {Entry::User, 6, Nobody},
                     {Entry::OwnGroup, 4},
                     {Entry::Mask, 6},
                     {Entry::Others, 6}};
  const struct {
    unsigned int m_Before;
    unsigned int m_Group;  ///< of the user who saves, besides the user's own
    Entries m_List;
    unsigned int m_After;
  } rows[] = {{0660, Clinic, {}, 0660},
              {0666, 0, {}, 0606},
              {0606, 0, {}, 0600},
              {0600, Clinic, list, 0666},
              {0600, 0, list, 0604}};
  if (geteuid() != 0 || !Set(Target(), AccessList, List(list))) {
    GTEST_SKIP() << "needs other users, and a file system with lists";
  }
  for (const auto& row : rows) {
    fs::remove(Target());
    test::WriteBytes(Target(), "<R>old</R>");
    ASSERT_EQ(chown(Target().c_str(), Doctor, Clinic), 0);
    fs::permissions(Target(), fs::perms(row.m_Before));
    ASSERT_TRUE(row.m_List.empty() || Set(Target(), AccessList, List(row.m_List)));
    ASSERT_EQ(test::Unprivileged([this] { return Save(); }, row.m_Group), 1);
    EXPECT_EQ(Status().st_mode & 07777, row.m_After);
    EXPECT_EQ(Status().st_uid, Nobody);
    EXPECT_EQ(Status().st_gid, row.m_Group != 0 ? Clinic : Nobody);
    EXPECT_EQ(Get(Target(), AccessList).has_value(), row.m_Group != 0 && !row.m_List.empty());
  }
  ASSERT_EQ(chown(Target().c_str(), Doctor, Clinic), 0);
  EXPECT_EQ(Save(), 1);
  EXPECT_EQ(Status().st_uid, Doctor);
  EXPECT_EQ(Status().st_gid, Clinic);
}

TEST_F(Access, NewFileFollowsMask) {
  fs::remove(Target());
  const mode_t mask = umask(027);
  EXPECT_EQ(Save(), 1);
  umask(mask);
  EXPECT_EQ(Status().st_mode & 07777, 0640U);
}

}  // namespace
