#include "platform/xml/raw.h"

#include <algorithm>
#include <new>
#include <string>
#include <utility>

#include "platform/xml/access.h"

/// Trees made of plain bytes, and of a part of them.

namespace {

constexpr unsigned int ParseFlags = pugi::parse_cdata | pugi::parse_comments | pugi::parse_escapes |
                                    pugi::parse_fragment | pugi::parse_wconv_attribute |
                                    pugi::parse_ws_pcdata;

/// The end tags that are missing in front of the children of a section.
std::string EndTagsOf(const zam::SectionPlaces& section) {
  std::string tags = "</";
  tags.append(section.m_Name).append("></").append(section.m_Root).append(">");
  return tags;
}

/// Whether the section's children may stay raw, and that pays: the last one, and what is behind it,
/// is copied.
bool MayStayRaw(std::string_view text, const zam::SectionPlaces& section) {
  const std::size_t size = section.m_LastChild - section.m_Content;
  return section.m_IsUniform && size > EndTagsOf(section).size() &&
         size > text.size() - section.m_LastChild &&
         !text.substr(section.m_End).starts_with('\xEF');
}

/// A text of raw children, which have no other references.
std::string Unescaped(std::string_view text) {
  constexpr std::pair<std::string_view, char> References[] = {
      {"&lt;", '<'}, {"&gt;", '>'}, {"&amp;", '&'}, {"&#13;", '\r'}};
  std::string plain;
  while (!text.empty()) {
    const std::size_t run = std::min(text.find('&'), text.size());
    plain += text.substr(0, run);
    text.remove_prefix(run);
    const auto* const known = std::ranges::find_if(
        References, [text](const auto& reference) { return text.starts_with(reference.first); });
    if (known != std::end(References)) {
      plain += known->second;
      text.remove_prefix(known->first.size());
    }
  }
  return plain;
}

/// False without memory; a plain text is refused for no other reason.
bool IsRead(const pugi::xml_parse_result& result) {
  if (result.status == pugi::status_out_of_memory) {
    throw std::bad_alloc();
  }
  return static_cast<bool>(result);
}

}  // namespace

bool ZAMXmlDocument::Load(char* bytes, std::size_t size) {
  // The zero counts, too: otherwise the last byte would be taken for it.
  return IsRead(m_Tree.load_buffer_inplace(bytes, size + 1, ParseFlags, pugi::encoding_utf8));
}

std::unique_ptr<ZAMXmlDocument> ZAMXmlDocument::FromPlain(std::unique_ptr<char[]> source,
                                                          std::string_view text,
                                                          const zam::SectionPlaces& section) {
  auto document = std::make_unique<ZAMXmlDocument>();
  char* const bytes = source.get() + (text.data() - source.get());
  document->m_Source = std::move(source);
  const bool isRaw = MayStayRaw(text, section);
  const bool isRead =
      isRaw ? document->LoadAround(bytes, text, section) : document->Load(bytes, text.size());
  return isRead ? std::move(document) : nullptr;
}

bool ZAMXmlDocument::LoadAround(char* bytes, std::string_view text,
                                const zam::SectionPlaces& section) {
  // The tags that are open in front of the raw children end there for the parser; the bytes that
  // are covered by that come back.
  const std::string endTags = EndTagsOf(section);
  char* const raw = bytes + section.m_Content;
  const std::string covered(raw, endTags.size() + 1);
  *std::copy(endTags.begin(), endTags.end(), raw) = '\0';
  const bool begins = Load(bytes, section.m_Content + endTags.size());
  std::copy(covered.begin(), covered.end(), raw);
  const pugi::xml_node parent = Root().last_child();
  const auto add = [&](pugi::xml_node node, std::size_t begin, std::size_t end) {
    const std::string_view piece = text.substr(begin, end - begin);
    return IsRead(node.append_buffer(piece.data(), piece.size(), ParseFlags, pugi::encoding_utf8));
  };
  if (!begins || !add(parent, section.m_LastChild, section.m_EndTag) ||
      !add(Root(), section.m_End, section.m_RootEndTag) ||
      !add(m_Tree, section.m_RootEnd, text.size())) {
    return false;
  }
  zam::RawChildren children{
      parent, {raw, section.m_LastChild - section.m_Content}, section.m_Count - 1};
  m_Raw = std::make_shared<const zam::RawChildren>(std::move(children));
  return true;
}

void ZAMXmlDocument::MakeNodes() {
  pugi::xml_node parent = m_Raw->m_Parent;
  const zam::Nodes others(parent.children().begin(), parent.children().end());
  // Not in place: if that fails, the bytes are what there is.
  const auto result = parent.append_buffer(m_Raw->m_Bytes.data(), m_Raw->m_Bytes.size(), ParseFlags,
                                           pugi::encoding_utf8);
  if (!result) {
    while (others.back().next_sibling()) {
      parent.remove_child(others.back().next_sibling());
    }
    throw std::bad_alloc();
  }
  for (const pugi::xml_node other : others) {
    parent.append_move(other);
  }
  m_Raw.reset();
}

namespace zam {

void RawSection::Choose(ZAMXml& xml, const char* name) noexcept { xml.m_RawSection = name; }

RawSection::RawSection(ZAMXml& xml, const IXMLDOMNodePtr& element)
    : m_Xml(xml), m_Element(StructureOf(ZAMXml::Access{xml}.Itself(element))) {
  if (m_Element != nullptr && xml.m_Document->Raw() &&
      xml.m_Document->Raw()->m_Parent == NodeOf(m_Element)) {
    m_Raw = xml.m_Document->Raw();
  }
}

int RawSection::GetCount() const noexcept { return m_Raw != nullptr ? m_Raw->m_Count : 0; }

RawCursor::RawCursor(const RawSection& section)
    : m_Document(*section.m_Xml.m_Document), m_Rest(section.m_Raw->m_Bytes) {
  // Like the children that follow: others are added like them.
  const pugi::xml_node first = NodeOf(section.m_Element).first_child();
  if (IsFormatting(first)) {
    m_First = first.value();
    m_Levels[0] = m_Document.m_Lines ? LastLine(first) : std::string_view();
  }
  for (std::size_t depth = 1; depth < m_Levels.size() && !m_Levels[0].empty(); ++depth) {
    m_Levels[depth] = m_Levels[depth - 1] + m_Document.m_IndentUnit;
  }
}

/// Takes the white space that comes next. A step that fails gives it back.
class RawCursor::Formatting {
public:
  Formatting(RawCursor& cursor, const std::string& expected)
      : m_Cursor(cursor), m_Rest(cursor.m_Rest) {
    m_IsExpected = m_Rest.starts_with(expected) && m_Rest.substr(expected.size()).starts_with('<');
    cursor.m_Rest.remove_prefix(m_IsExpected
                                    ? expected.size()
                                    : std::min(m_Rest.find_first_not_of(" \t\n"), m_Rest.size()));
  }
  /// Whether the step has been taken.
  bool Ends(bool taken) {
    if (!taken) {
      m_Cursor.m_Rest = m_Rest;
    } else if (!m_IsExpected) {
      m_Cursor.m_IsWritten = false;
    }
    return taken;
  }

private:
  RawCursor& m_Cursor;
  std::string_view m_Rest;
  bool m_IsExpected;
};

bool RawCursor::Take(std::string_view bytes) noexcept {
  // Names and tags are too short for a call.
  std::size_t size = 0;
  while (size < bytes.size() && size < m_Rest.size() && m_Rest[size] == bytes[size]) {
    ++size;
  }
  if (size < bytes.size()) {
    return false;
  }
  m_Rest.remove_prefix(size);
  return true;
}

bool RawCursor::TakeTag(std::string_view opening, const FieldName& name,
                        std::string_view closing) noexcept {
  return Take(opening) && Take(name.view()) && Take(closing);
}

bool RawCursor::Enter(const FieldName& name) {
  const bool isEntered = Formatting(*this, BeforeChild()).Ends(TakeTag("<", name, ">"));
  if (isEntered) {
    ++m_Depth;
    m_Entered = m_Rest.data();
  }
  return isEntered;
}

bool RawCursor::Leave(const FieldName& name) {
  // An element without content is written as an empty one.
  m_IsWritten = m_IsWritten && m_Rest.data() != m_Entered;
  const bool isLeft = Formatting(*this, m_Levels[m_Depth - 1]).Ends(TakeTag("</", name, ">"));
  m_Depth -= isLeft ? 1 : 0;
  return isLeft;
}

bool RawCursor::PassEmpty(const FieldName& name) {
  return Formatting(*this, BeforeChild()).Ends(TakeTag("<", name, "/>"));
}

bool RawCursor::PassText(const FieldName& name, std::string_view& bytes) {
  Formatting formatting(*this, BeforeChild());
  bytes = {};
  if (!TakeTag("<", name, "")) {
    return formatting.Ends(false);
  }
  if (Take("/>")) {
    return formatting.Ends(true);
  }
  const bool hasText = Take(">");
  if (hasText) {
    bytes = TakePieces();
  }
  return formatting.Ends(hasText && TakeTag("</", name, ">"));
}

std::string_view RawCursor::TakePieces() {
  constexpr std::string_view CData = "<![CDATA[";
  constexpr std::string_view CDataEnd = "]]>";
  const auto takeUpTo = [this](std::string_view end) {
    const std::string_view piece = m_Rest.substr(0, m_Rest.find(end));
    m_Rest.remove_prefix(piece.size());
    return piece;
  };
  std::string_view bytes = takeUpTo("<");
  if (bytes.find('&') == bytes.npos && !m_Rest.starts_with(CData)) {
    m_IsWritten = m_IsWritten && TextTypeOf(bytes) == pugi::node_pcdata;
    return bytes;
  }
  int pieces = bytes.empty() ? 0 : 1;
  pugi::xml_node_type type = pugi::node_pcdata;
  m_Joined = Unescaped(bytes);
  while (Take(CData)) {
    m_Joined += takeUpTo(CDataEnd);
    Take(CDataEnd);
    type = pugi::node_cdata;
    ++pieces;
    bytes = takeUpTo("<");
    m_Joined += Unescaped(bytes);
    pieces += bytes.empty() ? 0 : 1;
  }
  m_IsWritten = m_IsWritten && pieces == 1 && !m_Joined.empty() && TextTypeOf(m_Joined) == type;
  return m_Joined;
}

bool RawCursor::ReadText(const FieldName& name, _bstr_t& text) {
  std::string_view bytes;
  const bool isRead = PassText(name, bytes);
  if (isRead) {
    text = m_Document.Shared(bytes);
  }
  return isRead;
}

}  // namespace zam
