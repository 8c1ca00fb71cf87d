#pragma once

#include <cstdint>
#include <memory>

#include "zamxml/platform/export.h"
#include "zamxml/platform/log.h"
#include "zamxml/platform/text.h"
#include "zamxml/platform/xml.h"

/// Releases the buffer of a ZAMXMLBinary with std::free.
struct ZAMXML_API ZAMXMLBufferRelease {
  void operator()(unsigned char* buffer) const noexcept;
};

/// A block of signed integers of 1, 2 or 4 bytes each, which a host stores in an element of its
/// own.
///
/// Elements: Encoding and ByteOrder (a name each, with the code in the attribute code),
/// BytePerData, CountOfData, and any number of Data. Each Data element stores one part of the
/// buffer, at most m_BlockByteLength bytes: its attributes start and length give the first byte and
/// the number of bytes, its text the integers in decimal, joined by ",".
///
/// The buffer holds each integer in the byte order of m_ByteOrder. Only encoding 0 (CSV) converts
/// data.
///
/// Numbers in text: white space, a sign, decimal digits up to the first other character; 0 if there
/// are no digits. An integer that does not fit keeps its low bits, so 200 and -56 are the same
/// byte; a number beyond 64 bits is first replaced by the nearest signed 64-bit number. The numbers
/// of the header elements and of start and length keep their low 32 bits in the same way.
///
/// Fails like all records (records.h), with one difference: for a null element handle, ReadFromXML
/// reads an empty block.
///
/// Thread safety: used by one thread at a time.
class ZAMXML_API ZAMXMLBinary {
public:
  ZAMXMLBinary();
  /// Copy the buffer. Raise _com_error (E_OUTOFMEMORY), with nothing changed, if there is no memory
  /// for it.
  ZAMXMLBinary(const ZAMXMLBinary& other);
  ZAMXMLBinary& operator=(const ZAMXMLBinary& other);
  /// Releases the buffer.
  virtual ~ZAMXMLBinary();

  /// Releases the buffer and sets encoding and byte order to 0. Keeps width, count and block
  /// length.
  virtual void Clear();

  /// Replaces the buffer with one of `byteCount` zero bytes; 0 is allowed, the maximum is
  /// 2,147,483,647. Returns 0, without a buffer, if the size is too large or memory runs out. The
  /// caller sets m_BytePerData and m_CountOfData to match. On most systems bytes that are never
  /// written take no memory.
  virtual int AllocBinary(unsigned long byteCount);

  /// Clears the block, then reads it into a buffer of BytePerData times CountOfData bytes. Bytes
  /// that no Data element fills are zero. Data elements may be in any order; where they overlap,
  /// the later one wins. Ignores a Data element that is not inside the buffer, and numbers beyond
  /// its length. Returns 1, with a warning in the caller's log if the Data elements cannot have
  /// filled the buffer, or their encoding or width cannot be converted. Returns 0, with what was
  /// read so far, if it fails; there is no buffer if its size is negative or above 2,147,483,647,
  /// or memory runs out.
  virtual int ReadFromXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);

  /// Writes the four header elements and, if there is a buffer, replaces all Data elements. Without
  /// a buffer it keeps existing Data elements. A block length is rounded down to whole integers.
  /// Returns 0, with the reason in both logs and the element unchanged, if the block cannot be
  /// stored: the encoding is not 0 to 2, m_BinaryLength is set without a buffer or above
  /// 2,147,483,647, the block length is shorter than one integer, or, for CSV, the width is not 1,
  /// 2 or 4 or the buffer ends inside an integer. Returns 1, with a warning in the caller's log, if
  /// reading will not give the same block: the encoding is not CSV (Data elements then have no
  /// text), or width times count is not the length of the buffer.
  virtual int WriteToXML(ZAMXml& xml, IXMLDOMNodePtr& element, ZAMLog* log);

  /// Sets the width of an integer, and the block length to `dataPerBlock` integers, at most
  /// 2,147,483,647 bytes.
  void SetBlockByteLength(unsigned int bytesPerDatum, unsigned int dataPerBlock);

  /// Returns the first byte of the buffer; null if there is no buffer. The block keeps ownership.
  unsigned char* GetBinary() noexcept { return m_pBinary.get(); }
  const unsigned char* GetBinary() const noexcept { return m_pBinary.get(); }

  /// Returns 1 if there is a buffer of at least one byte, else 0.
  int IsValid() const noexcept;

  /// Sets `text` to `count` signed integers from `data` in decimal, joined by the separator. The
  /// integers are in the machine's byte order, or in the other one if `invert` is nonzero. Returns
  /// 0 and sets the empty text if the width is not 1, 2 or 4, the separator is null or empty, or
  /// `data` is null and `count` above 0. Raises _com_error (E_OUTOFMEMORY) if memory runs out.
  static int EncodeSeparateValue(CString& text, ZAMTextView separator, const unsigned char* data,
                                 int bytesPerDatum, int count, int invert);

  /// Stores at most `count` numbers of `text` at `data`, in the machine's byte order. Bytes after
  /// the last number are unchanged. Every unit of the separator separates numbers, and a run of
  /// them separates once; without a separator the text is one number. Returns 0 and stores nothing
  /// if the width is not 1, 2 or 4, or `data` is null and `count` above 0.
  static int DecodeSeparateValue(const CString& text, ZAMTextView separator, unsigned char* data,
                                 int bytesPerDatum, int count);

  int m_Encoding = 0;             ///< 0 CSV, 1 Base64, 2 HEX
  int m_ByteOrder = 0;            ///< of the buffer: 0 little endian, else big endian
  int m_BytePerData = 2;          ///< width of one integer in bytes
  int m_CountOfData = 0;          ///< number of integers
  int m_BlockByteLength = 10000;  ///< largest number of bytes in one Data element; not stored
  /// The integers, or null. ZAMXMLBufferRelease frees the buffer with std::free: a host that puts
  /// its own buffer here allocates it with std::malloc, std::calloc or std::realloc, not with new,
  /// and sets m_BinaryLength.
  std::unique_ptr<unsigned char[], ZAMXMLBufferRelease> m_pBinary;
  std::uint32_t m_BinaryLength = 0;  ///< length of the buffer in bytes

protected:
  /// Same as the two conversions above with the separator ",".
  static int EncodeCSV(CString& text, const unsigned char* data, int bytesPerDatum, int count,
                       int invert);
  static int DecodeCSV(const CString& text, unsigned char* data, int bytesPerDatum, int count);
};
