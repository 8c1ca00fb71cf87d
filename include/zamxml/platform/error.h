#pragma once

#include <cstdint>
#include <exception>

#include "zamxml/platform/export.h"

/// A 32-bit result code; negative values are failures.
using HRESULT = std::int32_t;

inline constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003U);
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000EU);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057U);

/// Thrown by value. Error() is E_OUTOFMEMORY if a text, a list entry or a node cannot be allocated,
/// E_POINTER if a null or dead node handle is released.
class ZAMXML_API _com_error : public std::exception {
public:
  explicit _com_error(HRESULT result) noexcept;
  _com_error(const _com_error&) noexcept;
  _com_error& operator=(const _com_error&) noexcept;
  ~_com_error() override;

  /// Returns the 32-bit result code.
  HRESULT Error() const noexcept;

  /// Returns one English sentence that names the code.
  const char* what() const noexcept override;

private:
  HRESULT m_Result;
};

/// Thrown by value if an index is out of range.
class ZAMXML_API CInvalidArgException : public std::exception {
public:
  CInvalidArgException() noexcept;
  CInvalidArgException(const CInvalidArgException&) noexcept;
  CInvalidArgException& operator=(const CInvalidArgException&) noexcept;
  ~CInvalidArgException() override;

  const char* what() const noexcept override;
};
