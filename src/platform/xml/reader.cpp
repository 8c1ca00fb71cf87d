#include "platform/xml/reader.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <array>
#include <exception>
#include <iterator>
#include <new>
#include <utility>

#include "platform/xml/document.h"
#include "platform/xml/encoding.h"
#include "platform/xml/limits.h"
#include "platform/xml/plain.h"

/// Plain documents are read by pugixml. Of any other text libxml2 decides whether it is a document,
/// and its events make the nodes of the tree. It gets UTF-8 only: its own converter, short of
/// memory, cuts a text and calls it well-formed.

namespace zam {
namespace {

/// What is wrong, for each of the parser's errors that has words of its own, and the character at
/// which the place of the error begins where the parser has gone on to its end.
struct Explanation {
  int m_Code;
  const char* m_Reason;
  char m_Start = '\0';
};

constexpr Explanation Explanations[] = {
    {XML_ERR_DOCUMENT_EMPTY, "a start tag is expected"},
    {XML_ERR_DOCUMENT_END, "this may not follow the root element"},
    {XML_ERR_INVALID_HEX_CHARREF, "the character reference is malformed", '&'},
    {XML_ERR_INVALID_DEC_CHARREF, "the character reference is malformed", '&'},
    {XML_ERR_INVALID_CHARREF, "the character reference is malformed", '&'},
    {XML_ERR_INVALID_CHAR, "XML cannot carry this character"},
    {XML_ERR_ENTITYREF_SEMICOL_MISSING, "the reference has no semicolon", '&'},
    {XML_ERR_UNDECLARED_ENTITY, "the entity is unknown", '&'},
    {XML_ERR_LT_IN_ATTRIBUTE, "< is not allowed in an attribute"},
    {XML_ERR_ATTRIBUTE_NOT_STARTED, "the value of the attribute has no quotation mark"},
    {XML_ERR_ATTRIBUTE_NOT_FINISHED, "the value of the attribute does not end"},
    {XML_ERR_ATTRIBUTE_WITHOUT_VALUE, "the attribute has no value"},
    {XML_ERR_ATTRIBUTE_REDEFINED, "an attribute is in this tag twice", '<'},
    {XML_ERR_MISPLACED_CDATA_END, "]]> is not allowed in a text"},
    {XML_ERR_RESERVED_XML_NAME, "only the declaration at the start has this name", '<'},
    {XML_ERR_SPACE_REQUIRED, "white space is expected"},
    {XML_ERR_NAME_REQUIRED, "a name is expected"},
    {XML_ERR_GT_REQUIRED, "the tag is malformed"},
    {XML_ERR_TAG_NAME_MISMATCH, "this tag does not end the element that is open", '<'},
    {XML_ERR_HYPHEN_IN_COMMENT, "-- is not allowed in a comment"},
};

/// While it lives, what the parser has to say in this thread goes to a handler: without one the
/// parser would speak on stderr where it has no context yet.
class ErrorHandler {
public:
  ErrorHandler(xmlStructuredErrorFunc handler, void* data)
      : m_Former(xmlStructuredError), m_FormerData(xmlStructuredErrorContext) {
    xmlSetStructuredErrorFunc(data, handler);
  }
  ErrorHandler(const ErrorHandler&) = delete;
  ErrorHandler& operator=(const ErrorHandler&) = delete;
  ~ErrorHandler() {
    xmlResetLastError();
    xmlSetStructuredErrorFunc(m_FormerData, m_Former);
  }

private:
  xmlStructuredErrorFunc m_Former;
  void* m_FormerData;
};

/// Makes the parser ready in this thread, where its first use allocates what it cannot do without.
void PrepareParser() {
  static const bool prepared = (xmlInitParser(), true);
  void* const probe = xmlMalloc(4096);
  if (!prepared || probe == nullptr) {
    throw std::bad_alloc();
  }
  xmlFree(probe);
}

void Require(bool made) {
  if (!made) {
    throw std::bad_alloc();
  }
}

/// Adds the declaration in front of all other nodes.
void AddDeclaration(pugi::xml_node tree, const XmlDeclaration& declaration) {
  pugi::xml_node node = tree.prepend_child(pugi::node_declaration);
  Require(node.append_attribute("version").set_value("1.0"));
  if (!declaration.m_Standalone.empty()) {
    Require(node.append_attribute("standalone")
                .set_value(declaration.m_Standalone.data(), declaration.m_Standalone.size()));
  }
}

/// Whether XML can carry the character at the front of a text.
bool MayStand(std::string_view text) {
  const auto byte = static_cast<unsigned char>(text.front());
  return (byte >= 0x20 || Blanks.find(text.front()) != Blanks.npos) &&
         !text.starts_with("\xEF\xBF\xBE") && !text.starts_with("\xEF\xBF\xBF");
}

/// What repeats in a tree: names, and the white space between elements. pugixml lets a copy share
/// the text of a node that it has parsed itself, so such a node is kept for each until the end.
class Repeated {
public:
  explicit Repeated(pugi::xml_node tree)
      : m_Tree(tree), m_Holder(tree.append_child(pugi::node_element)) {
    Require(static_cast<bool>(m_Holder));
  }
  Repeated(const Repeated&) = delete;
  Repeated& operator=(const Repeated&) = delete;
  ~Repeated() { m_Tree.remove_child(m_Holder); }

  /// Adds an element of that name, or that white space, as the last child.
  pugi::xml_node Add(pugi::xml_node parent, pugi::xml_node_type type, std::string_view text);

private:
  pugi::xml_node Make(pugi::xml_node_type type, std::string_view text);

  pugi::xml_node m_Tree;
  pugi::xml_node m_Holder;
  std::array<pugi::xml_node, 1024> m_Known;
};

pugi::xml_node Repeated::Make(pugi::xml_node_type type, std::string_view text) {
  std::string source = "<";
  if (type == pugi::node_element) {
    source.append(text).append("/>");
  } else {
    source.append("_>").append(text).append("</_>");
  }
  const auto result = m_Holder.append_buffer(source.data(), source.size(), pugi::parse_ws_pcdata,
                                             pugi::encoding_utf8);
  Require(result.status != pugi::status_out_of_memory);
  const pugi::xml_node made = m_Holder.last_child();
  return type == pugi::node_element ? made : made.first_child();
}

pugi::xml_node Repeated::Add(pugi::xml_node parent, pugi::xml_node_type type,
                             std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  pugi::xml_node& known = m_Known[(text.size() + byte(0) * 7U + byte(text.size() / 2) * 31U +
                                   byte(text.size() - 1) * 127U) %
                                  m_Known.size()];
  if (!known) {
    known = Make(type, text);
  }
  if (text == (type == pugi::node_element ? known.name() : known.value())) {
    return parent.append_copy(known);
  }
  pugi::xml_node added = parent.append_child(type);
  Require(type == pugi::node_element ? added.set_name(text.data())
                                     : added.set_value(text.data(), text.size()));
  return added;
}

/// Reads one text.
class Reader {
public:
  explicit Reader(const XmlText& text)
      : m_Text(text.m_Text),
        m_Declaration(text.m_Declaration),
        m_Outside(text.m_Declaration.m_Size),
        m_Document(std::make_unique<ZAMXmlDocument>()),
        m_Repeated(m_Document->m_Tree),
        m_Parent(m_Document->m_Tree) {}

  /// Throws a Refusal, or std::bad_alloc.
  std::unique_ptr<ZAMXmlDocument> Read();

private:
  void MakeContext();
  /// How far the parser has come.
  std::size_t Place() const {
    return static_cast<std::size_t>(m_Context->input->cur - m_Context->input->base);
  }

  static void OnError(void* data, xmlErrorPtr error) noexcept;
  [[noreturn]] void Explain(const xmlError& error) const;
  void OnDocumentType(const xmlChar*, const xmlChar*, const xmlChar*) {
    Refuse(m_Text.rfind("<!DOCTYPE", Place()), "a document type declaration is not accepted");
  }
  void OnStart(const xmlChar* name, const xmlChar** attributes);
  void OnEnd(const xmlChar* name);
  void OnCharacters(const xmlChar* text, int size) {
    m_Pending.append(reinterpret_cast<const char*>(text), static_cast<std::size_t>(size));
  }
  void OnCData(const xmlChar* text, int size);
  void OnComment(const xmlChar* text) { AddMarkup(pugi::node_comment, nullptr, text); }
  void OnInstruction(const xmlChar* target, const xmlChar* data) {
    AddMarkup(pugi::node_pi, target, data);
  }

  void AddMarkup(pugi::xml_node_type type, const xmlChar* name, const xmlChar* value);
  /// Adds the last child of the open element, with the text before it.
  pugi::xml_node Add(pugi::xml_node_type type);
  void AddPending();
  /// Takes the white space here, outside the root element, where the parser drops it.
  void TakeBlanks();

  [[noreturn]] void Refuse(std::size_t place, std::string_view reason) const {
    throw Refusal(m_Text, place, reason);
  }
  /// Takes one event; a step that throws ends the parser's work.
  template <auto Step, class... Arguments>
  static void Take(void* data, Arguments... arguments) noexcept;

  std::string_view m_Text;
  const XmlDeclaration& m_Declaration;
  std::size_t m_Outside;  ///< how far the text outside the root element is in the tree
  std::unique_ptr<ZAMXmlDocument> m_Document;
  Repeated m_Repeated;
  pugi::xml_node m_Parent;
  int m_Depth = 0;
  std::string m_Pending;  ///< text that is no node yet: more of it may follow
  std::exception_ptr m_Failure;
  std::unique_ptr<xmlParserCtxt, decltype(&xmlFreeParserCtxt)> m_Context{nullptr,
                                                                         &xmlFreeParserCtxt};
};

template <auto Step, class... Arguments>
void Reader::Take(void* data, Arguments... arguments) noexcept {
  auto& reader = *static_cast<Reader*>(data);
  if (reader.m_Failure) {
    return;
  }
  try {
    (reader.*Step)(arguments...);
  } catch (...) {
    reader.m_Failure = std::current_exception();
    xmlStopParser(reader.m_Context.get());
  }
}

void Reader::OnError(void* data, xmlErrorPtr error) noexcept {
  auto& reader = *static_cast<Reader*>(data);
  const bool noMemory = error->code == XML_ERR_NO_MEMORY;
  if (reader.m_Failure || (!noMemory && error->level != XML_ERR_FATAL)) {
    return;
  }
  try {
    Require(!noMemory);
    reader.Explain(*error);
  } catch (...) {
    reader.m_Failure = std::current_exception();
  }
  // The parser still holds pointers into its input here, so it may not be stopped for good.
  if (reader.m_Context) {
    reader.m_Context->instate = XML_PARSER_EOF;
    reader.m_Context->disableSAX = 1;
  }
}

void Reader::Explain(const xmlError& error) const {
  const auto known = std::find_if(std::begin(Explanations), std::end(Explanations),
                                  [&](const auto& row) { return row.m_Code == error.code; });
  const bool explained = known != std::end(Explanations);
  std::size_t place = Place();
  if (place >= m_Text.size() && !(explained && known->m_Start != '\0')) {
    Refuse(place, "the document ends too early");
  }
  if (explained && known->m_Start != '\0') {
    place = m_Text.rfind(known->m_Start, place - 1);
  } else if (error.code == XML_ERR_MISPLACED_CDATA_END) {
    place = m_Text.find("]]>", place);
  } else if (error.code == XML_ERR_INVALID_CHAR && MayStand(m_Text.substr(place))) {
    place = m_Text.rfind('&', place);
  }
  Refuse(place, explained ? known->m_Reason : "this is no well-formed XML");
}

void Reader::OnStart(const xmlChar* name, const xmlChar** attributes) {
  if (m_Depth == 0) {
    TakeBlanks();
  }
  if (++m_Depth > MaximumDepth) {
    Refuse(m_Text.rfind('<', Place()), "elements are nested deeper than 1000");
  }
  AddPending();
  m_Parent = m_Repeated.Add(m_Parent, pugi::node_element, reinterpret_cast<const char*>(name));
  Require(static_cast<bool>(m_Parent));
  for (; attributes != nullptr && *attributes != nullptr; attributes += 2) {
    const auto* const attributeName = reinterpret_cast<const char*>(attributes[0]);
    pugi::xml_attribute attribute = m_Parent.append_attribute(attributeName);
    Require(*attribute.name() != '\0' &&
            attribute.set_value(reinterpret_cast<const char*>(attributes[1])));
  }
}

void Reader::OnEnd(const xmlChar*) {
  AddPending();
  m_Parent = m_Parent.parent();
  if (--m_Depth == 0) {
    m_Outside = Place();
  }
}

void Reader::OnCData(const xmlChar* text, int size) {
  Require(Add(pugi::node_cdata)
              .set_value(reinterpret_cast<const char*>(text), static_cast<std::size_t>(size)));
}

void Reader::AddMarkup(pugi::xml_node_type type, const xmlChar* name, const xmlChar* value) {
  if (m_Depth == 0) {
    TakeBlanks();
  }
  pugi::xml_node node = Add(type);
  Require((name == nullptr || node.set_name(reinterpret_cast<const char*>(name))) &&
          (value == nullptr || node.set_value(reinterpret_cast<const char*>(value))));
  if (m_Depth == 0) {
    m_Outside = Place();
  }
}

pugi::xml_node Reader::Add(pugi::xml_node_type type) {
  AddPending();
  const pugi::xml_node node = m_Parent.append_child(type);
  Require(static_cast<bool>(node));
  return node;
}

void Reader::AddPending() {
  if (m_Pending.empty()) {
    return;
  }
  const auto isBlank = [](char c) { return c == '\n' || c == '\t' || c == ' '; };
  if (m_Pending.size() < 32 && std::all_of(m_Pending.begin(), m_Pending.end(), isBlank)) {
    Require(static_cast<bool>(m_Repeated.Add(m_Parent, pugi::node_pcdata, m_Pending)));
  } else {
    pugi::xml_node node = m_Parent.append_child(pugi::node_pcdata);
    Require(node.set_value(m_Pending.data(), m_Pending.size()));
  }
  m_Pending.clear();
}

void Reader::TakeBlanks() {
  const std::size_t end = std::min(m_Text.find_first_not_of(Blanks, m_Outside), m_Text.size());
  for (; m_Outside < end; ++m_Outside) {
    if (m_Text[m_Outside] != '\r') {
      m_Pending += m_Text[m_Outside];
    } else if (m_Text.substr(m_Outside + 1, 1) != "\n") {
      m_Pending += '\n';
    }
  }
}

void Reader::MakeContext() {
  PrepareParser();
  m_Context.reset(xmlNewParserCtxt());
  Require(m_Context != nullptr);
  xmlSAXHandler& events = *m_Context->sax;
  events = {};
  // No more than the first version: names stay as they are written, attributes in their order.
  events.initialized = 1;
  events.internalSubset = Take<&Reader::OnDocumentType>;
  events.startElement = Take<&Reader::OnStart>;
  events.endElement = Take<&Reader::OnEnd>;
  events.characters = Take<&Reader::OnCharacters>;
  events.ignorableWhitespace = Take<&Reader::OnCharacters>;
  events.cdataBlock = Take<&Reader::OnCData>;
  events.comment = Take<&Reader::OnComment>;
  events.processingInstruction = Take<&Reader::OnInstruction>;
  m_Context->userData = this;
  xmlCtxtUseOptions(m_Context.get(),
                    XML_PARSE_HUGE | XML_PARSE_NONET | XML_PARSE_IGNORE_ENC | XML_PARSE_NOENT);
  // The text itself is the input, without a buffer between.
  xmlParserInput* const input = xmlNewInputStream(m_Context.get());
  Require(input != nullptr);
  input->base = reinterpret_cast<const xmlChar*>(m_Text.data());
  input->cur = input->base;
  input->end = input->base + m_Text.size();
  if (inputPush(m_Context.get(), input) < 0) {
    xmlFreeInputStream(input);
    throw std::bad_alloc();
  }
}

std::unique_ptr<ZAMXmlDocument> Reader::Read() {
  const std::size_t crowded = FindCrowdedTag(m_Text);
  if (crowded != m_Text.npos) {
    Refuse(crowded, "an element has more than 1000 attributes");
  }
  if (m_Declaration.m_Size > 0) {
    AddDeclaration(m_Document->m_Tree, m_Declaration);
  }
  const ErrorHandler handler(&Reader::OnError, this);
  MakeContext();
  const bool parsed = xmlParseDocument(m_Context.get()) == 0 && m_Context->wellFormed != 0;
  if (m_Failure) {
    std::rethrow_exception(m_Failure);
  }
  if (!parsed || m_Depth != 0 || Place() != m_Text.size()) {
    Refuse(Place(), "this is no well-formed XML");
  }
  TakeBlanks();
  AddPending();
  return std::move(m_Document);
}

/// Makes a document of a plain text; null when the text is not plain.
std::unique_ptr<ZAMXmlDocument> ReadPlain(const XmlText& text, FileBytes& bytes,
                                          std::string_view rawSection) {
  SectionPlaces section;
  if (!text.m_Converted.empty() || !IsPlainDocument(text.Content(), rawSection, section)) {
    return nullptr;
  }
  auto document = ZAMXmlDocument::FromPlain(std::move(bytes.m_Bytes), text.Content(), section);
  if (!document) {
    // The text is gone with the bytes.
    throw Refusal({}, 0, "this is no well-formed XML");
  }
  if (text.m_Declaration.m_Size > 0) {
    AddDeclaration(document->m_Tree, text.m_Declaration);
  }
  return document;
}

}  // namespace

std::unique_ptr<ZAMXmlDocument> ReadDocument(FileBytes bytes, std::string_view rawSection,
                                             std::string& reason) {
  try {
    const XmlText text(bytes.View());
    if (text.m_Text.size() > MaximumSize) {
      throw Refusal(text.m_Text, 0, "the document is longer than 2147483647 bytes");
    }
    auto document = ReadPlain(text, bytes, rawSection);
    if (!document) {
      document = Reader(text).Read();
    }
    document->LearnIndentation();
    return document;
  } catch (const Refusal& refusal) {
    reason = refusal.m_Reason;
    return nullptr;
  }
}

}  // namespace zam
