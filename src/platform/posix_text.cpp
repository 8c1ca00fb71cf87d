#include <iconv.h>

#include <array>
#include <cerrno>
#include <memory>
#include <new>
#include <type_traits>

#include "platform/system.h"

namespace zam {
namespace {

struct CloseConverter {
  void operator()(iconv_t converter) const noexcept { ::iconv_close(converter); }
};
using Converter = std::unique_ptr<std::remove_pointer_t<iconv_t>, CloseConverter>;

/// Appends what the bytes give; without any, what an encoding with states leaves at the end.
bool Append(std::string& text, iconv_t converter, char* bytes, std::size_t size) {
  for (;;) {
    std::array<char, 16384> buffer;
    char* out = buffer.data();
    std::size_t room = buffer.size();
    const bool whole = ::iconv(converter, bytes != nullptr ? &bytes : nullptr, &size, &out,
                               &room) != static_cast<std::size_t>(-1);
    const int error = errno;
    text.append(buffer.data(), buffer.size() - room);
    if (whole || error != E2BIG) {
      return whole;
    }
  }
}

}  // namespace

Conversion AppendConverted(std::string& text, std::string_view bytes, const std::string& encoding) {
  const iconv_t opened = ::iconv_open("UTF-8", encoding.c_str());
  if (opened == reinterpret_cast<iconv_t>(-1)) {
    if (errno == ENOMEM) {
      throw std::bad_alloc();
    }
    return Conversion::UnknownEncoding;
  }
  const Converter converter(opened);
  // POSIX declares the bytes as changeable and leaves them alone.
  const bool whole = Append(text, opened, const_cast<char*>(bytes.data()), bytes.size()) &&
                     Append(text, opened, nullptr, 0);
  return whole ? Conversion::Done : Conversion::BadBytes;
}

}  // namespace zam
