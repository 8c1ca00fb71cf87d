// binary_block DOCUMENT
//
// Three samples in a binary block of an element, added to a copy of the document.

#include <array>
#include <cstdint>
#include <cstring>

#include "visit.h"

namespace {

void Run(const _bstr_t& source) {
  ZAMLog log;
  ZAMXml xml;
  Require(xml.Open(source, &log) != 0, "the document given opens");
  //! [binary]
  const std::array<std::int16_t, 3> samples{-120, 0, 300};
  ZAMXMLBinary block;
  if (block.AllocBinary(sizeof samples) == 0) {
    throw std::runtime_error("There is no memory for the samples.");
  }
  std::memcpy(block.GetBinary(), samples.data(), sizeof samples);
  block.m_BytePerData = 2;
  block.m_CountOfData = 3;
  block.m_ByteOrder = ZAMGF::IsHostBigEndian();
  IXMLDOMNodePtr lead = xml.AddNode(u"KESTRANE_ZAM/Lead", nullptr);
  if (block.WriteToXML(xml, lead, &log) == 0) {
    Show(log);
  }
  //! [binary]
  const _bstr_t path = u"binary_block.xml";
  Require(xml.SaveAs(path, nullptr) != 0 && xml.Open(path, nullptr) != 0, "the block is saved");
  _bstr_t text;
  lead = xml.GetNode(u"KESTRANE_ZAM/Lead");
  xml.GetChildNodeText(lead, u"Data", text);
  Require(text == u"-120,0,300", "the samples are there as numbers");
  ZAMXMLBinary read;
  Require(read.ReadFromXML(xml, lead, &log) != 0 && read.m_BinaryLength == sizeof samples &&
              std::memcmp(read.GetBinary(), samples.data(), sizeof samples) == 0,
          "the samples come back");
}

}  // namespace

int main(int argc, char** argv) { return RunExample(argc, argv, Run); }
