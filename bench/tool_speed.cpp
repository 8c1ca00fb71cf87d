// How the command-line tool does beside the library: ZAMXML_TOOL names the program, "zamxml"
// otherwise. ToolLog counts "of_open", its time over the library's open of the same file;
// CheckFolder counts "cores", the processor time that it used over the time that it took.

#include <ZAMXMLData.h>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "sample_documents.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int Modifications = 10000;
constexpr int Documents = 10000;

double Seconds(Clock::duration time) { return std::chrono::duration<double>(time).count(); }
double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

/// A folder that is gone with this object.
class Scratch {
public:
  Scratch() {
    std::string name = (fs::temp_directory_path() / "zamxml-bench-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
      throw std::runtime_error("no temporary folder");
    }
    m_Path = name;
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() { fs::remove_all(m_Path); }

  fs::path m_Path;
};

struct Usage {
  double m_Wall = 0;
  double m_Processor = 0;
};

/// Runs the tool with its output thrown away; anything but exit code 0 ends the benchmark.
Usage RunTool(std::vector<std::string> arguments) {
  const char* tool = std::getenv("ZAMXML_TOOL");
  arguments.insert(arguments.begin(), tool != nullptr ? tool : "zamxml");
  std::vector<char*> pointers;
  for (std::string& argument : arguments) {
    pointers.push_back(argument.data());
  }
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  const auto start = Clock::now();
  pid_t process = 0;
  const int failed =
      ::posix_spawnp(&process, pointers[0], &actions, nullptr, pointers.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  int status = -1;
  rusage used{};
  if (failed != 0 || ::wait4(process, &status, 0, &used) != process || status != 0) {
    throw std::runtime_error("the tool failed: " + arguments.front());
  }
  return {Seconds(Clock::now() - start), Seconds(used.ru_utime) + Seconds(used.ru_stime)};
}

double OpenTime(const std::string& path) {
  const auto start = Clock::now();
  ZAMXMLFile document;
  if (document.Open(path, nullptr) == 0 || document.GetHistoryCount() != Modifications) {
    throw std::runtime_error("the document was not opened whole");
  }
  return Seconds(Clock::now() - start);
}

void ToolLog(benchmark::State& state) {
  const SampleDocument document = SampleDocument::History(Modifications);
  double open = 0;
  double log = 0;
  for (auto _ : state) {
    state.PauseTiming();
    open += OpenTime(document.Path());
    state.ResumeTiming();
    log += RunTool({"log", document.Path()}).m_Wall;
  }
  state.counters["of_open"] = log / open;
}
BENCHMARK(ToolLog)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(10);

void CheckFolder(benchmark::State& state) {
  const Scratch scratch;
  const SampleDocument document = SampleDocument::History(3);
  for (int i = 0; i < Documents; ++i) {
    fs::copy_file(document.Path(), scratch.m_Path / (std::to_string(i) + ".xml"));
  }
  Usage sum;
  for (auto _ : state) {
    const Usage usage =
        RunTool({"check", "-r", scratch.m_Path.string(), "--jobs", std::to_string(state.range(0))});
    sum.m_Wall += usage.m_Wall;
    sum.m_Processor += usage.m_Processor;
  }
  state.counters["cores"] = sum.m_Processor / sum.m_Wall;
}
BENCHMARK(CheckFolder)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(2);

}  // namespace
