#include "zamxml/platform/error.h"

_com_error::_com_error(HRESULT result) noexcept : m_Result(result) {}
_com_error::_com_error(const _com_error&) noexcept = default;
_com_error& _com_error::operator=(const _com_error&) noexcept = default;
_com_error::~_com_error() = default;

HRESULT _com_error::Error() const noexcept { return m_Result; }

const char* _com_error::what() const noexcept {
  switch (m_Result) {
    case E_POINTER:
      return "There is no element behind the handle.";
    case E_OUTOFMEMORY:
      return "There is not enough memory.";
    case E_INVALIDARG:
      return "A value could not be stored.";
    default:
      return "An operation failed.";
  }
}

CInvalidArgException::CInvalidArgException() noexcept = default;
CInvalidArgException::CInvalidArgException(const CInvalidArgException&) noexcept = default;
CInvalidArgException& CInvalidArgException::operator=(const CInvalidArgException&) noexcept =
    default;
CInvalidArgException::~CInvalidArgException() = default;

const char* CInvalidArgException::what() const noexcept { return "An index is outside the array."; }
