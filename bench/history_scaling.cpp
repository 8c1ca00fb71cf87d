#include <ZAMXMLData.h>
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <filesystem>
#include <stdexcept>
#include <string>

#include "sample_documents.h"

/// The cost of each operation against the number of modifications in the document. The counter
/// "per_modification" has to stay level from row to row of one operation; "memory_per_byte" is what
/// an opened document holds for each byte of its file.

namespace {

double MemoryInUse() {
  const struct mallinfo2 info = mallinfo2();
  return static_cast<double>(info.uordblks) + static_cast<double>(info.hblkhd);
}

void Report(benchmark::State& state) {
  state.counters["per_modification"] = benchmark::Counter(
      static_cast<double>(state.range(0)),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  state.SetComplexityN(state.range(0));
}

void Open(benchmark::State& state) {
  const SampleDocument file = SampleDocument::History(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    ZAMXMLFile document;
    Require(document.Open(file.Path(), nullptr));
  }
  const double before = MemoryInUse();
  ZAMXMLFile document;
  Require(document.Open(file.Path(), nullptr));
  state.counters["memory_per_byte"] = (MemoryInUse() - before) / file.Size();
  Report(state);
}

/// Runs a step on an opened document, which the step leaves as it was.
template <class Step>
void OnOpened(benchmark::State& state, Step step) {
  const SampleDocument file = SampleDocument::History(static_cast<int>(state.range(0)));
  ZAMXMLFile document;
  Require(document.Open(file.Path(), nullptr));
  for (auto _ : state) {
    step(document);
  }
  Report(state);
}

void OneStepBackAndForth(benchmark::State& state) {
  OnOpened(state, [](ZAMXMLFile& document) {
    Require(document.SetHistory(document.GetHistoryCount() - 2));
    Require(document.SetHistoryToLast());
  });
}

void ToOriginalAndBack(benchmark::State& state) {
  OnOpened(state, [](ZAMXMLFile& document) {
    Require(document.SetHistoryToOriginal());
    Require(document.SetHistoryToLast());
  });
}

void BeginModify(benchmark::State& state) {
  OnOpened(state, [](ZAMXMLFile& document) {
    Require(document.BeginModify(u"2.25.1", u"user", u"User"));
  });
}

void BeginAndCommit(benchmark::State& state) {
  OnOpened(state, [](ZAMXMLFile& document) {
    Require(document.BeginModify(u"2.25.1", u"user", u"User"));
    document.AddChangeItem(u"", u"PatientInfo/ID", u"", ZAMXML_VTYPE_STRING, u"P1");
    Require(document.CommitModify());
  });
}

void Save(benchmark::State& state) {
  const std::string target =
      (std::filesystem::temp_directory_path() / "history_scaling_saved.xml").string();
  OnOpened(state,
           [&target](ZAMXMLFile& document) { Require(document.SaveAs(target.c_str(), nullptr)); });
  std::filesystem::remove(target);
}

/// One modification with n items, each of them an element of its own that is not there yet.
void CommitAndShowItems(benchmark::State& state) {
  const SampleDocument file = SampleDocument::History(1);
  for (auto _ : state) {
    ZAMXMLFile document;
    Require(document.Open(file.Path(), nullptr));
    Require(document.BeginModify(u"2.25.1", u"user", u"User"));
    for (int i = 0; i < state.range(0); ++i) {
      const std::string path = "Notes/Note" + std::to_string(i);
      document.AddChangeItem(u"", path.c_str(), u"", ZAMXML_VTYPE_STRING, u"text");
    }
    Require(document.CommitModify());
    Require(document.SetHistoryToLast());
  }
  Report(state);
}

void StatementsAndQuestions(benchmark::State& state) {
  ZAMXMLStatement statements;
  ZAMXMLExtraQuestion questions;
  for (int i = 0; i < state.range(0); ++i) {
    statements.AddStatement(u"statement");
    questions.AddQuestion(u"question", u"answer");
  }
  for (auto _ : state) {
    ZAMXml xml;
    Require(xml.New(nullptr));
    Require(xml.CreateRoot(u"Root"));
    IXMLDOMNodePtr root = xml.GetNode(u"Root");
    Require(statements.WriteToXML(xml, root, nullptr));
    Require(questions.WriteToXML(xml, root, nullptr));
    ZAMXMLStatement statementsRead;
    ZAMXMLExtraQuestion questionsRead;
    Require(statementsRead.ReadFromXML(xml, root, nullptr));
    Require(questionsRead.ReadFromXML(xml, root, nullptr));
    Require(questionsRead.GetCount() == statementsRead.GetCount() ? 1 : 0);
  }
  Report(state);
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->RangeMultiplier(10)->Range(100, 100000)->Unit(benchmark::kMillisecond)->Complexity();
}

BENCHMARK(Open)->Apply(Sizes);
BENCHMARK(OneStepBackAndForth)->Apply(Sizes);
BENCHMARK(ToOriginalAndBack)->Apply(Sizes);
BENCHMARK(BeginModify)->Apply(Sizes);
BENCHMARK(BeginAndCommit)->Apply(Sizes)->Iterations(3);
BENCHMARK(Save)->Apply(Sizes);
BENCHMARK(CommitAndShowItems)->Apply(Sizes);
BENCHMARK(StatementsAndQuestions)->Apply(Sizes);

}  // namespace
