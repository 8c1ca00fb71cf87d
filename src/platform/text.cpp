#include "zamxml/platform/text.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <ostream>
#include <utility>

#include "platform/utf.h"
#include "zamxml/platform/error.h"

/// The shared units: a count and a length, followed in memory by the units and a final zero.
struct _bstr_t::Units {
  std::atomic<std::uint32_t> m_References{1};
  std::uint32_t m_Length = 0;

  char16_t* Data() noexcept { return reinterpret_cast<char16_t*>(this + 1); }

  /// Every empty text shares this one, uncounted, so that empty fields cost nothing.
  static Units* Empty() noexcept;

  static Units* Allocate(std::size_t length) {
    if (length == 0) {
      return Empty();
    }
    if (length > std::numeric_limits<std::uint32_t>::max() - 1) {
      throw _com_error(E_OUTOFMEMORY);
    }
    void* memory = ::operator new(sizeof(Units) + (length + 1) * sizeof(char16_t), std::nothrow);
    if (memory == nullptr) {
      throw _com_error(E_OUTOFMEMORY);
    }
    auto* units = new (memory) Units;
    units->m_Length = static_cast<std::uint32_t>(length);
    units->Data()[length] = u'\0';
    return units;
  }

  static Units* Share(Units* units) noexcept {
    if (units != nullptr && units != Empty()) {
      units->m_References.fetch_add(1, std::memory_order_relaxed);
    }
    return units;
  }
};

namespace {

template <class Convert>
auto WithTextError(Convert convert) {
  try {
    return convert();
  } catch (const std::bad_alloc&) {
    throw _com_error(E_OUTOFMEMORY);
  } catch (const std::length_error&) {
    throw _com_error(E_OUTOFMEMORY);
  }
}

std::string_view Bytes(std::u8string_view text) noexcept {
  return {reinterpret_cast<const char*>(text.data()), text.size()};
}

std::string Utf8(std::u16string_view units) {
  return WithTextError([&] { return zam::ToUtf8(units); });
}

std::u16string FromWide(const wchar_t* text) {
  std::u16string units;
  for (; *text != L'\0'; ++text) {
    auto point = static_cast<std::uint32_t>(*text);
    if (point > 0x10FFFF) {
      point = 0xFFFD;
    }
    if (point >= 0x10000) {
      units += static_cast<char16_t>(0xD7C0 + (point >> 10));
      point = 0xDC00 + (point & 0x3FF);
    }
    units += static_cast<char16_t>(point);
  }
  return units;
}

}  // namespace

_bstr_t::Units* _bstr_t::Units::Empty() noexcept {
  struct EmptyUnits {
    Units m_Units;
    char16_t m_End = u'\0';
  };
  static EmptyUnits empty;
  return &empty.m_Units;
}

_bstr_t::Units* _bstr_t::Copy(std::u16string_view first, std::u16string_view second) {
  Units* units = Units::Allocate(first.size() + second.size());
  if (units->m_Length != 0) {
    std::copy(second.begin(), second.end(), std::copy(first.begin(), first.end(), units->Data()));
  }
  return units;
}

void _bstr_t::Release(Units* units) noexcept {
  if (units != nullptr && units != Units::Empty() &&
      units->m_References.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    units->~Units();
    ::operator delete(units);
  }
}

_bstr_t::_bstr_t(const char16_t* text)
    : m_Units(text != nullptr ? Copy(std::u16string_view(text), {}) : nullptr) {}

_bstr_t::_bstr_t(const wchar_t* text)
    : m_Units(text != nullptr ? WithTextError([&] { return Copy(FromWide(text), {}); }) : nullptr) {
}

_bstr_t::_bstr_t(const char* text) {
  if (text != nullptr) {
    *this = FromUtf8(text);
  }
}

_bstr_t::_bstr_t(const char8_t* text) : _bstr_t(reinterpret_cast<const char*>(text)) {}

_bstr_t::_bstr_t(std::u16string_view text) : m_Units(Copy(text, {})) {}

_bstr_t::_bstr_t(const std::u16string& text) : m_Units(Copy(text, {})) {}

_bstr_t::_bstr_t(std::string_view text) : _bstr_t(FromUtf8(text)) {}

_bstr_t::_bstr_t(const std::string& text) : _bstr_t(FromUtf8(text)) {}

_bstr_t::_bstr_t(std::u8string_view text) : _bstr_t(FromUtf8(Bytes(text))) {}

_bstr_t::_bstr_t(const std::u8string& text) : _bstr_t(FromUtf8(Bytes(text))) {}

_bstr_t::_bstr_t(ZAMTextView text) : m_Units(text.IsNull() ? nullptr : Copy(text.view(), {})) {}

_bstr_t::_bstr_t(const _bstr_t& other) noexcept : m_Units(Units::Share(other.m_Units)) {}

_bstr_t::_bstr_t(_bstr_t&& other) noexcept : m_Units(std::exchange(other.m_Units, nullptr)) {}

_bstr_t& _bstr_t::operator=(const _bstr_t& other) noexcept {
  Units* shared = Units::Share(other.m_Units);
  Release(std::exchange(m_Units, shared));
  return *this;
}

_bstr_t& _bstr_t::operator=(_bstr_t&& other) noexcept {
  if (this != &other) {
    Release(std::exchange(m_Units, std::exchange(other.m_Units, nullptr)));
  }
  return *this;
}

_bstr_t::~_bstr_t() { Release(m_Units); }

_bstr_t _bstr_t::FromUtf8(std::string_view bytes) {
  _bstr_t text;
  if (zam::IsAscii(bytes)) {
    text.m_Units = Units::Allocate(bytes.size());
    if (!bytes.empty()) {
      std::copy(bytes.begin(), bytes.end(), text.m_Units->Data());
    }
  } else {
    text.m_Units = WithTextError([&] { return Copy(zam::ToUtf16(bytes), {}); });
  }
  return text;
}

unsigned int _bstr_t::length() const noexcept { return m_Units != nullptr ? m_Units->m_Length : 0; }

const char16_t* _bstr_t::GetBSTR() const noexcept {
  return m_Units != nullptr ? m_Units->Data() : nullptr;
}

std::u16string_view _bstr_t::view() const noexcept {
  return m_Units != nullptr ? std::u16string_view(m_Units->Data(), m_Units->m_Length)
                            : std::u16string_view();
}

std::string _bstr_t::utf8() const { return Utf8(view()); }

std::u8string _bstr_t::u8string() const {
  const std::string bytes = utf8();
  return WithTextError([&] { return std::u8string(bytes.begin(), bytes.end()); });
}

std::ostream& operator<<(std::ostream& stream, const _bstr_t& text) {
  return stream << Utf8(text.view());
}

_bstr_t operator+(const _bstr_t& left, const _bstr_t& right) {
  _bstr_t sum;
  if (!!left || !!right) {
    sum.m_Units = _bstr_t::Copy(left.view(), right.view());
  }
  return sum;
}

_bstr_t& _bstr_t::operator+=(const _bstr_t& other) { return *this = *this + other; }

CString::CString() noexcept = default;
CString::CString(const char16_t* text) : CString(ZAMTextView(text)) {}
CString::CString(const _bstr_t& text) : CString(ZAMTextView(text)) {}
CString::CString(ZAMTextView text)
    : m_Units(WithTextError([&] { return std::u16string(text.view()); })) {}
CString::CString(const CString& other) : CString(ZAMTextView(other)) {}
CString::CString(CString&& other) noexcept = default;
CString& CString::operator=(const CString& other) {
  WithTextError([&] { m_Units = other.m_Units; });
  return *this;
}
CString& CString::operator=(CString&& other) noexcept = default;
CString::~CString() = default;

int CString::GetLength() const noexcept { return static_cast<int>(m_Units.size()); }
bool CString::IsEmpty() const noexcept { return m_Units.empty(); }
void CString::Empty() noexcept { m_Units.clear(); }
void CString::Reserve(int length) {
  if (length > 0) {
    WithTextError([&] { m_Units.reserve(static_cast<std::size_t>(length)); });
  }
}
const char16_t* CString::GetString() const noexcept { return m_Units.c_str(); }
std::u16string_view CString::view() const noexcept { return m_Units; }
std::string CString::utf8() const { return Utf8(m_Units); }
CString::operator _bstr_t() const { return _bstr_t(m_Units); }

CString& CString::operator+=(ZAMTextView text) {
  WithTextError([&] { m_Units += text.view(); });
  return *this;
}

CString& CString::operator+=(char16_t unit) {
  WithTextError([&] { m_Units += unit; });
  return *this;
}

std::ostream& operator<<(std::ostream& stream, const CString& text) {
  return stream << Utf8(text.m_Units);
}
