#include "platform/xml/plain.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "platform/xml/document.h"

namespace zam {
namespace {

enum Kind : unsigned char {
  NameStart = 1,
  NamePart = 2,
  Blank = 4,
  TextStop = 8,  ///< a byte in a text or an attribute that has to be looked at
};

constexpr bool IsLetter(unsigned int c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

/// What a text or an attribute may hold only in places, or never. The byte 0xEF leads U+FFFE and
/// U+FFFF.
constexpr bool StopsText(unsigned int c) {
  return (c < 0x20 && c != '\t' && c != '\n') || c == '&' || c == '<' || c == '>' || c == '"' ||
         c == '\'' || c == 0xEF;
}

constexpr std::array<unsigned char, 256> Kinds = [] {
  std::array<unsigned char, 256> kinds{};
  for (unsigned int c = 0; c < kinds.size(); ++c) {
    const bool part = IsLetter(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
    kinds[c] = static_cast<unsigned char>((IsLetter(c) ? NameStart : 0) | (part ? NamePart : 0) |
                                          (c == ' ' || c == '\t' || c == '\n' ? Blank : 0) |
                                          (StopsText(c) ? TextStop : 0));
  }
  return kinds;
}();

bool Is(char c, unsigned int kinds) { return (Kinds[static_cast<unsigned char>(c)] & kinds) != 0; }

/// Goes through a text from its front to its end; each step is false when it meets anything that
/// is not plain.
class Scanner {
public:
  Scanner(std::string_view text, std::string_view section, SectionPlaces& places)
      : m_Begin(text.data()),
        m_At(m_Begin),
        m_End(m_At + text.size()),
        m_Section(section),
        m_Places(places) {}

  bool Document() {
    bool hasRoot = false;
    while (SkipBlanks(), m_At != m_End) {
      if (IsNext("<!--")) {
        if (!Comment()) {
          return false;
        }
      } else if (std::exchange(hasRoot, true) || !Element()) {
        return false;
      }
    }
    return hasRoot;
  }

private:
  bool IsNext(std::string_view bytes) const {
    return std::string_view(m_At, static_cast<std::size_t>(m_End - m_At)).starts_with(bytes);
  }
  bool Take(std::string_view bytes) {
    const bool there = IsNext(bytes);
    m_At += there ? bytes.size() : 0;
    return there;
  }
  /// A zero follows the text, so one byte may always be looked at.
  bool Take(char byte) {
    const bool there = *m_At == byte;
    m_At += there ? 1 : 0;
    return there;
  }
  bool SkipBlanks() {
    const char* const start = m_At;
    while (Is(*m_At, Blank)) {
      ++m_At;
    }
    return m_At != start;
  }
  bool Name(std::string_view& name) {
    const char* const start = m_At;
    if (!Is(*m_At, NameStart)) {
      return false;
    }
    while (Is(*m_At, NamePart)) {
      ++m_At;
    }
    name = {start, static_cast<std::size_t>(m_At - start)};
    return true;
  }

  bool Element();
  bool StartTag();
  bool EndTag();
  bool Attributes();
  bool Value();
  bool Text();
  /// One of the references that are known, of which the writer makes the first ones in texts.
  bool Reference();
  /// What the writer would write otherwise.
  void Deviate() { m_IsWritten = false; }

  std::size_t Place() const { return static_cast<std::size_t>(m_At - m_Begin); }
  /// Take note of where elements of the first levels begin and end.
  void NoteStart(std::string_view name);
  void NoteEnd(std::size_t endTag);
  void NoteSectionEnd(std::size_t endTag);
  bool Comment() { return Take("<!--") && Verbatim("--") && Take('>'); }
  /// Characters as they are, up to an end, which is passed.
  bool Verbatim(std::string_view end);
  /// Goes on to the next byte at which a text stops.
  void SkipText();
  bool IsNoncharacter() const { return IsNext("\xEF\xBF\xBE") || IsNext("\xEF\xBF\xBF"); }

  const char* m_Begin;
  const char* m_At;
  const char* m_End;
  std::vector<std::string_view> m_Open;
  std::size_t m_Opened = 0;  ///< behind the last start tag of an element that is not empty
  std::string_view m_Section;
  SectionPlaces& m_Places;
  bool m_InSection = false;
  std::string_view m_Child;    ///< name of the section's last child,
  std::size_t m_ChildEnd = 0;  ///< and its end
  bool m_IsWritten = true;     ///< whether the section's content is as the writer makes it
};

void Scanner::SkipText() {
  constexpr std::size_t Short = 32;
  for (std::size_t i = 0; i < Short; ++i, ++m_At) {
    if (Is(*m_At, TextStop)) {
      return;
    }
  }
  for (;;) {
    while (static_cast<std::size_t>(m_End - m_At) >= BlockSize && IsPlainBlock(m_At)) {
      m_At += BlockSize;
    }
    for (std::size_t i = 0; i < BlockSize; ++i, ++m_At) {
      if (Is(*m_At, TextStop)) {
        return;
      }
    }
  }
}

bool Scanner::Reference() {
  for (const std::string_view known : {"&lt;", "&gt;", "&amp;", "&#13;"}) {
    if (Take(known)) {
      return true;
    }
  }
  Deviate();
  for (const std::string_view known : {"&quot;", "&apos;", "&#9;", "&#10;"}) {
    if (Take(known)) {
      return true;
    }
  }
  return false;
}

bool Scanner::Text() {
  const char* const start = m_At;
  for (;;) {
    SkipText();
    switch (*m_At) {
      case '<':
        return true;
      case '&':
        if (!Reference()) {
          return false;
        }
        break;
      case '>':
        if (std::string_view(start, static_cast<std::size_t>(m_At - start)).ends_with("]]")) {
          return false;
        }
        Deviate();
        ++m_At;
        break;
      case '"':
      case '\'':
        ++m_At;
        break;
      default:
        if (*m_At != '\xEF' || IsNoncharacter()) {
          return false;
        }
        if (m_At == start) {
          Deviate();  // It may be a byte order mark, which is not read at the front of raw
                      // children.
        }
        ++m_At;
    }
  }
}

bool Scanner::Value() {
  const char quote = *m_At;
  if (!Take('"') && !Take('\'')) {
    return false;
  }
  for (;;) {
    SkipText();
    if (Take(quote)) {
      return true;
    }
    if (*m_At == '&') {
      if (!Reference()) {
        return false;
      }
    } else if (*m_At == '"' || *m_At == '\'' || *m_At == '>' ||
               (*m_At == '\xEF' && !IsNoncharacter())) {
      ++m_At;
    } else {
      return false;
    }
  }
}

bool Scanner::Verbatim(std::string_view end) {
  for (; !IsNext(end); ++m_At) {
    const auto byte = static_cast<unsigned char>(*m_At);
    if ((byte < 0x20 && !Is(*m_At, Blank)) || IsNoncharacter()) {
      return false;
    }
  }
  return Take(end);
}

bool Scanner::Attributes() {
  std::array<std::string_view, 8> names;
  for (std::size_t count = 0; SkipBlanks(); ++count) {
    Deviate();
    if (!Is(*m_At, NameStart)) {
      return true;
    }
    if (count == names.size() || !Name(names[count]) ||
        std::find(names.begin(), names.begin() + count, names[count]) != names.begin() + count) {
      return false;
    }
    SkipBlanks();
    if (!Take('=')) {
      return false;
    }
    SkipBlanks();
    if (!Value()) {
      return false;
    }
  }
  return true;
}

void Scanner::NoteStart(std::string_view name) {
  if (m_InSection) {
    if (m_Open.size() == 3 && std::exchange(m_Child, name) != name && m_Places.m_Count > 0) {
      Deviate();
    }
  } else if (m_Open.size() == 1) {
    m_Places.m_Root = name;
  } else if (m_Open.size() == 2 && name == m_Section && m_Places.m_Content == 0) {
    m_Places.m_Content = Place();
    m_InSection = true;
    m_IsWritten = true;
  }
}

void Scanner::NoteEnd(std::size_t endTag) {
  if (m_Open.size() == 2 && m_InSection) {
    ++m_Places.m_Count;
    m_Places.m_LastChild = std::exchange(m_ChildEnd, Place());
  } else if (m_Open.size() == 1 && m_InSection) {
    NoteSectionEnd(endTag);
  } else if (m_Open.empty()) {
    m_Places.m_RootEndTag = endTag;
    m_Places.m_RootEnd = Place();
  }
}

void Scanner::NoteSectionEnd(std::size_t endTag) {
  m_InSection = false;
  m_Places.m_Name = m_Section;
  m_Places.m_EndTag = endTag;
  m_Places.m_End = Place();
  m_Places.m_IsUniform = m_IsWritten && m_Places.m_Count > 1;
}

bool Scanner::StartTag() {
  std::string_view name;
  // Most tags have none.
  if (!Take('<') || !Name(name) || (*m_At != '>' && !Attributes())) {
    return false;
  }
  const bool empty = Take('/');
  if (!Take('>') || m_Open.size() >= MaximumDepth) {
    return false;
  }
  m_Open.push_back(name);
  NoteStart(name);
  if (empty) {
    m_Open.pop_back();
    NoteEnd(Place());
  } else {
    m_Opened = Place();
  }
  return true;
}

bool Scanner::EndTag() {
  const std::size_t tag = Place();
  if (tag == m_Opened) {
    Deviate();
  }
  if (!Take("</") || !Take(m_Open.back())) {
    return false;
  }
  if (SkipBlanks()) {
    Deviate();
  }
  m_Open.pop_back();
  if (!Take('>')) {
    return false;
  }
  NoteEnd(tag);
  return true;
}

/// An element with all that it holds.
bool Scanner::Element() {
  if (!StartTag()) {
    return false;
  }
  while (!m_Open.empty()) {
    if (!Text()) {
      return false;
    }
    const char next = m_At[1];
    const bool plain = next == '/'         ? EndTag()
                       : next != '!'       ? StartTag()
                       : Take("<![CDATA[") ? Verbatim("]]>")
                                           : Comment();
    if (!plain) {
      return false;
    }
  }
  return true;
}

}  // namespace

bool IsPlainBlock(const char* bytes) {
  constexpr auto inEachByte = [](unsigned char byte) {
    return std::uint64_t{0x0101010101010101} * byte;
  };
  static_assert(('<' | 2) == '>' && ('&' | 1) == '\'');
  std::array<std::uint64_t, BlockSize / 8> block;
  std::memcpy(block.data(), bytes, BlockSize);
  std::uint64_t stops = 0;
  for (const std::uint64_t eight : block) {
    // The highest bit of a byte comes out set where it was, or where the difference is negative.
    const std::uint64_t bracket = (eight | inEachByte(2)) ^ inEachByte('>');
    const std::uint64_t ampersand = (eight | inEachByte(1)) ^ inEachByte('\'');
    const std::uint64_t quote = eight ^ inEachByte('"');
    stops |= eight | (eight - inEachByte(0x20)) | (bracket - inEachByte(1)) |
             (ampersand - inEachByte(1)) | (quote - inEachByte(1));
  }
  return (stops & inEachByte(0x80)) == 0;
}

bool IsPlainDocument(std::string_view text, std::string_view section, SectionPlaces& places) {
  return Scanner(text, section, places).Document();
}

}  // namespace zam
