#pragma once

#include <cstdint>
#include <exception>

#include "zamxml/platform/export.h"

/// A 32-bit result code; negative values are failures.
using HRESULT = std::int32_t;

inline constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003U);
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000EU);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057U);

/// Thrown by value where an operation cannot go on: E_POINTER when a null or dead node handle is
/// released, E_OUTOFMEMORY when a text, a list entry or a node cannot be allocated.
class ZAMXML_API _com_error : public std::exception {
public:
  explicit _com_error(HRESULT result) noexcept;
  _com_error(const _com_error&) noexcept;
  _com_error& operator=(const _com_error&) noexcept;
  ~_com_error() override;

  /// The 32-bit result code.
  HRESULT Error() const noexcept;

  /// One English sentence that names the code.
  const char* what() const noexcept override;

private:
  HRESULT m_Result;
};

/// Thrown by value when an array is asked for an index that it does not have.
class ZAMXML_API CInvalidArgException : public std::exception {
public:
  CInvalidArgException() noexcept;
  CInvalidArgException(const CInvalidArgException&) noexcept;
  CInvalidArgException& operator=(const CInvalidArgException&) noexcept;
  ~CInvalidArgException() override;

  const char* what() const noexcept override;
};
