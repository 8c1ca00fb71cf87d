#pragma once

#include <ZAMXMLData.h>

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>

/// Texts of a document as HTML that can neither break nor disguise the page around them.

/// Text of this program, with the characters that HTML uses escaped.
std::string Escaped(std::string_view text);

/// A text of a document: escaped, and with a visible mark in the place of every character that
/// shows nothing or turns the direction of writing, and of white space at either end.
std::string Marked(const _bstr_t& text);

/// The same set apart from the direction of what surrounds it (<bdi>). An empty text says that it
/// is empty. Of a text of more than limit UTF-16 units the beginning is shown, and its length.
std::string TextHtml(const _bstr_t& text, std::size_t limit);

/// The texts of a page: how much of each is shown, and those that its script takes by number.
class PageTexts {
public:
  explicit PageTexts(std::size_t limit) : m_Limit(limit) {}

  std::string Html(const _bstr_t& text) const { return TextHtml(text, m_Limit); }
  /// The number of a text; equal texts have one.
  int NumberOf(const _bstr_t& text);
  /// The numbered texts, an element each.
  std::string Numbered() const;

private:
  std::size_t m_Limit;
  std::deque<_bstr_t> m_Texts;
  std::unordered_map<std::u16string_view, int> m_Numbers;  ///< views into the texts
};
