#include <iconv.h>

#include <array>
#include <cerrno>
#include <new>

#include "platform/system.h"

namespace zam {
namespace {

class Converter {
public:
  explicit Converter(const std::string& encoding)
      : m_Converter(::iconv_open("UTF-8", encoding.c_str())) {
    if (!IsOpen() && errno == ENOMEM) {
      throw std::bad_alloc();
    }
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  ~Converter() {
    if (IsOpen()) {
      ::iconv_close(m_Converter);
    }
  }

  bool IsOpen() const noexcept { return m_Converter != reinterpret_cast<iconv_t>(-1); }

  /// Appends what the bytes give; without any, what an encoding with states leaves at the end.
  bool Append(std::string& text, char* bytes, std::size_t size) {
    for (;;) {
      std::array<char, 16384> buffer;
      char* out = buffer.data();
      std::size_t room = buffer.size();
      const bool whole = ::iconv(m_Converter, bytes != nullptr ? &bytes : nullptr, &size, &out,
                                 &room) != static_cast<std::size_t>(-1);
      const int error = errno;
      text.append(buffer.data(), buffer.size() - room);
      if (whole || error != E2BIG) {
        return whole;
      }
    }
  }

private:
  iconv_t m_Converter;
};

}  // namespace

Conversion AppendConverted(std::string& text, std::string_view bytes, const std::string& encoding) {
  Converter converter(encoding);
  if (!converter.IsOpen()) {
    return Conversion::UnknownEncoding;
  }
  // POSIX declares the bytes as changeable and leaves them alone.
  const bool whole = converter.Append(text, const_cast<char*>(bytes.data()), bytes.size()) &&
                     converter.Append(text, nullptr, 0);
  return whole ? Conversion::Done : Conversion::BadBytes;
}

}  // namespace zam
