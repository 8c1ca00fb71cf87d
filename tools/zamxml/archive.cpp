#include "archive.h"

#include <fmt/format.h>
#include <unistd.h>

#include <condition_variable>
#include <exception>
#include <map>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "memory.h"
#include "output.h"
#include "text.h"

namespace {

constexpr unsigned int MaximumJobs = 1024;

/// Runs the work on all threads. The thread that ends the document whose turn it is takes it, and
/// those behind it that have ended already.
class Crew {
public:
  Crew(const ArchiveOptions& options, const std::function<Turn(const std::string&)>& work,
       const Tell& tell)
      : m_Finder(options), m_Work(work), m_Tell(tell), m_Window(4 * std::size_t{options.m_Jobs}) {}

  ArchiveCounts Run(unsigned int jobs) {
    {
      std::vector<std::jthread> helpers;
      try {
        for (unsigned int i = 1; i < jobs; ++i) {
          helpers.emplace_back([this] { Help(); });
        }
      } catch (const std::system_error&) {
        // Fewer helpers take longer.
      }
      Help();
    }
    if (m_Error) {
      std::rethrow_exception(m_Error);
    }
    m_Counts.m_Others = m_Finder.Others();
    return m_Counts;
  }

private:
  void Help() noexcept {
    std::unique_lock lock(m_Mutex);
    try {
      HelpOn(lock);
    } catch (...) {
      if (!lock.owns_lock()) {
        lock.lock();
      }
      m_Error = m_Error ? m_Error : std::current_exception();
    }
    m_IsOver = true;
    m_Changed.notify_all();
  }

  void HelpOn(std::unique_lock<std::mutex>& lock) {
    for (;;) {
      // Who is far ahead waits, so that no more than a few results are kept.
      m_Changed.wait(lock, [this] { return m_IsOver || m_Given - m_Taken < m_Window; });
      if (m_IsOver) {
        return;
      }
      const std::optional<Found> found = m_Finder.Next();
      if (!found) {
        return;
      }
      const std::size_t number = m_Given++;
      lock.unlock();
      Turn turn = Look(*found);
      lock.lock();
      m_Turns.emplace(number, std::move(turn));
      if (!m_Error) {
        TakeTurns();
      }
    }
  }

  /// What is found while the memory runs short is no result.
  Turn Look(const Found& found) {
    std::string error = found.m_Error;
    if (error.empty()) {
      try {
        Turn turn = m_Work(found.m_Name);
        RequireMemory();
        return [this, turn = std::move(turn)] {
          ++m_Counts.m_Documents;
          turn();
        };
      } catch (const std::exception& raised) {
        const bool isShortage = RanShort() || IsShortage(raised);
        ForgetShortage();
        const auto* failure = dynamic_cast<const Failure*>(&raised);
        error = isShortage           ? "not enough memory"
                : failure != nullptr ? failure->Message()
                                     : raised.what();
      }
    }
    return [this, name = found.m_Name, error, isRefused = found.m_Refused] {
      m_Counts.m_Refused += isRefused ? 1 : 0;
      m_Counts.m_Documents += isRefused ? 0 : 1;
      m_Counts.m_Unreadable += isRefused ? 0 : 1;
      if (m_Tell) {
        m_Tell(name, error);
      }
      WriteError({Printable(_bstr_t::FromUtf8(name)), error});
    };
  }

  void TakeTurns() {
    for (auto first = m_Turns.begin(); first != m_Turns.end() && first->first == m_Taken;
         first = m_Turns.erase(first), ++m_Taken) {
      m_Progress.Clear();
      first->second();
      m_Progress.Advance();
    }
    m_Changed.notify_all();
  }

  std::mutex m_Mutex;
  std::condition_variable m_Changed;
  DocumentFinder m_Finder;
  const std::function<Turn(const std::string&)>& m_Work;
  const Tell& m_Tell;
  const std::size_t m_Window;
  std::map<std::size_t, Turn> m_Turns;
  std::size_t m_Given = 0;
  std::size_t m_Taken = 0;
  bool m_IsOver = false;
  std::exception_ptr m_Error;
  ArchiveCounts m_Counts;
  Progress m_Progress;
};

}  // namespace

void DescribeArchive(Verb& verb, ArchiveOptions& options) {
  verb.Flag("-r,--recursive", options.m_Recursive, "Look at every .xml file in folders");
  verb.Number("-j,--jobs", options.m_Jobs, 1, MaximumJobs, "Documents looked at side by side");
}

void DescribeFiles(Verb& verb, ArchiveOptions& options) {
  verb.Texts("FILE", options.m_Files, "Documents, or folders with -r", Presence::Required);
  DescribeArchive(verb, options);
}

Exit ArchiveCounts::Code() const {
  if (m_Refused != 0 || (m_Unreadable != 0 && m_Unreadable == m_Documents)) {
    return ExitFailed;
  }
  return m_Unreadable == 0 ? ExitFine : ExitFinding;
}

ArchiveCounts ForEachTurn(const ArchiveOptions& options,
                          const std::function<Turn(const std::string& name)>& work,
                          const Tell& tell) {
  const bool isOne = !options.m_Recursive && options.m_Files.size() == 1;
  return Crew(options, work, tell).Run(isOne ? 1 : options.m_Jobs);
}

void WriteSummary(const ArchiveCounts& counts, std::string_view found) {
  std::string line = fmt::format("{}, {}, {} unreadable", Counted(counts.m_Documents, "document"),
                                 found, Grouped(counts.m_Unreadable));
  if (counts.m_Others != 0) {
    line += fmt::format("; {} of {} passed over", Counted(counts.m_Others, "file"),
                        counts.m_Others == 1 ? "another name" : "other names");
  }
  WriteAll(STDERR_FILENO, line + '\n');
}
