#pragma once

#include <cstddef>
#include <memory>

#include "zamxml/platform/export.h"
#include "zamxml/platform/file.h"
#include "zamxml/platform/log.h"
#include "zamxml/platform/text.h"

struct ZAMXmlNode;
struct ZAMXmlDocument;
namespace zam {
class FieldCursor;
class RawCursor;
class RawSection;
class Replacement;
class WrittenCursor;
}  // namespace zam

/// A counted handle to one element of a ZAMXml document, or null.
///
/// Copies refer to the same element. A handle becomes dead when its element is removed, or when the
/// document is closed, replaced or destroyed. A dead handle behaves like null; using it is safe.
///
/// Thread safety: used by the thread that uses the document.
class ZAMXML_API IXMLDOMNodePtr {
public:
  IXMLDOMNodePtr() noexcept;
  IXMLDOMNodePtr(std::nullptr_t) noexcept;
  IXMLDOMNodePtr(const IXMLDOMNodePtr&) noexcept;
  IXMLDOMNodePtr(IXMLDOMNodePtr&&) noexcept;
  IXMLDOMNodePtr& operator=(IXMLDOMNodePtr) noexcept;
  ~IXMLDOMNodePtr();

  /// Returns true if the handle is neither null nor dead.
  explicit operator bool() const noexcept;
  bool operator!() const noexcept { return !static_cast<bool>(*this); }
  /// Returns true if both refer to the same element, or neither refers to any.
  friend ZAMXML_API bool operator==(const IXMLDOMNodePtr& left,
                                    const IXMLDOMNodePtr& right) noexcept;

  /// Drops the reference; the handle is then null. Raises _com_error (E_POINTER) if the handle was
  /// null or dead.
  void Release();

private:
  friend class ZAMXml;
  friend struct ZAMXmlDocument;
  explicit IXMLDOMNodePtr(ZAMXmlNode* node) noexcept;

  ZAMXmlNode* m_Node = nullptr;
};

/// One XML document in memory.
///
/// Files: Open accepts well-formed XML 1.0 (fifth edition) without a document type declaration, at
/// most 1,000 elements deep, with at most 1,000 attributes per element, and at most 2^31 - 1 bytes
/// long in UTF-8. The encoding may be UTF-8, UTF-16, or any that the XML declaration names and the
/// system's iconv knows (ISO-8859-1, EUC-KR, Shift_JIS, GB18030, windows-1252, ...). Invalid bytes
/// are refused. Saving always writes UTF-8. A save keeps everything that no operation has changed:
/// comments, processing instructions, CDATA sections, foreign elements, the order of attributes,
/// the white space between elements. New elements are indented like their neighbours.
///
/// Paths: a path is element names joined by "/". GetNode and AddNode take a path that begins with
/// the name of the root element; all other operations take a path below a node. A name is a path
/// of one step. A step that is not a valid XML name is stored and found under an escaped name: each
/// invalid UTF-16 unit becomes "_xHHHH_" (the convention of ISO/IEC 9075-14), an empty step becomes
/// "_x_". The rest of a path from the 256th step on counts as one step. Attribute names are escaped
/// in the same way.
///
/// Texts: reading gives what was set, also after a save. The exception is a unit that XML cannot
/// carry (a control character other than tab, line feed and carriage return, a lone surrogate,
/// U+FFFE, U+FFFF, zero): it is stored as U+FFFD, and the log gets a warning. The text of an
/// element is its own character data: its text and CDATA sections, joined. In an element with child
/// elements, white space between them is formatting and not text. Null is stored like the empty
/// text.
///
/// Results: an int is 1 for success and 0 for failure. Indexes count from 0. An operation on a null
/// or dead handle, or on a handle of another document, fails with 0 or a null handle. Adding and
/// setting raise _com_error (E_OUTOFMEMORY) if memory runs out; a text or attribute is then
/// unchanged, and a new element may be there without its text. The log keeps the last error only.
///
/// Performance: finding a child by name and walking repeated children by index take constant time
/// per child. If a step before the last is repeated, each such element is visited.
///
/// Thread safety: a document and its handles are used by one thread at a time.
class ZAMXML_API ZAMXml : public ZAMFile, public ZAMLog {
public:
  ZAMXml();
  ~ZAMXml() override;

  /// Loads the file at `path` and replaces the current document with it. All handles are then dead.
  /// Returns 0 and keeps the current document and its path if the file cannot be loaded; this log
  /// and the caller's get the reason, with line and column.
  [[nodiscard]] int Open(const _bstr_t& path, ZAMLog* log) override;

  /// Adds the root element to a new document. Returns 0 if there is a root element already, or no
  /// document.
  int CreateRoot(ZAMTextView name);

  /// Makes this document a copy of `source`. It is then open and has no path. Returns 0 and keeps
  /// the current document if `source` has no document or memory runs out.
  int Copy(ZAMXml& source, ZAMLog* log);

  /// Exchanges two documents with their paths. Handles follow their document; the logs stay.
  void Swap(ZAMXml& other) noexcept;

  /// Returns how many steps on this document have run out of memory since construction or the last
  /// ForgetShortage. A record that runs out of memory only logs it, and a later log entry replaces
  /// that one. Compare this count before and after reading or writing a whole document: if it
  /// differs, the document is incomplete.
  int RanOutOfMemory() const noexcept { return m_nShortages; }
  /// Sets the count of RanOutOfMemory to 0.
  void ForgetShortage() noexcept { m_nShortages = 0; }
  /// Adds 1 to the count of RanOutOfMemory. For code that reads or writes this document and catches
  /// E_OUTOFMEMORY or std::bad_alloc.
  void ReportShortage() noexcept { ++m_nShortages; }

  /// Sets a log that receives a copy of every later warning; null removes it. Returns the previous
  /// one. The caller keeps ownership, and must remove the log before destroying it.
  ZAMLog* SetWarningLog(ZAMLog* log) noexcept;

  /// Sets whether saving waits until the bytes are on the disk: 1, the default, or 0 for a
  /// short-lived file. Returns the previous value.
  int SetDurable(int durable) noexcept;

  /// Returns the index-th element, in document order, at a path that begins with the root's name.
  /// Returns a null handle and logs the path if there is none.
  IXMLDOMNodePtr GetNode(ZAMTextView path, int index = 0);

  /// Returns the root element, whatever its name; a null handle if there is none.
  IXMLDOMNodePtr GetRootNode();

  /// Adds an element with the name of the last step as the last child of the element at the steps
  /// before it, and returns it. The path begins with the root's name. Returns a null handle and
  /// logs the path if the parent is missing. Ignores `index`.
  IXMLDOMNodePtr AddNode(ZAMTextView path, ZAMTextView text, int index = 0);

  /// Returns the index-th element below `node` that matches the whole path, in document order; a
  /// null handle if there is none.
  IXMLDOMNodePtr GetChildNode(const IXMLDOMNodePtr& node, ZAMTextView name, int index = 0);

  /// Adds a child element after the existing ones and returns it. If `name` is a path, first
  /// creates the missing steps, then adds the last one. Returns a null handle and logs the reason
  /// if the new element would be more than 1,000 deep. Ignores `index`.
  IXMLDOMNodePtr AddChildNode(const IXMLDOMNodePtr& node, ZAMTextView name, ZAMTextView text,
                              int index = 0);

  /// Returns the number of elements below `node` that match the whole path.
  int GetNodeCount(const IXMLDOMNodePtr& node, ZAMTextView name);

  /// Sets `text` to the text of the index-th child of that name. Returns 0 and sets the empty text
  /// if there is no such child.
  int GetChildNodeText(const IXMLDOMNodePtr& node, ZAMTextView name, _bstr_t& text, int index = 0);
  int GetChildNodeText(const IXMLDOMNodePtr& node, ZAMTextView name, CString& text, int index = 0);
  /// Sets the text of that child. Adds the child as the last one if it is missing.
  int SetChildNodeText(const IXMLDOMNodePtr& node, ZAMTextView name, ZAMTextView text,
                       int index = 0);

  /// Sets `value` to an attribute of the index-th child of that name. Returns 0 and sets the empty
  /// text if there is no such child or attribute.
  int GetChildNodeAttribute(const IXMLDOMNodePtr& node, ZAMTextView child, ZAMTextView attribute,
                            _bstr_t& value, int index = 0);
  int GetChildNodeAttribute(const IXMLDOMNodePtr& node, ZAMTextView child, ZAMTextView attribute,
                            CString& value, int index = 0);
  /// Sets that attribute. Adds the child as the last one if it is missing.
  int SetChildNodeAttribute(const IXMLDOMNodePtr& node, ZAMTextView child, ZAMTextView attribute,
                            ZAMTextView value, int index = 0);

  /// Sets `text` to the text of the node itself.
  int GetNodeText(const IXMLDOMNodePtr& node, _bstr_t& text);
  int GetNodeText(const IXMLDOMNodePtr& node, CString& text);
  /// Replaces the text of the node. Its child elements stay where they are.
  int SetNodeText(const IXMLDOMNodePtr& node, ZAMTextView text);

  /// Sets `value` to an attribute of the node itself. Returns 0 and sets the empty text if there is
  /// no such attribute.
  int GetNodeAttribute(const IXMLDOMNodePtr& node, ZAMTextView attribute, _bstr_t& value);
  int GetNodeAttribute(const IXMLDOMNodePtr& node, ZAMTextView attribute, CString& value);
  int SetNodeAttribute(const IXMLDOMNodePtr& node, ZAMTextView attribute, ZAMTextView value);

  /// Removes every child element of that name, together with its indentation. Handles to these
  /// elements and to all elements below them are then dead.
  int RemoveChildNodeAll(const IXMLDOMNodePtr& node, ZAMTextView name);
  /// Removes everything inside the node: child elements, texts, comments.
  int RemoveChildNodeAll(const IXMLDOMNodePtr& node);

  /// Returns the first child element, or the next sibling element; a null handle if there is none.
  IXMLDOMNodePtr GetFirstChildNode(const IXMLDOMNodePtr& node);
  IXMLDOMNodePtr GetNextNode(const IXMLDOMNodePtr& node);
  /// Returns the element's name as the document spells it; null for a null handle.
  _bstr_t GetNodeName(const IXMLDOMNodePtr& node);
  int GetAttributeCount(const IXMLDOMNodePtr& node);
  /// Sets `name` and `value` to the index-th attribute. Returns 0 and changes neither if there is
  /// none.
  int GetAttribute(const IXMLDOMNodePtr& node, int index, _bstr_t& name, _bstr_t& value);

  /// Returns 1 if the handle refers to an element of this document, else 0.
  int HasNode(const IXMLDOMNodePtr& node) const noexcept;

  /// Returns the place of the node in a form for people: the names from the root on, joined by "/".
  /// A name has its index in brackets if siblings of the same name precede it ("256 or later"
  /// beyond that). Returns null for a null handle.
  _bstr_t GetNodePath(const IXMLDOMNodePtr& node);

  /// Returns 1 if `name` is a valid XML name, 0 if it would be escaped.
  static int IsName(ZAMTextView name) noexcept;

  /// Drops the reference; the handle is then null. Does nothing to a null or dead handle.
  static void SafeRelease(IXMLDOMNodePtr& node) noexcept;

protected:
  void OnFileClose() override;
  int OnFileNew(ZAMLog* log) override;
  int OnFileOpen(const _bstr_t& path, ZAMLog* log) override;
  int OnFileSave(const _bstr_t& path, ZAMLog* log) override;

private:
  friend class zam::FieldCursor;
  friend class zam::RawCursor;
  friend class zam::RawSection;
  friend class zam::Replacement;
  friend class zam::WrittenCursor;
  struct ZAMXML_LOCAL Access;

  int Fail(int code, const _bstr_t& detail, ZAMLog* log);
  int FailWithoutMemory(ZAMLog* log) noexcept;
  int Replace(std::unique_ptr<ZAMXmlDocument> document);

  std::unique_ptr<ZAMXmlDocument> m_Document;
  const char* m_RawSection = "";  ///< the section whose children may stay raw
  int m_nDurable = 1;
  int m_nShortages = 0;
  ZAMLog* m_pWarningLog = nullptr;
};
