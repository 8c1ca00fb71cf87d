// Takes the bytes as a block, the first three as the form it is written in: writing leaves the
// block as it is, and what is written is read back.

#include <ZAMXMLData.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "fuzzing.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t FormSize = 3;
  if (size < FormSize) {
    return 0;
  }
  const int width = 1 << data[0] % 3;
  const std::uint8_t* const begin = data + FormSize;
  const int count = static_cast<int>(size - FormSize) / width;
  const std::uint8_t* const end = begin + count * width;
  ZAMXMLBinary block;
  fuzz::Require(block.AllocBinary(static_cast<unsigned long>(end - begin)) == 1, "it is small");
  std::copy(begin, end, block.GetBinary());
  block.m_BytePerData = width;
  block.m_CountOfData = count;
  block.m_ByteOrder = data[1] % 2;
  block.m_BlockByteLength = width + 40 * data[2];
  ZAMXml xml;
  xml.New(nullptr);
  xml.CreateRoot(u"B");
  IXMLDOMNodePtr root = xml.GetNode(u"B");
  ZAMLog log;
  ZAMXMLBinary again;
  fuzz::Require(block.WriteToXML(xml, root, &log) == 1, "a block can be written");
  fuzz::Require(std::equal(begin, end, block.GetBinary()), "writing changes no sample");
  fuzz::Require(again.ReadFromXML(xml, root, &log) == 1, "what is written can be read");
  fuzz::Require(again.m_BytePerData == width && again.m_CountOfData == count &&
                    again.m_ByteOrder == block.m_ByteOrder &&
                    again.m_BinaryLength == block.m_BinaryLength &&
                    std::equal(begin, end, again.GetBinary()),
                "what is read is what was written");
  fuzz::Require(log.GetLogCount() == 0, "nothing is warned of");
  return 0;
}
