#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>

inline void Require(int result) {
  if (result == 0) {
    throw std::runtime_error("an operation failed");
  }
}

/// The documents that are measured, each in a file that is removed at the end.
class SampleDocument {
public:
  /// A history: each modification changes two of five values.
  static SampleDocument History(int modifications) {
    SampleDocument document("history_" + std::to_string(modifications));
    document.Write("", modifications);
    return document;
  }

  /// Twelve leads of samples, in a section that the library does not know, and ten modifications.
  static SampleDocument Data(int samplesPerLead) {
    std::mt19937 random(1);
    std::string leads = "\t<Recording>\n";
    for (int lead = 0; lead < 12; ++lead) {
      leads +=
          "\t\t<Lead>\n\t\t\t<Encoding code=\"0\">CSV</Encoding>\n\t\t\t<ByteOrder code=\"0\">"
          "LITTLE</ByteOrder>\n\t\t\t<BytePerData>2</BytePerData>\n\t\t\t<CountOfData>" +
          std::to_string(samplesPerLead) + "</CountOfData>\n";
      for (int first = 0; first < samplesPerLead; first += 5000) {
        leads += "\t\t\t<Data start=\"" + std::to_string(2 * first) + "\" length=\"10000\">";
        for (int sample = 0; sample < 5000; ++sample) {
          leads += sample != 0 ? "," : "";
          leads += std::to_string(static_cast<int>(random() % 400) - 200);
        }
        leads += "</Data>\n";
      }
      leads += "\t\t</Lead>\n";
    }
    SampleDocument document("data");
    document.Write(leads + "\t</Recording>\n", 10);
    return document;
  }

  SampleDocument(SampleDocument&& other) noexcept : m_Path(std::move(other.m_Path)) {
    other.m_Path.clear();
  }
  SampleDocument& operator=(SampleDocument&&) = delete;
  ~SampleDocument() {
    if (!m_Path.empty()) {
      std::filesystem::remove(m_Path);
    }
  }

  const std::string& Path() const { return m_Path; }
  double Size() const { return static_cast<double>(std::filesystem::file_size(m_Path)); }

private:
  explicit SampleDocument(const std::string& name)
      : m_Path(std::filesystem::temp_directory_path() / ("zamxml_bench_" + name + ".xml")) {}

  static std::string Item(int change) {
    static const char* const paths[] = {"PatientInfo/Weight", "PatientInfo/Height",
                                        "PatientInfo/BackupID", "OrderInfo/Comment",
                                        "StudyInfo/Comment"};
    const std::string value = "value of change ";
    return std::string("\t\t\t\t<Item>\n\t\t\t\t\t<Node>") + paths[change % 5] +
           "</Node>\n\t\t\t\t\t<Attribute/>\n\t\t\t\t\t<ValueType>STRING</ValueType>\n"
           "\t\t\t\t\t<OldValue>" +
           (change < 5 ? "-" : value + std::to_string(change - 5)) +
           "</OldValue>\n\t\t\t\t\t<NewValue>" + value + std::to_string(change) +
           "</NewValue>\n\t\t\t\t</Item>\n";
  }

  void Write(const std::string& section, int modifications) const {
    std::ofstream file(m_Path, std::ios::binary);
    file << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<KESTRANE_ZAM>\n"
            "\t<DocumentInfo>\n\t\t<ID>UNKNOWN</ID>\n\t</"
            "DocumentInfo>\n\t<PatientInfo>\n\t\t<ID>1</ID>\n"
            "\t\t<Name>\n\t\t\t<Full>박 리나</Full>\n\t\t</Name>\n\t\t<Height>-</Height>\n"
            "\t\t<Weight>-</Weight>\n\t\t<BackupID>-</BackupID>\n\t</"
            "PatientInfo>\n\t<OrderInfo>\n\t\t<ID>1</ID>\n"
            "\t\t<Comment>-</Comment>\n\t</OrderInfo>\n\t<StudyInfo>\n\t\t<ID>1</"
            "ID>\n\t\t<Comment>-</Comment>\n"
            "\t</StudyInfo>\n"
         << section << "\t<Modifications>\n";
    for (int number = 0; number < modifications; ++number) {
      file << "\t\t<Modification>\n\t\t\t<UID>2.25.32980073569858662929564197851150617" << number
           << "</UID>\n\t\t\t<Date>2024-03-05</Date>\n\t\t\t<Time>11:02:17</Time>\n"
              "\t\t\t<UserID>rpark</UserID>\n\t\t\t<UserName>박 리나</UserName>\n\t\t\t<Changes>\n"
           << Item(2 * number) << Item(2 * number + 1) << "\t\t\t</Changes>\n\t\t</Modification>\n";
    }
    file << "\t</Modifications>\n</KESTRANE_ZAM>\n";
    if (!file.flush()) {
      throw std::runtime_error("cannot write " + m_Path);
    }
  }

  std::string m_Path;
};
