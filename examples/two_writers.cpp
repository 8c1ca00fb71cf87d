// two_writers DOCUMENT
//
// Two programs have one visit open. The lock and a look at the file keep both changes.

#include "visit.h"

namespace {

int Amend(Visit& visit, const _bstr_t& path, const _bstr_t& comment) {
  ZAMLog log;
  //! [two writers]
  ZAMFileLock lock(path);
  if (lock.Lock(10, &log) == 0 || (visit.IsFileChanged() != 0 && visit.Open(path, &log) == 0)) {
    Show(log);  // another program keeps the lock, or what it has saved cannot be read
    return 1;
  }
  if (visit.BeginModify(u"2.25.4", u"lee", u"Lee, ward 3") == 0 ||
      visit.AddChangeItem(u"", u"StudyInfo/Comment", u"", ZAMXML_VTYPE_STRING, comment) < 0 ||
      visit.CommitModify() == 0 || visit.SetHistoryToLast() == 0 || visit.Save() == 0) {
    Show(visit);
    return 1;
  }
  lock.Unlock();
  //! [two writers]
  return 0;
}

void Run(const _bstr_t& source) {
  const _bstr_t path = u"two_writers.xml";
  SaveNewVisit(source, path);
  Visit ward;
  Visit office;
  Require(ward.Open(path, nullptr) != 0 && office.Open(path, nullptr) != 0, "both open the visit");
  Require(Amend(ward, path, u"seen") == 0 && Amend(office, path, u"billed") == 0, "both amend it");
  Require(office.GetHistoryCount() == 2, "no modification is lost");

  ZAMFileLock lock(path);
  ZAMLog log;
  Require(
      lock.Lock(0, nullptr) != 0 && ZAMFileLock(path).Lock(0, &log) == 0 && log.GetLogCount() == 1,
      "who does not get the lock is told why");
}

}  // namespace

int main(int argc, char** argv) { return RunExample(argc, argv, Run); }
