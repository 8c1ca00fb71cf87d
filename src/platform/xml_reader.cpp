#include "platform/xml_reader.h"

#include <expat.h>

#include <algorithm>
#include <new>
#include <type_traits>
#include <utility>

#include "platform/utf.h"
#include "platform/xml_document.h"

/// Expat reads the bytes first and decides whether they are a document; pugixml, which is quick but
/// takes much that is none, then builds the tree from the same bytes.

namespace zam {
namespace {

enum class Encoding { Utf8, Latin1, Utf16LittleEndian, Utf16BigEndian };

constexpr std::string_view Utf8Mark = "\xEF\xBB\xBF";

using Parser = std::unique_ptr<std::remove_pointer_t<XML_Parser>, decltype(&XML_ParserFree)>;

struct Check {
  XML_Parser m_Parser = nullptr;
  int m_Depth = 0;
  std::string m_DeclaredEncoding;
  const char* m_Refusal = nullptr;

  void Refuse(const char* reason) {
    m_Refusal = reason;
    XML_StopParser(m_Parser, XML_FALSE);
  }
};

void XMLCALL OnDeclaration(void* data, const XML_Char* version, const XML_Char* encoding, int) {
  auto& check = *static_cast<Check*>(data);
  if (version != nullptr && std::string_view(version) != "1.0") {
    check.Refuse("only XML 1.0 is read");
  }
  if (encoding != nullptr) {
    check.m_DeclaredEncoding = encoding;
  }
}

void XMLCALL OnDocumentType(void* data, const XML_Char*, const XML_Char*, const XML_Char*, int) {
  static_cast<Check*>(data)->Refuse("a document type declaration is not accepted");
}

void XMLCALL OnStart(void* data, const XML_Char*, const XML_Char**) {
  auto& check = *static_cast<Check*>(data);
  if (++check.m_Depth > MaximumDepth) {
    check.Refuse("elements are nested deeper than 1000");
  }
}

void XMLCALL OnEnd(void* data, const XML_Char*) { --static_cast<Check*>(data)->m_Depth; }

bool ParseAll(XML_Parser parser, std::string_view bytes) {
  constexpr std::size_t Chunk = std::size_t{1} << 30;
  for (;;) {
    const std::string_view part = bytes.substr(0, Chunk);
    bytes.remove_prefix(part.size());
    if (XML_Parse(parser, part.data(), static_cast<int>(part.size()), bytes.empty()) !=
        XML_STATUS_OK) {
      return false;
    }
    if (bytes.empty()) {
      return true;
    }
  }
}

/// True when the bytes are a document that is read; sets the encoding that it declares.
bool IsDocument(std::string_view bytes, std::string& declaredEncoding, std::string& reason) {
  // A byte order mark outranks a declaration that contradicts it.
  const Parser parser(XML_ParserCreate(bytes.starts_with(Utf8Mark) ? "UTF-8" : nullptr),
                      &XML_ParserFree);
  if (!parser) {
    throw std::bad_alloc();
  }
  Check check;
  check.m_Parser = parser.get();
  XML_SetUserData(parser.get(), &check);
  XML_SetXmlDeclHandler(parser.get(), OnDeclaration);
  XML_SetStartDoctypeDeclHandler(parser.get(), OnDocumentType);
  XML_SetElementHandler(parser.get(), OnStart, OnEnd);
  if (!ParseAll(parser.get(), bytes)) {
    const XML_Error error = XML_GetErrorCode(parser.get());
    if (error == XML_ERROR_NO_MEMORY) {
      throw std::bad_alloc();
    }
    reason = "line " + std::to_string(XML_GetCurrentLineNumber(parser.get())) + ", column " +
             std::to_string(XML_GetCurrentColumnNumber(parser.get()) + 1) + ": " +
             (check.m_Refusal != nullptr ? check.m_Refusal : XML_ErrorString(error));
    return false;
  }
  declaredEncoding = std::move(check.m_DeclaredEncoding);
  return true;
}

Encoding EncodingOf(std::string_view bytes, const std::string& declared) {
  if (bytes.starts_with("\xFE\xFF") || bytes[0] == '\0') {
    return Encoding::Utf16BigEndian;
  }
  if (bytes.starts_with("\xFF\xFE") || bytes[1] == '\0') {
    return Encoding::Utf16LittleEndian;
  }
  const auto toUpper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; };
  std::string name = declared;
  std::transform(name.begin(), name.end(), name.begin(), toUpper);
  return name == "ISO-8859-1" && !bytes.starts_with(Utf8Mark) ? Encoding::Latin1 : Encoding::Utf8;
}

bool ConvertToUtf8(FileBytes& bytes, Encoding encoding, std::string& reason) {
  if (encoding == Encoding::Utf8) {
    return true;
  }
  if (encoding == Encoding::Latin1) {
    bytes = CopyOf(Latin1ToUtf8(bytes.View()));
    return true;
  }
  const auto converted = Utf16BytesToUtf8(bytes.View(), encoding == Encoding::Utf16BigEndian);
  if (!converted) {
    reason = "the text is no valid UTF-16";
    return false;
  }
  bytes = CopyOf(*converted);
  return true;
}

}  // namespace

FileBytes CopyOf(std::string_view text) {
  FileBytes bytes;
  bytes.m_Bytes = std::make_unique_for_overwrite<char[]>(text.size() + 1);
  bytes.m_Size = text.size();
  bytes.m_Bytes[text.copy(bytes.m_Bytes.get(), text.size())] = '\0';
  return bytes;
}

std::unique_ptr<ZAMXmlDocument> ReadDocument(FileBytes bytes, std::string& reason) {
  std::string declared;
  if (!IsDocument(bytes.View(), declared, reason) ||
      !ConvertToUtf8(bytes, EncodingOf(bytes.View(), declared), reason)) {
    return nullptr;
  }
  // parse_fragment keeps the white space outside the root element.
  constexpr unsigned int Options = pugi::parse_default | pugi::parse_pi | pugi::parse_comments |
                                   pugi::parse_declaration | pugi::parse_ws_pcdata |
                                   pugi::parse_fragment;
  auto document = std::make_unique<ZAMXmlDocument>();
  document->m_Source = std::move(bytes);
  // The closing zero is handed over too: without it the parser would borrow the last character.
  const pugi::xml_parse_result result = document->m_Tree.load_buffer_inplace(
      document->m_Source.m_Bytes.get(), document->m_Source.m_Size + 1, Options,
      pugi::encoding_utf8);
  if (result.status == pugi::status_out_of_memory) {
    throw std::bad_alloc();
  }
  if (!result) {
    reason = "byte " + std::to_string(result.offset) + ": " + result.description();
    return nullptr;
  }
  document->LearnIndentation();
  return document;
}

}  // namespace zam
