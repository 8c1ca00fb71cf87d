#include "support/tree.h"

#include <stdlib.h>

#include <fstream>
#include <iterator>
#include <ostream>
#include <regex>
#include <stdexcept>

void PrintTo(const _bstr_t& text, std::ostream* stream) {
  if (!text) {
    *stream << "null";
  } else {
    *stream << '"' << text.utf8() << '"';
  }
}

namespace test {
namespace {

[[noreturn]] void Fail(const std::string& what, const ZAMLog& log) {
  const int count = log.GetLogCount();
  throw std::runtime_error(what + (count > 0 ? ": " + log.GetLog(count - 1).m_Text.utf8() : ""));
}

}  // namespace

TemporaryFolder::TemporaryFolder(Medium medium) {
  const std::filesystem::path memory = "/dev/shm";
  const bool inMemory = medium == Medium::Memory && std::filesystem::is_directory(memory);
  std::string name =
      ((inMemory ? memory : std::filesystem::temp_directory_path()) / "zamxml-test-XXXXXX")
          .string();
  if (mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("No temporary folder");
  }
  m_Path = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(m_Path, ignored);
}

std::string ReadBytes(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw std::runtime_error("Cannot read " + path.string());
  }
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteBytes(const std::filesystem::path& path, std::string_view bytes) {
  std::ofstream file(path, std::ios::binary);
  if (!file.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush()) {
    throw std::runtime_error("Cannot write " + path.string());
  }
}

std::string Utf16(const _bstr_t& text, bool bigEndian) {
  std::string bytes;
  for (const char16_t unit : text.view()) {
    const char high = static_cast<char>(unit >> 8);
    const char low = static_cast<char>(unit & 0xFF);
    bytes += bigEndian ? high : low;
    bytes += bigEndian ? low : high;
  }
  return bytes;
}

void Load(ZAMXml& xml, std::string_view bytes) {
  const TemporaryFolder folder(TemporaryFolder::Medium::Memory);
  WriteBytes(folder.Path("document.xml"), bytes);
  if (xml.Open(folder.Path("document.xml").c_str(), nullptr) == 0) {
    Fail("Cannot open the document", xml);
  }
}

std::string Saved(ZAMXml& xml) {
  const TemporaryFolder folder(TemporaryFolder::Medium::Memory);
  xml.SetDurable(0);
  if (xml.SaveAs(folder.Path("document.xml").c_str(), nullptr) == 0) {
    Fail("Cannot save the document", xml);
  }
  return ReadBytes(folder.Path("document.xml"));
}

std::string Replaced(const std::string& text, const char* pattern, const char* replacement) {
  return std::regex_replace(text, std::regex(pattern), replacement);
}

std::string Content(ZAMXml& xml) {
  std::string content = Replaced(Saved(xml), R"(^<\?xml[^>]*\?>\s*)", "");
  content = Replaced(content, R"(<(\w+)([^<>/]*)></\1>)", "<$1$2/>");
  while (!content.empty() && content.back() == '\n') {
    content.pop_back();
  }
  return content;
}

}  // namespace test
