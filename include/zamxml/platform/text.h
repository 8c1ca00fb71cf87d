#pragma once

#include <compare>
#include <cstddef>
#include <string>
#include <string_view>

#include "zamxml/platform/export.h"

class _bstr_t;
class CString;

/// A borrowed, nullable run of UTF-16 code units: how names, paths and texts that are only read are
/// passed. It neither allocates nor owns; what it was made from must outlive the call.
class ZAMXML_API ZAMTextView {
public:
  constexpr ZAMTextView() noexcept = default;
  constexpr ZAMTextView(std::nullptr_t) noexcept {}
  /// A null pointer gives a null text.
  constexpr ZAMTextView(const char16_t* text) noexcept
      : m_Data(text), m_Length(text != nullptr ? std::char_traits<char16_t>::length(text) : 0) {}
  /// Never null, also when the view is empty.
  constexpr ZAMTextView(std::u16string_view text) noexcept
      : m_Data(text.data() != nullptr ? text.data() : u""), m_Length(text.size()) {}
  ZAMTextView(const std::u16string& text) noexcept : m_Data(text.data()), m_Length(text.size()) {}
  ZAMTextView(const _bstr_t& text) noexcept;
  ZAMTextView(const CString& text) noexcept;

  constexpr bool IsNull() const noexcept { return m_Data == nullptr; }
  /// The number of code units; 0 for a null text.
  constexpr std::size_t length() const noexcept { return m_Length; }
  /// The code units; empty for a null text.
  constexpr std::u16string_view view() const noexcept {
    return m_Data != nullptr ? std::u16string_view(m_Data, m_Length) : std::u16string_view();
  }

private:
  const char16_t* m_Data = nullptr;
  std::size_t m_Length = 0;
};

/// A nullable text with value semantics: null, or an immutable run of UTF-16 code units that
/// carries its length (a zero unit inside is kept).
///
/// Copies share their units and the share count is atomic: copies of one text may be used, copied
/// and destroyed by different threads at once; one object is used by one thread at a time.
/// Where units cannot be allocated, _com_error with E_OUTOFMEMORY is raised and nothing changes.
class ZAMXML_API _bstr_t {
public:
  /// A null text.
  _bstr_t() noexcept = default;
  _bstr_t(std::nullptr_t) noexcept {}
  /// A copy of a zero-terminated text; a null pointer gives a null text.
  _bstr_t(const char16_t* text);
  /// The same from wide characters (UTF-16 or UTF-32, as wide as the platform's wchar_t).
  _bstr_t(const wchar_t* text);
  /// The same from UTF-8; bytes that are no UTF-8 become U+FFFD.
  _bstr_t(const char* text);
  /// A copy of all units; never null.
  _bstr_t(std::u16string_view text);
  _bstr_t(const std::u16string& text);
  /// A copy of the view, null when it is null.
  explicit _bstr_t(ZAMTextView text);
  _bstr_t(const _bstr_t& other) noexcept;
  _bstr_t(_bstr_t&& other) noexcept;
  _bstr_t& operator=(const _bstr_t& other) noexcept;
  _bstr_t& operator=(_bstr_t&& other) noexcept;
  ~_bstr_t();

  /// A text from UTF-8 bytes; never null. Bytes that are no UTF-8 become U+FFFD.
  static _bstr_t FromUtf8(std::string_view bytes);

  /// The number of code units; 0 for a null text.
  unsigned int length() const noexcept;
  /// The zero-terminated units, or null for a null text. Valid as long as this text is not
  /// assigned.
  const char16_t* GetBSTR() const noexcept;
  /// The units; empty for a null text. Valid as long as this text is not assigned.
  std::u16string_view view() const noexcept;
  /// The text in UTF-8; a lone surrogate becomes U+FFFD. Empty for a null text.
  std::string utf8() const;

  /// True for a null text (not for an empty one).
  bool operator!() const noexcept { return m_Units == nullptr; }

  /// Appends; null only when both are null.
  _bstr_t& operator+=(const _bstr_t& other);
  friend ZAMXML_API _bstr_t operator+(const _bstr_t& left, const _bstr_t& right);

  /// Compare code unit by code unit; a null text equals an empty one.
  friend bool operator==(const _bstr_t& left, const _bstr_t& right) noexcept {
    return left.view() == right.view();
  }
  friend std::strong_ordering operator<=>(const _bstr_t& left, const _bstr_t& right) noexcept {
    return left.view() <=> right.view();
  }

private:
  struct Units;

  static Units* Copy(std::u16string_view first, std::u16string_view second);
  static void Release(Units* units) noexcept;

  Units* m_Units = nullptr;
};

/// A mutable text of UTF-16 code units, never null. Used by one thread at a time; raises
/// _com_error (E_OUTOFMEMORY), unchanged, when it cannot grow.
class ZAMXML_API CString {
public:
  CString() noexcept;
  /// Copies; a null text gives an empty string.
  CString(const char16_t* text);
  CString(const _bstr_t& text);
  explicit CString(ZAMTextView text);
  CString(const CString& other);
  CString(CString&& other) noexcept;
  CString& operator=(const CString& other);
  CString& operator=(CString&& other) noexcept;
  ~CString();

  /// The number of code units.
  int GetLength() const noexcept;
  bool IsEmpty() const noexcept;
  /// Makes it empty; the memory is kept.
  void Empty() noexcept;
  /// Makes room for that many code units in all, so that appending up to there allocates nothing.
  void Reserve(int length);

  /// The zero-terminated units. Valid until the string changes.
  const char16_t* GetString() const noexcept;
  /// The units. Valid until the string changes.
  std::u16string_view view() const noexcept;
  /// A copy as a text; never null.
  operator _bstr_t() const;

  CString& operator+=(ZAMTextView text);
  CString& operator+=(char16_t unit);

  /// Compare code unit by code unit; a null text equals an empty string.
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

private:
  std::u16string m_Units;
};

inline ZAMTextView::ZAMTextView(const _bstr_t& text) noexcept
    : m_Data(text.GetBSTR()), m_Length(text.length()) {}

inline ZAMTextView::ZAMTextView(const CString& text) noexcept
    : m_Data(text.GetString()), m_Length(text.view().size()) {}
