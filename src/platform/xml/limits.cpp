#include "platform/xml/limits.h"

#include "platform/xml/encoding.h"

namespace zam {
namespace {

/// The number of attributes of the start tag at the front of the text.
std::size_t CountAttributes(std::string_view tag) {
  std::size_t count = 0;
  std::size_t quote = tag.find_first_of("\"'>");
  while (quote != tag.npos && tag[quote] != '>' &&
         tag[tag.find_last_not_of(Blanks, quote - 1)] == '=') {
    ++count;
    const std::size_t end = tag.find(tag[quote], quote + 1);
    quote = end != tag.npos ? tag.find_first_of("\"'>", end + 1) : end;
  }
  return count;
}

/// The end of the comment, CDATA section or instruction that the place is in, npos when that does
/// not end; the place itself when it is in none. `outside` is an earlier place that is in none.
std::size_t EndOfOther(std::string_view text, std::size_t outside, std::size_t place) {
  constexpr std::string_view Others[][2] = {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};
  while ((outside = text.find('<', outside)) < place) {
    std::size_t end = outside + 1;
    for (const auto& [open, close] : Others) {
      if (text.substr(outside).starts_with(open)) {
        end = text.find(close, outside + open.size());
      }
    }
    if (end > place) {
      return end;
    }
    outside = end;
  }
  return place;
}

}  // namespace

std::size_t FindCrowdedTag(std::string_view text) {
  constexpr std::size_t LeastSize = std::string_view(" a=''").size() * MaximumAttributes;
  std::size_t outside = 0;
  std::size_t tag = text.find('<');
  while (tag < text.size() && text.size() - tag > LeastSize) {
    const std::size_t later = text.rfind('<', tag + LeastSize);
    if (later != tag) {
      tag = later;
      continue;
    }
    const std::size_t next = text.find('<', tag + 1);
    const char kind = text[tag + 1];
    if (kind != '/' && kind != '!' && kind != '?' &&
        CountAttributes(text.substr(tag, next - tag)) > MaximumAttributes) {
      outside = EndOfOther(text, outside, tag);
      if (outside == tag) {
        return tag;
      }
      tag = text.find('<', outside);
    } else {
      tag = next;
    }
  }
  return text.npos;
}

}  // namespace zam
