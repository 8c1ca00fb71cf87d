#include "platform/xml/writer.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/xml/document.h"
#include "platform/xml/plain.h"

namespace zam {
namespace {

/// How a character is written in a text or an attribute; null if as it is. The zero
/// at the end of a text has an entry, too.
using References = std::array<const char*, 256>;

constexpr References TextReferences = [] {
  References references{};
  references['\0'] = "";
  references['&'] = "&amp;";
  references['<'] = "&lt;";
  references['>'] = "&gt;";
  references['\r'] = "&#13;";
  return references;
}();

constexpr References AttributeReferences = [] {
  References references = TextReferences;
  references['"'] = "&quot;";
  references['\t'] = "&#9;";
  references['\n'] = "&#10;";
  return references;
}();

/// Gathers the bytes of a document in blocks.
class Writer {
public:
  explicit Writer(const WriteBlock& write)
      : m_Write(write), m_Block(std::make_unique_for_overwrite<char[]>(Capacity)) {}

  bool Write(const ZAMXmlDocument& document);

private:
  void Append(std::string_view bytes) {
    if (bytes.size() > Capacity - m_Size) {
      Flush();
    }
    if (bytes.size() > Capacity) {
      m_Written = m_Written && m_Write(bytes);
      return;
    }
    std::memcpy(m_Block.get() + m_Size, bytes.data(), bytes.size());
    m_Size += bytes.size();
  }
  void Flush() {
    m_Written = m_Written && m_Write({m_Block.get(), m_Size});
    m_Size = 0;
  }
  void AppendEscaped(const char* text, const References& references);
  void AppendLong(std::string_view text, const References& references);
  void AppendAttributes(pugi::xml_node node);
  void AppendDeclaration(pugi::xml_node declaration);
  /// The part of a node before its children; the whole node if it has none.
  void AppendStart(pugi::xml_node node, bool hasChildren);

  static constexpr std::size_t Capacity = 1 << 18;

  const WriteBlock& m_Write;
  std::unique_ptr<char[]> m_Block;
  std::size_t m_Size = 0;
  bool m_Written = true;
  struct Element {
    pugi::xml_node m_Node;
    std::string_view m_Name;
  };
  std::vector<Element> m_Open;
};

void Writer::AppendEscaped(const char* text, const References& references) {
  for (;;) {
    // Most texts are short: one pass finds their end and copies them.
    constexpr std::size_t Short = 64;
    if (Capacity - m_Size < Short) {
      Flush();
    }
    char* const out = m_Block.get() + m_Size;
    std::size_t size = 0;
    for (; size < Short && references[static_cast<unsigned char>(text[size])] == nullptr; ++size) {
      out[size] = text[size];
    }
    m_Size += size;
    text += size;
    if (size == Short) {
      AppendLong(text, references);
      return;
    }
    if (*text == '\0') {
      return;
    }
    Append(references[static_cast<unsigned char>(*text)]);
    ++text;
  }
}

void Writer::AppendLong(std::string_view text, const References& references) {
  const char* run = text.data();
  const char* const end = run + text.size();
  for (const char* at = run; at != end;) {
    if (static_cast<std::size_t>(end - at) >= BlockSize && IsPlainBlock(at)) {
      at += BlockSize;
      continue;
    }
    const char* const next = at + std::min<std::ptrdiff_t>(end - at, BlockSize);
    for (; at != next; ++at) {
      if (const char* const reference = references[static_cast<unsigned char>(*at)]) {
        Append({run, at});
        Append(reference);
        run = at + 1;
      }
    }
  }
  Append({run, end});
}

void Writer::AppendAttributes(pugi::xml_node node) {
  for (pugi::xml_attribute attribute = node.first_attribute(); attribute;
       attribute = attribute.next_attribute()) {
    Append(" ");
    Append(attribute.name());
    Append("=\"");
    AppendEscaped(attribute.value(), AttributeReferences);
    Append("\"");
  }
}

void Writer::AppendDeclaration(pugi::xml_node declaration) {
  Append("<?xml version=\"1.0\" encoding=\"UTF-8\"");
  if (const pugi::xml_attribute standalone = declaration.attribute("standalone")) {
    Append(" standalone=\"");
    Append(standalone.value());
    Append("\"");
  }
  Append("?>");
}

void Writer::AppendStart(pugi::xml_node node, bool hasChildren) {
  switch (node.type()) {
    case pugi::node_element: {
      const std::string_view name = node.name();
      Append("<");
      Append(name);
      AppendAttributes(node);
      Append(hasChildren ? ">" : "/>");
      if (hasChildren) {
        m_Open.push_back({node, name});
      }
      break;
    }
    case pugi::node_pcdata:
      AppendEscaped(node.value(), TextReferences);
      break;
    case pugi::node_cdata:
      Append("<![CDATA[");
      Append(node.value());
      Append("]]>");
      break;
    case pugi::node_comment:
      Append("<!--");
      Append(node.value());
      Append("-->");
      break;
    case pugi::node_pi:
      Append("<?");
      Append(node.name());
      if (*node.value() != '\0') {
        Append(" ");
        Append(node.value());
      }
      Append("?>");
      break;
    case pugi::node_declaration:
      AppendDeclaration(node);
      break;
    default:
      break;
  }
}

bool Writer::Write(const ZAMXmlDocument& document) {
  const RawChildren* const raw = document.Raw().get();
  pugi::xml_node node = document.m_Tree.first_child();
  while (StructureOf(node) != nullptr && m_Written) {
    const pugi::xml_node child = node.first_child();
    const bool hasChildren = StructureOf(child) != nullptr;
    AppendStart(node, hasChildren);
    if (raw != nullptr && raw->m_Parent == node) {
      Append(raw->m_Bytes);
    }
    pugi::xml_node next = hasChildren ? child : node.next_sibling();
    while (StructureOf(next) == nullptr && !m_Open.empty()) {
      Append("</");
      Append(m_Open.back().m_Name);
      Append(">");
      next = m_Open.back().m_Node.next_sibling();
      m_Open.pop_back();
    }
    node = next;
  }
  Flush();
  return m_Written;
}

}  // namespace

bool WriteDocument(const ZAMXmlDocument& document, const WriteBlock& write) {
  return Writer(write).Write(document);
}

}  // namespace zam
