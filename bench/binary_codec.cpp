// One million samples of 16 bits as text: the block's codec against a bare loop of the standard
// library's conversions in 8-bit text, and a whole block in a tree against the same loop. The three
// take turns, so that the load of the machine falls on all of them; the counters are their ratios.

#include <ZAMXMLData.h>
#include <benchmark/benchmark.h>

#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int Count = 1'000'000;
constexpr std::size_t ByteCount = 2 * std::size_t{Count};
using Samples = std::vector<std::int16_t>;

template <class Step>
double Seconds(Step step) {
  const auto start = std::chrono::steady_clock::now();
  step();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

Samples MakeSamples() {
  std::mt19937 random(1);
  Samples samples(Count);
  for (std::int16_t& sample : samples) {
    sample = static_cast<std::int16_t>(random());
  }
  return samples;
}

ZAMXMLBinary MakeBlock(const Samples& samples) {
  ZAMXMLBinary block;
  block.AllocBinary(ByteCount);
  std::memcpy(block.GetBinary(), samples.data(), ByteCount);
  block.m_ByteOrder = ZAMGF::IsHostBigEndian();
  block.m_CountOfData = Count;
  return block;
}

void EncodeBare(const Samples& samples, std::string& text) {
  text.resize(samples.size() * 7);
  char* end = text.data();
  for (const std::int16_t sample : samples) {
    end = std::to_chars(end, end + 6, sample).ptr;
    *end++ = ',';
  }
  text.resize(static_cast<std::size_t>(end - text.data()) - 1);
}

void DecodeBare(const std::string& text, Samples& samples) {
  const char* position = text.data();
  const char* const end = position + text.size();
  for (std::int16_t& sample : samples) {
    position = std::from_chars(position, end, sample).ptr;
    position += position != end ? 1 : 0;
  }
}

/// Measured times of the three ways, summed over the iterations.
struct Times {
  double m_Bare = 0;
  double m_Codec = 0;
  double m_Block = 0;

  void Report(benchmark::State& state) const {
    const auto milliseconds = [&](double seconds) {
      return benchmark::Counter(1000 * seconds, benchmark::Counter::kAvgIterations);
    };
    state.counters["bare_ms"] = milliseconds(m_Bare);
    state.counters["codec_ms"] = milliseconds(m_Codec);
    state.counters["block_ms"] = milliseconds(m_Block);
    state.counters["codec/bare"] = m_Codec / m_Bare;
    state.counters["block/bare"] = m_Block / m_Bare;
  }
};

void Encode(benchmark::State& state) {
  const Samples samples = MakeSamples();
  ZAMXMLBinary block = MakeBlock(samples);
  Times times;
  while (state.KeepRunning()) {
    std::string bare(samples.size() * 7, '\0');
    CString text;
    ZAMXml xml;
    xml.New(nullptr);
    xml.CreateRoot(u"Block");
    IXMLDOMNodePtr root = xml.GetNode(u"Block");
    times.m_Bare += Seconds([&] { EncodeBare(samples, bare); });
    times.m_Codec += Seconds(
        [&] { ZAMXMLBinary::EncodeSeparateValue(text, u",", block.GetBinary(), 2, Count, 0); });
    times.m_Block += Seconds([&] { block.WriteToXML(xml, root, nullptr); });
    if (CString(_bstr_t(bare.c_str())) != text || xml.GetNodeCount(root, u"Data") != 200) {
      state.SkipWithError("the texts differ");
    }
  }
  times.Report(state);
}

void Decode(benchmark::State& state) {
  const Samples samples = MakeSamples();
  std::string bare;
  EncodeBare(samples, bare);
  const CString text{_bstr_t(bare.c_str())};
  ZAMXml xml;
  xml.New(nullptr);
  xml.CreateRoot(u"Block");
  IXMLDOMNodePtr root = xml.GetNode(u"Block");
  MakeBlock(samples).WriteToXML(xml, root, nullptr);
  Times times;
  while (state.KeepRunning()) {
    Samples bareSamples(samples.size());
    Samples codecSamples(samples.size());
    ZAMXMLBinary block;
    times.m_Bare += Seconds([&] { DecodeBare(bare, bareSamples); });
    times.m_Codec += Seconds([&] {
      ZAMXMLBinary::DecodeSeparateValue(
          text, u",", reinterpret_cast<unsigned char*>(codecSamples.data()), 2, Count);
    });
    times.m_Block += Seconds([&] { block.ReadFromXML(xml, root, nullptr); });
    if (bareSamples != samples || codecSamples != samples || block.m_BinaryLength != ByteCount ||
        std::memcmp(block.GetBinary(), samples.data(), ByteCount) != 0) {
      state.SkipWithError("the samples differ");
    }
  }
  times.Report(state);
}

BENCHMARK(Encode)->Unit(benchmark::kMillisecond)->MinTime(2);
BENCHMARK(Decode)->Unit(benchmark::kMillisecond)->MinTime(2);

}  // namespace
