#include <algorithm>
#include <bit>
#include <cstdint>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include "support/document.h"

namespace {

using Buffer = std::vector<unsigned char>;
using Values = std::vector<std::int64_t>;

/// The low bytes of the values, in a byte order.
Buffer Stored(int width, const Values& values,
              int order = std::endian::native == std::endian::big) {
  Buffer bytes;
  for (const std::int64_t value : values) {
    for (int i = 0; i < width; ++i) {
      const int shift = 8 * (order == 1 ? width - 1 - i : i);
      bytes.push_back(static_cast<unsigned char>(value >> shift));
    }
  }
  return bytes;
}

Buffer Content(const ZAMXMLBinary& block) {
  return {block.GetBinary(), block.GetBinary() + block.m_BinaryLength};
}

ZAMXMLBinary Block(int width, const Buffer& bytes) {
  ZAMXMLBinary block;
  EXPECT_EQ(block.AllocBinary(bytes.size()), 1);
  EXPECT_EQ(Content(block), Buffer(bytes.size(), 0));
  std::copy(bytes.begin(), bytes.end(), block.GetBinary());
  block.m_BytePerData = width;
  block.m_CountOfData = static_cast<int>(bytes.size()) / width;
  return block;
}

/// Reads the block from an element of that content.
int Read(ZAMXMLBinary& block, const std::string& content, ZAMLog* log = nullptr) {
  ZAMXml xml;
  test::Load(xml, "<B>" + content + "</B>");
  IXMLDOMNodePtr root = xml.GetNode(u"B");
  return block.ReadFromXML(xml, root, log);
}

/// What an element of that content holds once the block is written into it.
std::string Written(ZAMXMLBinary& block, const std::string& before, ZAMLog& log, int result = 1) {
  ZAMXml xml;
  test::Load(xml, "<B>" + before + "<Other/></B>");
  IXMLDOMNodePtr root = xml.GetNode(u"B");
  EXPECT_EQ(block.WriteToXML(xml, root, &log), result);
  const std::string content = test::Content(xml);
  return content.substr(3, content.size() - 7);
}

std::string Header(int encoding, int order, const std::string& width, const std::string& count) {
  const std::string names[] = {"CSV", "Base64", "HEX", "Little Endian", "Big Endian"};
  return "<Encoding code=\"" + std::to_string(encoding) + "\">" + names[std::max(encoding, 0)] +
         "</Encoding><ByteOrder code=\"" + std::to_string(order) + "\">" + names[3 + order % 2] +
         "</ByteOrder><BytePerData>" + width + "</BytePerData><CountOfData>" + count +
         "</CountOfData>";
}

std::string Data(const std::string& start, const std::string& length, const std::string& text) {
  return "<Data start=\"" + start + "\" length=\"" + length + "\">" + text + "</Data>";
}

std::u16string Encoded(const Buffer& data, int width, int count, ZAMTextView separator = u",",
                       int invert = 0) {
  CString text(u"old");
  const int result =
      ZAMXMLBinary::EncodeSeparateValue(text, separator, data.data(), width, count, invert);
  return result == 1 ? std::u16string(text.view()) : text.IsEmpty() ? u"refused" : u"not emptied";
}

TEST(SeparatedValues, Encode) {
  EXPECT_EQ(Encoded({0x01, 0xFF, 0x80}, 1, 3), u"1,-1,-128");
  EXPECT_EQ(Encoded({0x01, 0xFF, 0x80}, 1, 2, u"%d; ", 1), u"1%d; -1");
  EXPECT_EQ(Encoded(Stored(2, {258, -2, -32768, 32767}), 2, 4), u"258,-2,-32768,32767");
  EXPECT_EQ(Encoded(Stored(4, {-2147483648, 2147483647}), 4, 2), u"-2147483648,2147483647");
  EXPECT_EQ(Encoded(Stored(4, {0x01020304}), 4, 1, u",", 1), u"67305985");
  EXPECT_EQ(Encoded({1, 2}, 2, 0) + Encoded({1, 2}, 2, -1), u"");
  EXPECT_EQ(Encoded({}, 2, 1), u"refused");
  EXPECT_EQ(Encoded({1, 2, 3}, 3, 1) + Encoded({1, 2, 3}, 0, 1), u"refusedrefused");
  EXPECT_EQ(Encoded({1, 2}, 1, 2, u"") + Encoded({1, 2}, 1, 2, nullptr), u"refusedrefused");
}

TEST(SeparatedValues, Decode) {
  constexpr std::int64_t Kept = 0x5A5A5A5A;  // what is in the buffer before
  const std::tuple<const char16_t*, int, int, Values, ZAMTextView> rows[] = {
      {u",,1,,2,", 2, 3, {1, 2, Kept}, u","},
      {u"1; 2,;3 4", 2, 4, {1, 2, 3, 4}, u";, "},
      {u"1121314", 1, 3, {2, 3, 4}, u"1"},
      {u"12,3", 2, 2, {12, Kept}, u""},
      {u"12,3", 2, 2, {12, Kept}, nullptr},
      {u",,", 2, 1, {Kept}, u","},
      {u"7", 4, 3, {7, Kept, Kept}, u","},
      {u"1,2,3", 1, 2, {1, 2, Kept}, u","},
      {u"1", 1, 0, {Kept}, u","},
      {u"1", 1, -1, {Kept}, u","},
      {u"+1,-2,--3,+-4,- 5,-", 2, 6, {1, -2, 0, 0, 0, 0}, u","},
      {u" 1,\t\r\n\v\f-2,\u00A03,\u30004, ,5 6", 2, 6, {1, -2, 3, 4, 0, 5}, u","},
      {u"1.9,0x10,1e3,abc,\uFF11,007", 2, 6, {1, 0, 1, 0, 0, 7}, u","},
      {u"200,-56,255,-1,256,-129", 1, 6, {-56, -56, -1, -1, 0, 127}, u","},
      {u"32768,-32769,65537", 2, 3, {-32768, 32767, 1}, u","},
      {u"4294967295,2147483648,-4294967297", 4, 3, {-1, -2147483648, -1}, u","},
      // Beyond 64 bits the low bits are those of the nearest 64-bit number.
      {u"9223372036854775807,9223372036854775808,-9223372036854775809", 4, 3, {-1, -1, 0}, u","},
      {u"18446744073709551621,99999999999999999999999", 4, 2, {-1, -1}, u","},
      {u"00000000000000000000000000000000000012", 4, 1, {12}, u","},
  };
  for (const auto& [text, width, count, values, separator] : rows) {
    SCOPED_TRACE(_bstr_t(text).utf8());
    Buffer buffer = Stored(width, Values(values.size(), Kept));
    EXPECT_EQ(ZAMXMLBinary::DecodeSeparateValue(text, separator, buffer.data(), width, count), 1);
    EXPECT_EQ(buffer, Stored(width, values));
  }
  Buffer buffer(3, 0x5A);
  EXPECT_EQ(ZAMXMLBinary::DecodeSeparateValue(u"1", u",", buffer.data(), 3, 1), 0);
  EXPECT_EQ(ZAMXMLBinary::DecodeSeparateValue(u"1", u",", nullptr, 2, 1), 0);
  EXPECT_EQ(buffer, Buffer(3, 0x5A));
}

TEST(Binary, WrittenLayout) {
  ZAMXMLBinary block;
  ZAMLog log;
  const std::string old = Data("9", "9", "9") + Data("8", "8", "8");
  EXPECT_EQ(Written(block, old, log), old + "<Other/>" + Header(0, 0, "2", "0"));
  block = Block(2, Stored(2, {1, -2, 300}, 0));
  const std::string header = "<Other/>" + Header(0, 0, "2", "3");
  EXPECT_EQ(Written(block, old, log), header + Data("0", "6", "1,-2,300"));
  block.m_BlockByteLength = 5;  // ends within a datum: used up to there
  EXPECT_EQ(Written(block, "", log), header + Data("0", "4", "1,-2") + Data("4", "2", "300"));
  block.m_ByteOrder = 6;  // nothing but 0 is little endian
  EXPECT_EQ(Written(block, "", log), "<Other/>" + Header(0, 1, "2", "3") +
                                         Data("0", "4", "256,-257") + Data("4", "2", "11265"));
  EXPECT_EQ(log.GetLogCount(), 0);

  block = Block(1, Buffer(10001, 0));
  block.m_BlockByteLength = 10000;
  block.m_Encoding = 2;
  block.m_CountOfData = 1;
  EXPECT_EQ(Written(block, "", log),
            "<Other/>" + Header(2, 0, "1", "1") +
                "<Data start=\"0\" length=\"10000\"/><Data start=\"10000\" length=\"1\"/>");
  EXPECT_EQ(log.GetLogCount(), 2) << "the data are not stored, and the count is another";
}

TEST(Binary, UnstorableIsRefused) {
  const std::string width = "No conversion for data of this width";
  const std::string length = "The block length does not hold one datum";
  const std::string buffer = "No buffer of the length of the data";
  const std::pair<std::string, void (*)(ZAMXMLBinary&)> rows[] = {
      {"Unknown encoding", [](auto& block) { block.m_Encoding = 3; }},
      {"Unknown encoding", [](auto& block) { block.m_Encoding = -1; }},
      {width, [](auto& block) { block.m_BytePerData = 0; }},
      {width, [](auto& block) { block.m_BytePerData = 3; }},
      {width, [](auto& block) { block.m_BytePerData = -2; }},
      {length, [](auto& block) { block.m_BlockByteLength = 1; }},
      {length, [](auto& block) { block.m_Encoding = 1, block.m_BlockByteLength = -10000; }},
      {"The buffer ends within a datum", [](auto& block) { block.AllocBinary(5); }},
      {buffer, [](auto& block) { block.m_pBinary.reset(); }},
      {buffer, [](auto& block) { block.m_BinaryLength = 1U << 31; }},
  };
  for (const auto& [reason, spoil] : rows) {
    SCOPED_TRACE(reason);
    ZAMXMLBinary block = Block(2, Stored(2, {1, 2}));
    spoil(block);
    ZAMLog log;
    EXPECT_EQ(Written(block, Data("0", "2", "5"), log, 0), Data("0", "2", "5") + "<Other/>");
    EXPECT_NE(test::Entries(log).find(reason), std::string::npos);
  }
}

TEST(Binary, Read) {
  const std::string bytes4 = Header(0, 0, "1", "4");
  const std::string words2 = Header(0, 0, "2", "2");
  const std::string huge = "99999999999999999999";
  const std::pair<std::string, std::string> rows[] = {
      {bytes4 + Data("2", "2", "3,4") + Data("0", "2", "1,2") + Data("1", "2", "8,9"), "1 8 9 4 "},
      {bytes4 + Data("3", "1", "4"), "0 0 0 4 warned"},
      {bytes4, "0 0 0 0 warned"},
      {bytes4 + Data("2", "2", "5,6") + Data("-1", "1", "7") + Data("0", "-1", "7"),
       "0 0 5 6 warned"},
      {bytes4 + Data("3", "2", "7") + Data("5", "0", "7") + Data("0", "5", "7"), "0 0 0 0 warned"},
      {bytes4 + Data("4294967296", "1", "7") + Data("0", "-4294967295", "7"), "7 0 0 0 warned"},
      {bytes4 + Data(huge, huge, "7") + Data("2147483647", "2147483647", "7"), "0 0 0 0 warned"},
      // Too few values, too many; a stretch that ends within a datum; white space.
      {bytes4 + Data("0", "2", "1") + Data("2", "1", "3,4,5"), "1 0 3 0 warned"},
      {words2 + Data("1", "3", "258"), "0 2 1 0 warned"},
      {Header(0, 0, "\t1 ", "+4x") + Data(" 0", "4 ", "1, 2,3 ,4"), "1 2 3 4 "},
      // Byte orders; only what is stored is inverted.
      {words2 + Data("0", "4", "258,-2"), "2 1 254 255 "},
      {Header(0, 1, "4", "1") + Data("0", "4", "16909060"), "1 2 3 4 "},
      {Header(0, 2, "2", "1") + Data("0", "2", "258"), "2 1 "},
      {Header(0, 1, "2", "2") + Data("0", "4", "258,515") + Data("0", "4", "772"), "3 4 2 3 "},
      // Without conversion.
      {Header(1, 0, "2", "2") + Data("0", "4", "1,2"), "0 0 0 0 warned"},
      {Header(-7, 0, "1", "2") + Data("0", "2", "1,2"), "0 0 warned"},
      {Header(0, 0, "3", "1") + Data("0", "3", "1"), "0 0 0 warned"},
      {"", ""},
      {Header(0, 0, "-2", "0") + Data("0", "2", "1"), ""},
      // No buffer can have the size, also where a product would wrap to a small one; numbers keep
      // their low bits.
      {Header(0, 0, "2", "-1") + Data("0", "2", "1"), "refused"},
      {Header(0, 0, "-1", "-4000000000"), "refused"},
      {Header(0, 0, "4", "1073741825") + Data("0", "4", "1"), "refused"},
      {Header(0, 0, "2", "1073741824"), "refused"},
      {Header(0, 0, "2", "4294967298") + Data("0", "4", "1,2"), "1 0 2 0 "},
      {Header(0, 0, huge, huge), "refused"},
  };
  for (const auto& [content, outcome] : rows) {
    SCOPED_TRACE(content);
    ZAMXMLBinary block = Block(1, Buffer(100, 7));
    ZAMLog log;
    std::string found = Read(block, content, &log) == 1 ? "" : "refused";
    for (const unsigned char byte : Content(block)) {
      found += std::to_string(byte) + " ";
    }
    EXPECT_EQ(log.GetLogCount(), outcome.ends_with("ed") ? 1 : 0);
    EXPECT_EQ(found + (block.IsValid() == 1 && log.GetLogCount() > 0 ? "warned" : ""), outcome);
    Read(block, content);
  }
}

TEST(Binary, CopyClearAllocate) {
  ZAMXMLBinary block = Block(4, Stored(4, Values(5000, -3)));
  block.SetBlockByteLength(4, 0x40000001U);
  block.GetBinary()[4095] = block.GetBinary()[19999] = 9;
  block.m_Encoding = 2;
  block.m_ByteOrder = 1;
  const Buffer bytes = Content(block);
  ZAMXMLBinary assigned = Block(1, Buffer(3));
  assigned = block;
  const ZAMXMLBinary& itself = assigned;
  assigned = itself;
  const ZAMXMLBinary copy(assigned);
  block.GetBinary()[0] = 77;
  for (const ZAMXMLBinary* other : {&copy, &itself}) {
    EXPECT_EQ(Content(*other), bytes);
    EXPECT_EQ(std::tie(other->m_Encoding, other->m_ByteOrder, other->m_BytePerData,
                       other->m_CountOfData, other->m_BlockByteLength),
              std::tuple(2, 1, 4, 5000, 2147483647));
  }
  assigned.Clear();
  EXPECT_EQ(std::tie(assigned.m_Encoding, assigned.m_ByteOrder, assigned.m_BytePerData,
                     assigned.m_CountOfData, assigned.m_BinaryLength),
            std::tuple(0, 0, 4, 5000, 0U));
  EXPECT_EQ(assigned.GetBinary(), nullptr);
  EXPECT_EQ(assigned.AllocBinary(0), 1);
  EXPECT_EQ(assigned.IsValid(), 0);
  for (const unsigned long refused : {0x80000000UL, 0x100000004UL, ~0UL}) {
    ASSERT_EQ(block.AllocBinary(2), 1);
    EXPECT_EQ(block.AllocBinary(refused), 0);
    EXPECT_TRUE(block.GetBinary() == nullptr && block.m_BinaryLength == 0);
  }
  block = ZAMXMLBinary();
  EXPECT_TRUE(block.GetBinary() == nullptr && block.m_BinaryLength == 0);
}

/// Pages of this process that are in memory; 0 where the system does not tell.
long ResidentPages() {
  long size = 0;
  long resident = 0;
  std::ifstream("/proc/self/statm") >> size >> resident;
  return resident;
}

TEST(Binary, ClaimedSizeCostsNoMemory) {
  ZAMXMLBinary block;
  const long before = ResidentPages();
  if (Read(block, Header(0, 0, "1", "2147483647") + Data("2147483646", "1", "5")) == 0) {
    EXPECT_EQ(block.IsValid(), 0) << "a system that cannot give the memory";
    return;
  }
  const ZAMXMLBinary copy(block);
  EXPECT_EQ(copy.GetBinary()[2147483646], 5);
  EXPECT_EQ(copy.GetBinary()[1000000], 0);
  EXPECT_LT(ResidentPages() - before, 5000);
}

}  // namespace
