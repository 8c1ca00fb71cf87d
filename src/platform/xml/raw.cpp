#include "platform/xml/raw.h"

#include <algorithm>
#include <cstring>
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

/// Whether the section's children may stay raw, and that pays: what is behind them is copied.
bool MayStayRaw(std::string_view text, const zam::SectionPlaces& section) {
  const std::size_t size = section.m_LastChild - section.m_Content;
  return section.m_IsUniform && size > EndTagsOf(section).size() &&
         size > text.size() - section.m_End && !text.substr(section.m_End).starts_with('\xEF');
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
  zam::RawChildren children{parent,
                            {raw, section.m_LastChild - section.m_Content},
                            section.m_PartEnds,
                            section.m_Count - 1};
  for (std::size_t& end : children.m_PartEnds) {
    end -= section.m_Content;
  }
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
  m_LastWalk = {};
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

WrittenCursor RawSection::WrittenRest() const noexcept {
  return {m_Xml.m_Document.get(), m_Element, nullptr};
}

RawParts::RawParts(const RawSection& section) : m_Section(section) {}

bool RawParts::Next() {
  ZAMXmlDocument& whole = *m_Section.m_Xml.m_Document;
  ZAMXmlDocument& former = m_Tree.m_Document ? *m_Tree.m_Document : whole;
  if (m_Part == m_Section.m_Raw->m_PartEnds.size()) {
    whole.SwapShared(former);
    return false;
  }
  const std::size_t end = m_Section.m_Raw->m_PartEnds[m_Part++];
  const std::string_view bytes = m_Section.m_Raw->m_Bytes.substr(m_Begin, end - m_Begin);
  m_Begin = end;
  const std::string name = NodeOf(m_Section.m_Element).name();
  const std::string text = '<' + name + '>' + std::string(bytes) + "</" + name + '>';
  auto source = std::make_unique_for_overwrite<char[]>(text.size() + 1);
  *std::copy(text.begin(), text.end(), source.get()) = '\0';
  const std::string_view content(source.get(), text.size());
  auto part = ZAMXmlDocument::FromPlain(std::move(source), content, {});
  if (!part) {
    throw std::bad_alloc();
  }
  part->m_Lines = whole.m_Lines;
  part->m_IndentUnit = whole.m_IndentUnit;
  part->SwapShared(former);
  m_Tree.m_Document = std::move(part);
  return true;
}

FieldCursor RawParts::Element() noexcept {
  return {m_Tree, StructureOf(m_Tree.m_Document->Root())};
}

WrittenCursor RawParts::Written(const WrittenCursor& rest) noexcept {
  return {m_Tree.m_Document.get(), StructureOf(m_Tree.m_Document->Root()), &rest};
}

}  // namespace zam
