#pragma once

#include <cstdint>
#include <memory>

#include "zamxml/platform/export.h"
#include "zamxml/platform/log.h"
#include "zamxml/platform/text.h"
#include "zamxml/platform/xml.h"

/// Releases the buffer of a binary data block by std::free.
struct ZAMXML_API ZAMXMLBufferRelease {
  void operator()(unsigned char* buffer) const noexcept;
};

/// A run of signed integers of 1, 2 or 4 bytes each, which a host stores in an element of its own
/// choosing. Elements: Encoding and ByteOrder (each a name, with its code in the attribute code),
/// BytePerData, CountOfData, and Data repeated: one stretch of the buffer each, at most
/// m_BlockByteLength bytes of it, with its first byte and its bytes in the attributes start and
/// length, and its data as decimal numbers joined by ",".
///
/// The buffer holds each datum in the byte order that m_ByteOrder names; the text holds the values.
/// Only the encoding 0 (CSV) converts data.
///
/// Numbers in text: white space, a sign, decimal digits up to the first other character; no digits
/// give 0. What a datum cannot hold keeps its low bits (200 and -56 are the same byte); a number
/// beyond 64 bits counts as the nearest signed 64-bit number before its low bits are taken. The
/// numbers of the header and of Data keep their low 32 bits in the same way.
///
/// Failures are those of all records (records.h), but there is no guard: an element that is not
/// there reads as an empty block and cannot be written. Used by one thread at a time; different
/// blocks may be used by different threads at once.
class ZAMXML_API ZAMXMLBinary {
public:
  ZAMXMLBinary();
  /// Duplicate the buffer. Raise _com_error (E_OUTOFMEMORY), with nothing changed, when there is no
  /// memory for it.
  ZAMXMLBinary(const ZAMXMLBinary& other);
  ZAMXMLBinary& operator=(const ZAMXMLBinary& other);
  /// Releases the buffer.
  virtual ~ZAMXMLBinary();

  /// Releases the buffer and makes encoding and byte order 0. The width, the count and the block
  /// length stay.
  virtual void Clear();

  /// Releases the buffer and obtains one of that many bytes, at most 2,147,483,647, all zero (of no
  /// byte as well). Bytes that are never written cost no memory where the system hands out zeroed
  /// pages on first use. The caller sets m_BytePerData and m_CountOfData to match. 0, without a
  /// buffer, when it cannot be had.
  virtual int AllocBinary(unsigned long byteCount);

  /// Clears the block, then reads it: a buffer of BytePerData times CountOfData bytes, zero where
  /// no Data element fills it. Data elements may stand in any order and overlap, the later one
  /// counts; one that does not lie within the buffer is left out, and values beyond its length are.
  /// 1; then the caller's log has a warning when the Data elements cannot have filled the buffer,
  /// also because of an encoding or a width without conversion.
  /// 0, with what was read until then, but without a buffer when that is what failed: a negative
  /// size, one of more than 2,147,483,647 bytes, or no memory.
  virtual int ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);

  /// Writes the four header elements and, when there is a buffer, all Data elements anew. Without
  /// one, Data elements that stand there stay.
  /// 0, with the reason in both logs and the element untouched, for a block that cannot be stored
  /// whole: an encoding outside 0 to 2, m_BinaryLength without a buffer or beyond 2,147,483,647, a
  /// block length that does not hold one datum, and for CSV a width other than 1, 2 and 4 or a
  /// buffer that ends within a datum. A block length that ends within a datum is used up to there.
  /// 1 with a warning in the caller's log when what is stored will not be read back: the encoding
  /// is not CSV (Data elements have no text then), or width times count is not the buffer's length.
  virtual int WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);

  /// Sets the width of a datum, which is that of the block, and the block length to that many data
  /// (at most 2,147,483,647 bytes).
  void SetBlockByteLength(unsigned int bytesPerDatum, unsigned int dataPerBlock);

  /// The first byte of the buffer, which stays the block's; null when there is none.
  unsigned char* GetBinary() noexcept { return m_pBinary.get(); }
  const unsigned char* GetBinary() const noexcept { return m_pBinary.get(); }

  /// 1 when there is a buffer of at least one byte, else 0.
  int IsValid() const noexcept;

  /// Sets the text to count signed data of the width at the pointer, in host order or, with a
  /// nonzero invert, in the other one, joined by the separator. The data are only read. 0 with an
  /// empty text for a width other than 1, 2 and 4, a null or empty separator (the numbers would run
  /// together), or a null pointer with a count above 0. Raises _com_error (E_OUTOFMEMORY) when the
  /// text cannot grow.
  static int EncodeSeparateValue(CString& text, ZAMTextView separator, const unsigned char* data,
                                 int bytesPerDatum, int count, int invert);

  /// Stores the numbers in the text as data of the width at the pointer, in host order, at most
  /// count of them; the bytes after the last one stay. The text is split at every unit of the
  /// separator, a run of them counting as one; with a null or empty separator it is one number.
  /// 0 with nothing stored for a width other than 1, 2 and 4, or a null pointer with a count
  /// above 0.
  static int DecodeSeparateValue(const CString& text, ZAMTextView separator, unsigned char* data,
                                 int bytesPerDatum, int count);

  int m_Encoding = 0;             ///< 0 CSV, 1 Base64, 2 HEX
  int m_ByteOrder = 0;            ///< of the data in the buffer: 0 little endian, else big endian
  int m_BytePerData = 2;          ///< width of one datum in bytes
  int m_CountOfData = 0;          ///< number of data
  int m_BlockByteLength = 10000;  ///< largest number of bytes in one Data element; not stored
  /// The data, or null. The buffer comes from std::calloc and goes by std::free
  /// (ZAMXMLBufferRelease): a host that puts one of its own here takes it from std::malloc,
  /// std::calloc or std::realloc, not from new, and sets m_BinaryLength to its bytes.
  std::unique_ptr<unsigned char[], ZAMXMLBufferRelease> m_pBinary;
  std::uint32_t m_BinaryLength = 0;  ///< bytes of the buffer

protected:
  /// The two conversions with the separator ",".
  static int EncodeCSV(CString& text, const unsigned char* data, int bytesPerDatum, int count,
                       int invert);
  static int DecodeCSV(const CString& text, unsigned char* data, int bytesPerDatum, int count);
};
