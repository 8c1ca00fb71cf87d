// Reads a block from the root element B of any document; what could be read is written and read
// again, and must come back as it was.

#include <ZAMXMLData.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "fuzzing.h"

namespace {

/// Larger buffers are only read: their text would fill the memory.
constexpr std::uint32_t MaxWritten = 1U << 20;

bool IsSame(const ZAMXMLBinary& left, const ZAMXMLBinary& right) {
  return left.m_Encoding == right.m_Encoding && left.m_ByteOrder == right.m_ByteOrder &&
         left.m_BytePerData == right.m_BytePerData && left.m_CountOfData == right.m_CountOfData &&
         left.m_BinaryLength == right.m_BinaryLength &&
         (left.m_BinaryLength == 0 ||
          std::memcmp(left.GetBinary(), right.GetBinary(), left.m_BinaryLength) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::ScratchFile input(u"fuzz");
  input.Write(data, size);
  ZAMXml xml;
  if (xml.Open(input.Path(), nullptr) == 0) {
    return 0;
  }
  IXMLDOMNodePtr root = xml.GetNode(u"B");
  ZAMXMLBinary block;
  const int result = block.ReadFromXML(xml, root, nullptr);
  fuzz::Require(result == 1 || block.IsValid() == 0, "a block that is not read is empty");
  if (result == 0 || block.m_BinaryLength > MaxWritten ||
      block.WriteToXML(xml, root, nullptr) == 0) {
    return 0;
  }
  ZAMXMLBinary again;
  fuzz::Require(again.ReadFromXML(xml, root, nullptr) == 1 && IsSame(block, again),
                "what is written is read back");
  return 0;
}
