#pragma once

#include <cstddef>
#include <string_view>

/// How large a document may be.
namespace zam {

/// Longer documents are not read: the parser counts in int.
inline constexpr std::size_t MaximumSize = 0x7FFFFFFF;

/// Elements are nested at most so deep, when read and when added.
inline constexpr int MaximumDepth = 1000;

/// No element has more attributes, when read and when set.
inline constexpr int MaximumAttributes = 1000;

/// The place of a start tag with more attributes than are read, or npos. The parser compares each
/// attribute of a tag with all others before it tells of any.
std::size_t FindCrowdedTag(std::string_view text);

}  // namespace zam
