// ecg_recording DOCUMENT
//
// Keeps a recording of an electrocardiogram in a section of its own: 12 leads, 10 seconds, 500
// samples of 16 bits per second, one binary block for each lead. Saves it, opens it again and
// compares it sample by sample, in both byte orders. The patient comes from the document, which
// stays as it is; the new documents are in the folder that this runs in.

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "visit.h"

namespace {

constexpr std::array LeadNames{u"I",  u"II", u"III", u"aVR", u"aVL", u"aVF",
                               u"V1", u"V2", u"V3",  u"V4",  u"V5",  u"V6"};
constexpr int SamplesPerSecond = 500;
constexpr int SampleCount = 10 * SamplesPerSecond;
constexpr int BigEndian = 1;

using Samples = std::vector<std::int16_t>;

/// A document with a Recording section: one Lead element for each block, with the name of the lead.
class EcgDocument : public ZAMXMLFile {
public:
  struct Lead {
    _bstr_t m_Name;
    ZAMXMLBinary m_Block;
  };

  EcgDocument() {
    SetDefaultDocInfo(u"EXAMPLE_ECG", u"Recording", u"1.0", u"", u"ecg_recording");
    New(nullptr);
  }

  void Clear() override {
    ZAMXMLFile::Clear();
    m_Leads.clear();
  }

  std::vector<Lead> m_Leads;

protected:
  int OnReadNonStandard(ZAMXml& xml, ZAMLog* log) override {
    m_Leads.clear();
    IXMLDOMNodePtr recording = xml.GetNode(u"KESTRANE_ZAM/Recording");
    const int count = xml.GetNodeCount(recording, u"Lead");
    m_Leads.resize(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
      Lead& lead = m_Leads[static_cast<std::size_t>(i)];
      IXMLDOMNodePtr element = xml.GetChildNode(recording, u"Lead", i);
      xml.GetNodeAttribute(element, u"name", lead.m_Name);
      if (lead.m_Block.ReadFromXML(xml, element, log) == 0) {
        return 0;
      }
    }
    return 1;
  }

  int OnWriteNonStandard(ZAMXml& xml, ZAMLog* log) override {
    IXMLDOMNodePtr recording = xml.GetNode(u"KESTRANE_ZAM/Recording");
    if (!recording) {
      recording = xml.AddNode(u"KESTRANE_ZAM/Recording", nullptr);
    }
    xml.RemoveChildNodeAll(recording, u"Lead");
    for (Lead& lead : m_Leads) {
      IXMLDOMNodePtr element = xml.AddChildNode(recording, u"Lead", nullptr);
      if (xml.SetNodeAttribute(element, u"name", lead.m_Name) == 0 ||
          lead.m_Block.WriteToXML(xml, element, log) == 0) {
        return 0;
      }
    }
    return 1;
  }
};

/// One heart beat per second over slow breathing, another height in every lead; the first and last
/// samples are the limits of 16 bits.
Samples Record(std::size_t lead) {
  Samples samples(SampleCount);
  for (int i = 0; i < SampleCount; ++i) {
    const double second = static_cast<double>(i) / SamplesPerSecond;
    const double beat = std::exp(-800 * std::pow(second - std::floor(second) - 0.3, 2));
    const double breath = 0.1 * std::sin(2 * second);
    samples[static_cast<std::size_t>(i)] = static_cast<std::int16_t>(
        std::lround((beat + breath) * 200 * (static_cast<double>(lead) - 3)));
  }
  samples.front() = INT16_MIN;
  samples.back() = INT16_MAX;
  return samples;
}

/// The place of the low (0) or the high (1) byte of a sample in the block's buffer.
std::size_t BytePlace(const ZAMXMLBinary& block, std::size_t sample, std::size_t byte) {
  return 2 * sample + (block.m_ByteOrder == BigEndian ? 1 - byte : byte);
}

void Store(const Samples& samples, int byteOrder, ZAMXMLBinary& block) {
  if (block.AllocBinary(2 * samples.size()) == 0) {
    throw std::runtime_error("There is no memory for a lead.");
  }
  block.m_ByteOrder = byteOrder;
  block.m_BytePerData = 2;
  block.m_CountOfData = static_cast<int>(samples.size());
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const auto bits = static_cast<std::uint16_t>(samples[i]);
    block.GetBinary()[BytePlace(block, i, 0)] = static_cast<unsigned char>(bits);
    block.GetBinary()[BytePlace(block, i, 1)] = static_cast<unsigned char>(bits >> 8);
  }
}

Samples Fetch(const ZAMXMLBinary& block) {
  Samples samples(block.IsValid() && block.m_BytePerData == 2 ? block.m_BinaryLength / 2 : 0);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const int low = block.GetBinary()[BytePlace(block, i, 0)];
    const int high = block.GetBinary()[BytePlace(block, i, 1)];
    samples[i] = static_cast<std::int16_t>(high << 8 | low);
  }
  return samples;
}

std::size_t CountDifferences(const Samples& samples, const Samples& expected) {
  std::size_t differences = samples.size() > expected.size() ? samples.size() - expected.size() : 0;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    differences += i >= samples.size() || samples[i] != expected[i] ? 1 : 0;
  }
  return differences;
}

/// What failed, with the last entry of the log that knows why.
[[noreturn]] void Fail(const char* what, const ZAMLog& log) {
  const int count = log.GetLogCount();
  throw std::runtime_error(std::string(what) + " " +
                           (count > 0 ? log.GetLog(count - 1).m_Text.utf8() : ""));
}

void Save(const _bstr_t& path, int byteOrder, const ZAMXMLPatientInfo& patient) {
  EcgDocument document;
  document.m_PatientInfo = patient;
  document.m_Leads.resize(LeadNames.size());
  for (std::size_t i = 0; i < LeadNames.size(); ++i) {
    document.m_Leads[i].m_Name = LeadNames[i];
    Store(Record(i), byteOrder, document.m_Leads[i].m_Block);
  }
  ZAMLog log;
  if (document.SaveAs(path, &log) == 0) {
    Fail("The recording cannot be saved.", log);
  }
}

/// Opens the document and counts the samples, and leads, that are not what was recorded.
std::size_t Compare(const _bstr_t& path, int byteOrder) {
  EcgDocument document;
  ZAMLog log;
  if (document.Open(path, &log) == 0) {
    Fail("The recording cannot be opened.", log);
  }
  document.m_Leads.resize(LeadNames.size());
  std::size_t differences = 0;
  for (std::size_t i = 0; i < LeadNames.size(); ++i) {
    const EcgDocument::Lead& lead = document.m_Leads[i];
    differences += lead.m_Name == LeadNames[i] && lead.m_Block.m_ByteOrder == byteOrder ? 0 : 1;
    differences += CountDifferences(Fetch(lead.m_Block), Record(i));
  }
  return differences;
}

bool SurvivesRoundTrip(const char* order, int byteOrder, const ZAMXMLPatientInfo& patient) {
  const std::string path = std::string("ecg_recording_") + order + "_endian.xml";
  Save(path.c_str(), byteOrder, patient);
  std::printf("Saved %zu leads of %d samples, %s endian: %ju bytes in %s\n", LeadNames.size(),
              SampleCount, order, static_cast<std::uintmax_t>(std::filesystem::file_size(path)),
              path.c_str());
  const std::size_t differences = Compare(path.c_str(), byteOrder);
  if (differences > 0) {
    std::printf("Opened again: %zu differences\n", differences);
    return false;
  }
  std::printf("Opened again: all %zu samples are the same\n", LeadNames.size() * SampleCount);
  return true;
}

void Run(const _bstr_t& path) {
  ZAMXMLFile source;
  ZAMLog log;
  if (source.Open(path, &log) == 0) {
    Fail("The document of the patient cannot be opened.", log);
  }
  Require(SurvivesRoundTrip("little", 0, source.m_PatientInfo) &&
              SurvivesRoundTrip("big", BigEndian, source.m_PatientInfo),
          "the samples come back in both byte orders");
}

}  // namespace

int main(int argc, char** argv) { return RunExample(argc, argv, Run); }
