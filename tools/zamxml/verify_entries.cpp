#include "verify_entries.h"

#include <fmt/format.h>

#include <string>
#include <unordered_map>
#include <unordered_set>

#include "change_list.h"
#include "stamp.h"
#include "text.h"

namespace {

/// Local times of two places on earth are at most 26 hours apart.
constexpr int FarthestZones = 26;

class EntryVerifier {
public:
  EntryVerifier(const Document& document, std::vector<Finding>& findings)
      : m_Document(document), m_Findings(findings), m_Latest(StampIn(FarthestZones)) {}

  void Run() {
    for (m_Number = 0; m_Number <= m_Document.Last(); ++m_Number) {
      const ZAMXMLModification& modification = m_Document.Modification(m_Number);
      CheckOrigin(modification);
      CheckTime(modification);
      CheckPlaces(modification);
    }
  }

private:
  void Report(FindingCode code, std::string what, ValuePath path = {}) {
    m_Findings.push_back({code, m_Number, std::move(path), std::move(what)});
  }

  void CheckOrigin(const ZAMXMLModification& modification) {
    const std::string uid = modification.m_UID.utf8();
    if (uid.empty()) {
      Report(FindingCode::EmptyUid, "it has no UID");
    } else if (const auto [first, isNew] = m_Uids.emplace(uid, m_Number); !isNew) {
      Report(FindingCode::RepeatedUid,
             fmt::format("its UID is that of modification {}", first->second));
    }
    if (modification.m_UserID.length() == 0) {
      Report(FindingCode::EmptyUser, "it names no user");
    }
  }

  void CheckTime(const ZAMXMLModification& modification) {
    const bool isDate = IsDate(modification.m_Date.utf8());
    const bool isTime = IsTime(modification.m_Time.utf8());
    if (!isDate) {
      Report(FindingCode::BadDate, "its date is " + Quoted(modification.m_Date));
    }
    if (!isTime) {
      Report(FindingCode::BadTime, "its time is " + Quoted(modification.m_Time));
    }
    if (!isDate || !isTime) {
      return;
    }
    const std::string stamp = StampOf(modification);
    if (stamp > m_Latest) {
      Report(FindingCode::FutureTime, stamp + " lies in the future");
    }
    if (stamp < m_Before) {
      Report(FindingCode::EarlierTime, stamp + " is before the time of an earlier modification");
    } else {
      m_Before = stamp;
    }
  }

  void CheckPlaces(const ZAMXMLModification& modification) {
    if (modification.GetCount() == 0) {
      Report(FindingCode::EmptyModification, "it changes nothing");
    }
    std::unordered_set<std::string> places;
    for (const ZAMXMLChangeItem* item : modification.m_Changes) {
      bool isRepeated = false;
      for (const ValuePath& place : TargetsOf(*item)) {
        isRepeated = !places.insert(place.Whole()).second || isRepeated;
      }
      if (isRepeated) {
        Report(FindingCode::RepeatedPlace, "it is changed twice", PathOf(*item));
      }
    }
  }

  const Document& m_Document;
  std::vector<Finding>& m_Findings;
  const std::string m_Latest;
  int m_Number = 0;
  std::string m_Before;
  std::unordered_map<std::string, int> m_Uids;
};

}  // namespace

void VerifyEntries(const Document& document, std::vector<Finding>& findings) {
  EntryVerifier(document, findings).Run();
}
