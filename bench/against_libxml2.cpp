// What this library takes for its roads, against a host that does the same work with libxml2 and
// against bare steps. Prints ratios of medians; each round takes every way in turn, so that the
// load of the machine falls on all of them. Times are processor times.

#include <ZAMXMLData.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <vector>

#include "libxml2_host.h"
#include "sample_documents.h"

namespace {

constexpr int Rounds = 7;
/// What takes less than a millisecond needs more of them.
constexpr int RoundsWhereSmall = 151;

double Now() {
  std::timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/// A way to measure: what is made for one round, and destroyed after it, stays out of the time.
struct Way {
  std::function<std::function<void()>()> m_Prepare;
  std::vector<double> m_Seconds;

  void Measure() {
    const std::function<void()> step = m_Prepare();
    const double start = Now();
    step();
    m_Seconds.push_back(Now() - start);
  }
  double Median() {
    const auto middle = m_Seconds.begin() + static_cast<std::ptrdiff_t>(m_Seconds.size() / 2);
    std::nth_element(m_Seconds.begin(), middle, m_Seconds.end());
    return *middle;
  }
};

void MeasureInTurn(std::vector<Way>& ways, int rounds = Rounds) {
  for (int round = 0; round < rounds; ++round) {
    for (Way& way : ways) {
      way.Measure();
    }
  }
}

using Document = std::shared_ptr<ZAMXMLFile>;

Document Opened(const std::string& path) {
  auto document = std::make_shared<ZAMXMLFile>();
  Require(document->Open(path, nullptr));
  return document;
}

void RecordOneChange(ZAMXMLFile& document) {
  Require(document.BeginModify(u"2.25.1", u"user", u"User"));
  document.AddChangeItem(u"", u"PatientInfo/ID", u"", ZAMXML_VTYPE_STRING, u"P1");
  Require(document.CommitModify());
}

Way OurOpen(const std::string& path) {
  return {[&path] {
            return [&path, document = std::make_shared<ZAMXMLFile>()] {
              Require(document->Open(path, nullptr));
            };
          },
          {}};
}

/// What a host does that shows the list: afterwards it may have changed any entry.
void ReadList(ZAMXMLFile& document) {
  for (const ZAMXMLModification* const entry : document.m_Modifications.m_ModificationList) {
    Require(entry->GetCount());
  }
}

void MoveBothWays(ZAMXMLFile& document) {
  Require(document.SetHistoryToOriginal());
  Require(document.SetHistoryToLast());
}

/// A step on a document that has just been opened, and of which the host has read the list.
Way OursSeen(const std::string& path, std::function<void(ZAMXMLFile&)> step) {
  return {[&path, step] {
            auto document = Opened(path);
            ReadList(*document);
            return [step, document] { step(*document); };
          },
          {}};
}

/// A step on a document that has just been opened.
Way Ours(const std::string& path, std::function<void(ZAMXMLFile&)> step) {
  return {[&path, step] { return [step, document = Opened(path)] { step(*document); }; }, {}};
}

Way HostOpen(const std::string& path) {
  return {[&path] {
            return [&path, host = std::make_shared<std::optional<Libxml2Host>>()] {
              host->emplace(path);
            };
          },
          {}};
}

Way Host(const std::string& path, std::function<void(Libxml2Host&)> step) {
  return {
      [&path, step] { return [step, host = std::make_shared<Libxml2Host>(path)] { step(*host); }; },
      {}};
}

void ToUtf16(const pugi::xml_node& node, std::vector<_bstr_t>& texts) {
  for (const pugi::xml_node& child : node.children()) {
    if (child.type() == pugi::node_element) {
      ToUtf16(child, texts);
    } else {
      texts.push_back(_bstr_t::FromUtf8(child.value()));
    }
  }
}

/// The least that opening takes: read, check strictly, make a tree, convert each text once.
Way BareOpen(const std::string& path) {
  return {[&path] {
            return [&path, tree = std::make_shared<pugi::xml_document>(),
                    texts = std::make_shared<std::vector<_bstr_t>>()] {
              std::ifstream file(path, std::ios::binary);
              std::string bytes(std::filesystem::file_size(path), '\0');
              file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
              xmlSAXHandler silent{};
              silent.initialized = XML_SAX2_MAGIC;
              Require(xmlSAXUserParseMemory(&silent, nullptr, bytes.data(),
                                            static_cast<int>(bytes.size())) == 0
                          ? 1
                          : 0);
              Require(tree->load_buffer(bytes.data(), bytes.size()) ? 1 : 0);
              ToUtf16(*tree, *texts);
            };
          },
          {}};
}

/// The most memory that a step takes in a process of its own, for each byte of the file.
double PeakPerByte(const SampleDocument& document, const std::function<void()>& step) {
  const pid_t child = fork();
  if (child == 0) {
    step();
    _exit(0);
  }
  int status = 0;
  rusage usage{};
  rusage own{};
  getrusage(RUSAGE_SELF, &own);
  Require(wait4(child, &status, 0, &usage) == child && status == 0 ? 1 : 0);
  return 1024 * static_cast<double>(usage.ru_maxrss - own.ru_maxrss) / document.Size();
}

void PrintRow(const char* document, const char* road, double value, const char* goal) {
  std::printf("| %s | %s | %.2f | %s |\n", document, road, value, goal);
  std::fflush(stdout);
}

void PrintMemory() {
  const SampleDocument document = SampleDocument::History(20000);
  const std::string& path = document.Path();
  PrintRow("history", "peak memory per byte, opened",
           PeakPerByte(document, [&path] { Opened(path); }), "<= 7");
  PrintRow("history", "peak memory per byte, while editing",
           PeakPerByte(document, [&path] { RecordOneChange(*Opened(path)); }), "<= 12");
  PrintRow("history", "peak memory per byte, libxml2 host",
           PeakPerByte(document, [&path] { Libxml2Host host(path); }), "");
}

struct Goals {
  const char* m_Open;
  const char* m_Move;
  const char* m_Save;
  const char* m_Step;
  const char* m_Bare;
  const char* m_Edit;
};

void PrintRoads(const char* name, const SampleDocument& document, const Goals& goals) {
  const std::string& path = document.Path();
  const std::string target = path + ".saved";
  const auto save = [&target](ZAMXMLFile& opened) { Require(opened.SaveAs(target, nullptr)); };
  enum {
    Open,
    Move,
    SeenMove,
    Save,
    Step,
    Edit,
    TheirOpen,
    TheirMove,
    TheirOverwrite,
    TheirReplace,
    TheirList,
    Bare,
    Count
  };
  std::vector<Way> ways(Count);
  ways[Open] = OurOpen(path);
  ways[Move] = Ours(path, MoveBothWays);
  ways[SeenMove] = OursSeen(path, MoveBothWays);
  ways[Save] = Ours(path, save);
  ways[Step] = Ours(
      path, [](ZAMXMLFile& opened) { Require(opened.SetHistory(opened.GetHistoryCount() - 2)); });
  ways[Edit] = Ours(path, RecordOneChange);
  ways[TheirOpen] = HostOpen(path);
  ways[TheirMove] = Host(path, [](Libxml2Host& host) { host.UndoAll(), host.RedoAll(); });
  ways[TheirOverwrite] = Host(path, [&target](Libxml2Host& host) { host.Overwrite(target); });
  ways[TheirReplace] = Host(path, [&target](Libxml2Host& host) { host.Replace(target); });
  ways[TheirList] = Host(path, [](Libxml2Host& host) { host.ReadHistory(); });
  ways[Bare] = BareOpen(path);
  MeasureInTurn(ways, document.Size() < 1e5 ? RoundsWhereSmall : Rounds);
  std::filesystem::remove(target);
  std::vector<double> medians;
  for (Way& way : ways) {
    medians.push_back(way.Median());
  }
  PrintRow(name, "open / libxml2 host", medians[Open] / medians[TheirOpen], goals.m_Open);
  PrintRow(name, "to the original and back / libxml2 host", medians[Move] / medians[TheirMove],
           goals.m_Move);
  PrintRow(name, "to the original and back / libxml2 host, after a look at the list",
           medians[SeenMove] / medians[TheirMove], goals.m_Move);
  PrintRow(name, "save / libxml2 host that overwrites its file",
           medians[Save] / medians[TheirOverwrite], goals.m_Save);
  PrintRow(name, "save / libxml2 host that replaces and flushes it",
           medians[Save] / medians[TheirReplace], goals.m_Save);
  PrintRow(name, "one step / reading the list by hand", medians[Step] / medians[TheirList],
           goals.m_Step);
  PrintRow(name, "open / (read + check + pugixml + every text to UTF-16)",
           medians[Open] / medians[Bare], goals.m_Bare);
  PrintRow(name, "begin + change + commit / (save + open)",
           medians[Edit] / (medians[Save] + medians[Open]), goals.m_Edit);
  std::printf(
      "\n%s, %.3f MB, milliseconds: open %.3f, original and back %.3f, save %.3f, step %.3f, "
      "edit %.3f; libxml2 host: open %.3f, moves %.3f, overwrite %.3f, replace %.3f, "
      "list %.3f; bare open "
      "%.3f\n\n",
      name, 1e-6 * document.Size(), 1e3 * medians[Open], 1e3 * medians[Move], 1e3 * medians[Save],
      1e3 * medians[Step], 1e3 * medians[Edit], 1e3 * medians[TheirOpen], 1e3 * medians[TheirMove],
      1e3 * medians[TheirOverwrite], 1e3 * medians[TheirReplace], 1e3 * medians[TheirList],
      1e3 * medians[Bare]);
}

/// How much more one modification costs in a long history than in a short one.
void PrintGrowth() {
  constexpr int Short = 1000;
  constexpr int Long = 100000;
  const SampleDocument small = SampleDocument::History(Short);
  const SampleDocument large = SampleDocument::History(Long);
  const std::string target = small.Path() + ".saved";
  const auto toOriginal = [](ZAMXMLFile& opened) { Require(opened.SetHistoryToOriginal()); };
  const auto step = [](ZAMXMLFile& opened) {
    Require(opened.SetHistory(opened.GetHistoryCount() - 2));
  };
  const struct {
    const char* m_Road;
    std::function<void(ZAMXMLFile&)> m_Step;
    bool m_IsSeen = false;
  } roads[] = {
      {"growth of opening", nullptr},
      {"growth of moving to the original", toOriginal},
      {"growth of moving to the original, after a look at the list", toOriginal, true},
      {"growth of one step", step},
      {"growth of one step, after a look at the list", step, true},
      {"growth of saving", [&](ZAMXMLFile& opened) { Require(opened.SaveAs(target, nullptr)); }},
      {"growth of an edit", RecordOneChange}};
  for (const auto& road : roads) {
    std::vector<Way> ways;
    for (const SampleDocument* document : {&small, &large}) {
      const std::string& path = document->Path();
      ways.push_back(road.m_IsSeen ? OursSeen(path, road.m_Step)
                     : road.m_Step ? Ours(path, road.m_Step)
                                   : OurOpen(path));
    }
    MeasureInTurn(ways);
    PrintRow("1,000 to 100,000 modifications", road.m_Road,
             ways[1].Median() / ways[0].Median() * Short / Long, "<= 1.2");
  }
  std::filesystem::remove(target);
}

}  // namespace

int main() {
  std::printf("| document | road | ratio | goal |\n|---|---|---|---|\n");
  PrintMemory();
  PrintRoads("history", SampleDocument::History(20000),
             {"<= 0.8", "<= 0.5", "<= 0.8", "<= 1.0", "<= 1.0", "<= 1.3"});
  PrintRoads("data", SampleDocument::Data(360000), {"<= 1.2", "", "<= 0.6", "", "", "<= 1.5"});
  PrintRoads("small", SampleDocument::History(10), {"<= 0.8", "", "<= 0.8", "", "", ""});
  PrintGrowth();
}
