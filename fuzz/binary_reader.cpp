// Reads a block from the root element B of any document; what could be read is written and read
// again, and must come back as it was.

#include <ZAMXMLData.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

/// Larger buffers are only read: their text would fill the memory.
constexpr std::uint32_t MaxWritten = 1U << 20;

void Require(bool holds) {
  if (!holds) {
    std::abort();
  }
}

/// A file that is written anew for every input and removed at the end.
struct InputFile {
  ~InputFile() {
    std::error_code ignored;
    std::filesystem::remove(m_Path, ignored);
  }

  void Write(const std::uint8_t* data, std::size_t size) const {
    std::ofstream file(m_Path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    Require(static_cast<bool>(file.flush()));
  }

  const std::string m_Path =
      ZAMGF::MakePath(ZAMGF::GetSystemTempDir(), ZAMGF::MakeDateTimeFileName(u"fuzz", u"", u"xml"))
          .utf8();
};

bool IsSame(const ZAMXMLBinary& left, const ZAMXMLBinary& right) {
  return left.m_Encoding == right.m_Encoding && left.m_ByteOrder == right.m_ByteOrder &&
         left.m_BytePerData == right.m_BytePerData && left.m_CountOfData == right.m_CountOfData &&
         left.m_BinaryLength == right.m_BinaryLength &&
         (left.m_BinaryLength == 0 ||
          std::memcmp(left.GetBinary(), right.GetBinary(), left.m_BinaryLength) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const InputFile input;
  input.Write(data, size);
  ZAMXml xml;
  if (xml.Open(input.m_Path.c_str(), nullptr) == 0) {
    return 0;
  }
  IXMLDOMNodePtr root = xml.GetNode(u"B");
  ZAMXMLBinary block;
  const int result = block.ReadFromXML(xml, root, nullptr);
  Require(result == 1 || block.IsValid() == 0);
  if (result == 0 || block.m_BinaryLength > MaxWritten ||
      block.WriteToXML(xml, root, nullptr) == 0) {
    return 0;
  }
  ZAMXMLBinary again;
  Require(again.ReadFromXML(xml, root, nullptr) == 1 && IsSame(block, again));
  return 0;
}
