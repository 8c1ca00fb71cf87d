#pragma once

#include <compare>
#include <concepts>
#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>

#include "zamxml/platform/export.h"

class _bstr_t;
class CString;

/// A file system path of the standard library, without its header.
template <class Type>
concept ZAMFilePath = requires(const Type& path) {
  { path.u8string() } -> std::same_as<std::u8string>;
  path.root_directory();
};

/// A view of UTF-16 code units, or null. Functions take names, paths and texts that they only read
/// as a view. A view does not allocate or own: its source must outlive the call. UTF-8 has to be
/// converted first: `xml.GetNode(_bstr_t("R/Name"))`.
class ZAMXML_API ZAMTextView {
public:
  constexpr ZAMTextView() noexcept = default;
  constexpr ZAMTextView(std::nullptr_t) noexcept {}
  /// Views a zero-terminated text. A null pointer gives null.
  constexpr ZAMTextView(const char16_t* text) noexcept
      : m_Data(text), m_Length(text != nullptr ? std::char_traits<char16_t>::length(text) : 0) {}
  /// Views all units. Never null, even for an empty view.
  constexpr ZAMTextView(std::u16string_view text) noexcept
      : m_Data(text.data() != nullptr ? text.data() : u""), m_Length(text.size()) {}
  ZAMTextView(const std::u16string& text) noexcept : m_Data(text.data()), m_Length(text.size()) {}
  ZAMTextView(const _bstr_t& text) noexcept;
  ZAMTextView(const CString& text) noexcept;

  constexpr bool IsNull() const noexcept { return m_Data == nullptr; }
  /// Returns the number of code units; 0 for null.
  constexpr std::size_t length() const noexcept { return m_Length; }
  /// Returns the code units; an empty view for null.
  constexpr std::u16string_view view() const noexcept {
    return m_Data != nullptr ? std::u16string_view(m_Data, m_Length) : std::u16string_view();
  }

private:
  const char16_t* m_Data = nullptr;
  std::size_t m_Length = 0;
};

/// A text, or null. A text is an immutable run of UTF-16 code units that carries its length, so it
/// may contain zero units. Copying is cheap: copies share the units.
///
/// Thread safety: different threads may use, copy and destroy copies of one text at the same time.
/// One object belongs to one thread at a time.
///
/// Raises _com_error (E_OUTOFMEMORY), with nothing changed, if memory runs out.
class ZAMXML_API _bstr_t {
public:
  /// Makes a null text.
  _bstr_t() noexcept = default;
  _bstr_t(std::nullptr_t) noexcept {}
  /// Copies a zero-terminated text. A null pointer gives a null text.
  _bstr_t(const char16_t* text);
  /// Same for wide characters: UTF-16 or UTF-32, whichever wchar_t holds on this platform.
  _bstr_t(const wchar_t* text);
  /// Same for UTF-8. Invalid bytes become U+FFFD.
  _bstr_t(const char* text);
  _bstr_t(const char8_t* text);
  /// Copies all units. Never null.
  _bstr_t(std::u16string_view text);
  _bstr_t(const std::u16string& text);
  /// Converts all UTF-8 bytes. Never null. Invalid bytes become U+FFFD.
  _bstr_t(std::string_view text);
  _bstr_t(const std::string& text);
  _bstr_t(std::u8string_view text);
  _bstr_t(const std::u8string& text);
  /// Converts a std::filesystem::path. Never null.
  template <ZAMFilePath Path>
  _bstr_t(const Path& path) : _bstr_t(path.u8string()) {}
  /// Copies the view. A null view gives a null text.
  explicit _bstr_t(ZAMTextView text);
  _bstr_t(const _bstr_t& other) noexcept;
  _bstr_t(_bstr_t&& other) noexcept;
  _bstr_t& operator=(const _bstr_t& other) noexcept;
  _bstr_t& operator=(_bstr_t&& other) noexcept;
  ~_bstr_t();

  /// Converts all UTF-8 bytes. Never null. Invalid bytes become U+FFFD.
  static _bstr_t FromUtf8(std::string_view bytes);

  /// Returns the number of code units; 0 for a null text.
  unsigned int length() const noexcept;
  /// Returns the zero-terminated units, or null for a null text. Valid until this object is
  /// assigned or destroyed.
  const char16_t* GetBSTR() const noexcept;
  /// Returns the units; an empty view for a null text. Valid until this object is assigned or
  /// destroyed.
  std::u16string_view view() const noexcept;
  /// Returns the text in UTF-8; empty for a null text. A lone surrogate becomes U+FFFD.
  std::string utf8() const;
  /// Same as a std::u8string, from which a std::filesystem::path can be made.
  std::u8string u8string() const;

  /// Returns true if both share their units, or both are null. Such texts are equal; others may be.
  bool SharesUnits(const _bstr_t& other) const noexcept { return m_Units == other.m_Units; }

  /// Returns true for a null text. An empty text is not null.
  bool operator!() const noexcept { return m_Units == nullptr; }

  /// Appends. The result is null only if both are null.
  _bstr_t& operator+=(const _bstr_t& other);
  friend ZAMXML_API _bstr_t operator+(const _bstr_t& left, const _bstr_t& right);

  /// Compares code unit by code unit. A null text equals an empty one.
  friend bool operator==(const _bstr_t& left, const _bstr_t& right) noexcept {
    return left.view() == right.view();
  }
  friend std::strong_ordering operator<=>(const _bstr_t& left, const _bstr_t& right) noexcept {
    return left.view() <=> right.view();
  }

  /// Writes the text in UTF-8; nothing for a null text.
  friend ZAMXML_API std::ostream& operator<<(std::ostream& stream, const _bstr_t& text);

private:
  struct Units;

  static Units* Copy(std::u16string_view first, std::u16string_view second);
  static void Release(Units* units) noexcept;

  Units* m_Units = nullptr;
};

/// A mutable string of UTF-16 code units. Never null.
///
/// Thread safety: used by one thread at a time.
///
/// Raises _com_error (E_OUTOFMEMORY), with nothing changed, if memory runs out.
class ZAMXML_API CString {
public:
  CString() noexcept;
  /// Copies. A null text gives an empty string.
  CString(const char16_t* text);
  CString(const _bstr_t& text);
  explicit CString(ZAMTextView text);
  CString(const CString& other);
  CString(CString&& other) noexcept;
  CString& operator=(const CString& other);
  CString& operator=(CString&& other) noexcept;
  ~CString();

  /// Returns the number of code units.
  int GetLength() const noexcept;
  bool IsEmpty() const noexcept;
  /// Removes all units. Keeps the memory.
  void Empty() noexcept;
  /// Makes room for `length` code units in total. Appending up to that length does not allocate.
  void Reserve(int length);

  /// Returns the zero-terminated units. Valid until the string changes.
  const char16_t* GetString() const noexcept;
  /// Returns the units. Valid until the string changes.
  std::u16string_view view() const noexcept;
  /// Returns the string in UTF-8. A lone surrogate becomes U+FFFD.
  std::string utf8() const;
  /// Copies the string into a text. Never null.
  operator _bstr_t() const;

  CString& operator+=(ZAMTextView text);
  CString& operator+=(char16_t unit);

  /// Compares code unit by code unit. A null text equals an empty string.
  friend bool operator==(const CString& left, const char16_t* right) noexcept {
    return left.view() == ZAMTextView(right).view();
  }
  friend bool operator==(const CString& left, const _bstr_t& right) noexcept {
    return left.view() == right.view();
  }
  friend bool operator==(const CString& left, const CString& right) noexcept {
    return left.view() == right.view();
  }
  friend std::strong_ordering operator<=>(const CString& left, const CString& right) noexcept {
    return left.view() <=> right.view();
  }

  /// Writes the string in UTF-8.
  friend ZAMXML_API std::ostream& operator<<(std::ostream& stream, const CString& text);

private:
  std::u16string m_Units;
};

inline ZAMTextView::ZAMTextView(const _bstr_t& text) noexcept
    : m_Data(text.GetBSTR()), m_Length(text.length()) {}

inline ZAMTextView::ZAMTextView(const CString& text) noexcept
    : m_Data(text.GetString()), m_Length(text.view().size()) {}
