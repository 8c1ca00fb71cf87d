#include "zamxml/binary.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

#include "platform/xml/replacement.h"
#include "records/record.h"
#include "records/separated_values.h"
#include "zamxml/platform/util.h"

namespace {

using Buffer = decltype(ZAMXMLBinary::m_pBinary);

constexpr int CSV = 0;
constexpr std::array EncodingNames{u"CSV", u"Base64", u"HEX"};
constexpr std::array ByteOrderNames{u"Little Endian", u"Big Endian"};
constexpr std::u16string_view Comma = u",";
constexpr std::int64_t MaxBufferLength = std::numeric_limits<std::int32_t>::max();

/// Zeroed memory that takes real pages only where it is written, so that a short element that
/// claims a large buffer costs little. Null when it cannot be had.
Buffer AllocateZeroed(std::size_t length) noexcept {
  return Buffer(static_cast<unsigned char*>(std::calloc(std::max<std::size_t>(length, 1), 1)));
}

/// Pages of zeros stay untouched in the copy, too.
Buffer Duplicate(const unsigned char* source, std::size_t length) {
  Buffer copy = AllocateZeroed(length);
  if (!copy) {
    throw _com_error(E_OUTOFMEMORY);
  }
  static constexpr std::array<unsigned char, 4096> zeros{};
  for (std::size_t start = 0; start < length; start += zeros.size()) {
    const std::size_t size = std::min(zeros.size(), length - start);
    if (std::memcmp(source + start, zeros.data(), size) != 0) {
      std::memcpy(copy.get() + start, source + start, size);
    }
  }
  return copy;
}

_bstr_t Decimal(int number) { return std::to_string(number).c_str(); }

bool IsInverted(const ZAMXMLBinary& block) {
  return (ZAMGF::IsHostBigEndian() != 0) != (block.m_ByteOrder != 0);
}

void Warn(ZAMXml& xml, const IXMLDOMNodePtr& element, ZAMLog* log, const std::string& what) {
  if (log != nullptr) {
    log->SetLog_Warring(ZAM_LOG_CATEGORY_XML, what.c_str(), xml.GetNodePath(element), 0);
  }
}

/// The size that the header claims, before any memory is asked for.
std::int64_t CheckedLength(std::int64_t width, std::int64_t count) {
  if (width == 0 || count == 0) {
    return 0;
  }
  if (width < 0 || count < 0 || count > MaxBufferLength / width) {
    throw std::length_error("No buffer can have " + std::to_string(width) + " times " +
                            std::to_string(count) + " bytes");
  }
  return width * count;
}

/// Fills the buffer from one Data element and gives the number of bytes that were stored.
std::int64_t ReadStretch(ZAMXMLBinary& block, ZAMXml& xml, const IXMLDOMNodePtr& data,
                         CString& text) {
  const auto attribute = [&](ZAMTextView name) {
    xml.GetNodeAttribute(data, name, text);
    return static_cast<int>(zam::ParseInteger(text.view()));
  };
  const std::int64_t start = attribute(u"start");
  const std::int64_t length = attribute(u"length");
  const std::int64_t size = block.m_BinaryLength;
  if (block.m_Encoding != CSV || start < 0 || length < 0 || start > size - length) {
    return 0;
  }
  xml.GetNodeText(data, text);
  const int width = block.m_BytePerData;
  const int count = static_cast<int>(length) / width;
  return zam::DecodeValues(text.view(), Comma, block.GetBinary() + start, width, count,
                           IsInverted(block))
             .value_or(0) *
         std::int64_t{width};
}

void ReadData(ZAMXMLBinary& block, ZAMXml& xml, const IXMLDOMNodePtr& element, ZAMLog* log) {
  CString text;
  std::int64_t filled = 0;
  zam::ForEachChild(xml, element, u"Data", [&](const IXMLDOMNodePtr& data) {
    filled += ReadStretch(block, xml, data, text);
  });
  if (filled < block.m_BinaryLength) {
    Warn(xml, element, log,
         "Data elements fill " + std::to_string(filled) + " of " +
             std::to_string(block.m_BinaryLength) + " bytes; the others are zero");
  }
}

/// The smallest stretch of the buffer that a Data element can have.
int StretchUnit(const ZAMXMLBinary& block) {
  return block.m_Encoding == CSV ? block.m_BytePerData : 1;
}

/// Raises what keeps the block from being stored whole.
void RequireWritable(const ZAMXMLBinary& block) {
  const auto require = [](bool fulfilled, const char* what) {
    if (!fulfilled) {
      throw std::invalid_argument(what);
    }
  };
  require(block.m_Encoding >= 0 && block.m_Encoding < static_cast<int>(EncodingNames.size()),
          "Unknown encoding");
  if (block.m_BinaryLength == 0) {
    return;
  }
  require(block.m_pBinary != nullptr && block.m_BinaryLength <= MaxBufferLength,
          "No buffer of the length of the data");
  require(block.m_Encoding != CSV || zam::IsDatumWidth(block.m_BytePerData),
          "No conversion for data of this width");
  const int unit = StretchUnit(block);
  require(block.m_BinaryLength % static_cast<unsigned int>(unit) == 0,
          "The buffer ends within a datum");
  require(block.m_BlockByteLength >= unit, "The block length does not hold one datum");
}

void WarnUnreadable(const ZAMXMLBinary& block, ZAMXml& xml, const IXMLDOMNodePtr& element,
                    ZAMLog* log) {
  if (block.m_Encoding != CSV) {
    Warn(xml, element, log, "No conversion for this encoding; the data are not stored");
  }
  if (std::int64_t{block.m_BytePerData} * block.m_CountOfData != block.m_BinaryLength) {
    Warn(xml, element, log, "Width and count of the data do not match the buffer");
  }
}

/// Prepares the header as the block has it. What else the elements hold is kept.
class HeaderWriter {
public:
  HeaderWriter(ZAMXml& xml, zam::Replacement& replacement)
      : m_Xml(xml), m_Replacement(replacement) {}

  void Number(const zam::FieldName& name, int number) { Write(name, Decimal(number)); }
  void Code(const zam::FieldName& name, ZAMTextView text, int code) {
    const IXMLDOMNodePtr element = Write(name, text);
    m_Xml.SetNodeAttribute(element, u"code", Decimal(code));
  }

private:
  IXMLDOMNodePtr Write(const zam::FieldName& name, ZAMTextView text) {
    IXMLDOMNodePtr element = m_Replacement.Copy(name);
    zam::RequireStored(static_cast<bool>(element));
    m_Xml.SetNodeText(element, text);
    return element;
  }

  ZAMXml& m_Xml;
  zam::Replacement& m_Replacement;
};

void AddData(const ZAMXMLBinary& block, ZAMXml& xml, zam::Replacement& replacement) {
  const int length = static_cast<int>(block.m_BinaryLength);
  const int width = block.m_BytePerData;
  const int longest = block.m_BlockByteLength - block.m_BlockByteLength % StretchUnit(block);
  const bool invert = IsInverted(block);
  CString text;
  replacement.Drop(u"Data");
  for (int start = 0; start < length;) {
    const int stretch = std::min(longest, length - start);
    const IXMLDOMNodePtr data = replacement.Add(u"Data");
    zam::RequireStored(static_cast<bool>(data));
    xml.SetNodeAttribute(data, u"start", Decimal(start));
    xml.SetNodeAttribute(data, u"length", Decimal(stretch));
    if (block.m_Encoding == CSV) {
      zam::EncodeValues(text, Comma, block.GetBinary() + start, width, stretch / width, invert);
      xml.SetNodeText(data, text);
    }
    start += stretch;
  }
}

/// The new block is whole before the old one goes.
void WriteBlock(const ZAMXMLBinary& block, ZAMXml& xml, const IXMLDOMNodePtr& element) {
  zam::Replacement replacement(xml, element);
  HeaderWriter header(xml, replacement);
  header.Code(u"Encoding", EncodingNames[static_cast<std::size_t>(block.m_Encoding)],
              block.m_Encoding);
  const int byteOrder = block.m_ByteOrder != 0 ? 1 : 0;
  header.Code(u"ByteOrder", ByteOrderNames[static_cast<std::size_t>(byteOrder)], byteOrder);
  header.Number(u"BytePerData", block.m_BytePerData);
  header.Number(u"CountOfData", block.m_CountOfData);
  if (block.m_BinaryLength > 0) {
    AddData(block, xml, replacement);
  }
  replacement.Keep();
}

}  // namespace

void ZAMXMLBufferRelease::operator()(unsigned char* buffer) const noexcept { std::free(buffer); }

ZAMXMLBinary::ZAMXMLBinary() = default;

ZAMXMLBinary::ZAMXMLBinary(const ZAMXMLBinary& other) { *this = other; }

ZAMXMLBinary& ZAMXMLBinary::operator=(const ZAMXMLBinary& other) {
  if (this != &other) {
    m_pBinary = other.m_pBinary ? Duplicate(other.GetBinary(), other.m_BinaryLength) : nullptr;
    m_Encoding = other.m_Encoding;
    m_ByteOrder = other.m_ByteOrder;
    m_BytePerData = other.m_BytePerData;
    m_CountOfData = other.m_CountOfData;
    m_BlockByteLength = other.m_BlockByteLength;
    m_BinaryLength = other.m_BinaryLength;
  }
  return *this;
}

ZAMXMLBinary::~ZAMXMLBinary() = default;

void ZAMXMLBinary::Clear() {
  m_pBinary.reset();
  m_BinaryLength = 0;
  m_Encoding = 0;
  m_ByteOrder = 0;
}

int ZAMXMLBinary::AllocBinary(unsigned long byteCount) {
  m_pBinary.reset();
  m_BinaryLength = 0;
  if (byteCount > static_cast<unsigned long>(MaxBufferLength)) {
    return 0;
  }
  m_pBinary = AllocateZeroed(byteCount);
  if (!m_pBinary) {
    return 0;
  }
  m_BinaryLength = static_cast<std::uint32_t>(byteCount);
  return 1;
}

int ZAMXMLBinary::ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  Clear();
  return zam::RunCatching(xml, element, log, [&] {
    CString text;
    const auto code = [&](ZAMTextView name) {
      xml.GetChildNodeAttribute(element, name, u"code", text, 0);
      return static_cast<int>(zam::ParseInteger(text.view()));
    };
    const auto number = [&](ZAMTextView name) {
      xml.GetChildNodeText(element, name, text, 0);
      return static_cast<int>(zam::ParseInteger(text.view()));
    };
    m_Encoding = code(u"Encoding");
    m_ByteOrder = code(u"ByteOrder") == 1 ? 1 : 0;
    m_BytePerData = number(u"BytePerData");
    m_CountOfData = number(u"CountOfData");
    const std::int64_t length = CheckedLength(m_BytePerData, m_CountOfData);
    if (length == 0) {
      return 1;
    }
    m_pBinary = AllocateZeroed(static_cast<std::size_t>(length));
    if (!m_pBinary) {
      throw _com_error(E_OUTOFMEMORY);
    }
    m_BinaryLength = static_cast<std::uint32_t>(length);
    ReadData(*this, xml, element, log);
    return 1;
  });
}

int ZAMXMLBinary::WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log) {
  return zam::RunCatching(xml, element, log, [&] {
    RequireWritable(*this);
    if (m_BinaryLength > 0) {
      WarnUnreadable(*this, xml, element, log);
    }
    WriteBlock(*this, xml, element);
    return 1;
  });
}

void ZAMXMLBinary::SetBlockByteLength(unsigned int bytesPerDatum, unsigned int dataPerBlock) {
  const auto limited = [](std::uint64_t bytes) {
    return static_cast<int>(std::min<std::uint64_t>(bytes, MaxBufferLength));
  };
  m_BytePerData = limited(bytesPerDatum);
  m_BlockByteLength = limited(std::uint64_t{bytesPerDatum} * dataPerBlock);
}

int ZAMXMLBinary::IsValid() const noexcept {
  return m_pBinary != nullptr && m_BinaryLength > 0 ? 1 : 0;
}

int ZAMXMLBinary::EncodeSeparateValue(CString& text, ZAMTextView separator,
                                      const unsigned char* data, int bytesPerDatum, int count,
                                      int invert) {
  // A copy: the separator may be the text itself.
  const _bstr_t between(separator);
  return zam::EncodeValues(text, between.view(), data, bytesPerDatum, count, invert != 0) ? 1 : 0;
}

int ZAMXMLBinary::DecodeSeparateValue(const CString& text, ZAMTextView separator,
                                      unsigned char* data, int bytesPerDatum, int count) {
  return zam::DecodeValues(text.view(), separator.view(), data, bytesPerDatum, count, false) ? 1
                                                                                             : 0;
}

int ZAMXMLBinary::EncodeCSV(CString& text, const unsigned char* data, int bytesPerDatum, int count,
                            int invert) {
  return EncodeSeparateValue(text, Comma, data, bytesPerDatum, count, invert);
}

int ZAMXMLBinary::DecodeCSV(const CString& text, unsigned char* data, int bytesPerDatum,
                            int count) {
  return DecodeSeparateValue(text, Comma, data, bytesPerDatum, count);
}
