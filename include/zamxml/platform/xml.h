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
class Replacement;
class WrittenCursor;
}  // namespace zam

/// A counted handle to one element of a ZAMXml document; null means no element.
///
/// Copies refer to the same element. When the element is removed, or its document is closed,
/// replaced by another or destroyed, every handle to it is dead: it counts as null and nothing is
/// touched through it. A handle is used by the thread that uses its document.
class ZAMXML_API IXMLDOMNodePtr {
public:
  IXMLDOMNodePtr() noexcept;
  IXMLDOMNodePtr(std::nullptr_t) noexcept;
  IXMLDOMNodePtr(const IXMLDOMNodePtr&) noexcept;
  IXMLDOMNodePtr(IXMLDOMNodePtr&&) noexcept;
  IXMLDOMNodePtr& operator=(IXMLDOMNodePtr) noexcept;
  ~IXMLDOMNodePtr();

  /// True when there is an element behind the handle.
  explicit operator bool() const noexcept;
  bool operator!() const noexcept { return !static_cast<bool>(*this); }
  /// True when both refer to the same element, or neither to any.
  friend ZAMXML_API bool operator==(const IXMLDOMNodePtr& left,
                                    const IXMLDOMNodePtr& right) noexcept;

  /// Drops the reference and leaves the handle null. Raises _com_error (E_POINTER) when the handle
  /// was null or dead.
  void Release();

private:
  friend class ZAMXml;
  friend struct ZAMXmlDocument;
  explicit IXMLDOMNodePtr(ZAMXmlNode* node) noexcept;

  ZAMXmlNode* m_Node = nullptr;
};

/// One XML document in memory.
///
/// Opened is only well-formed XML 1.0 (fifth edition), without a document type declaration, nested
/// at most 1,000 elements deep, with at most 1,000 attributes on one element and not longer than
/// 2^31 - 1 bytes as UTF-8. Its encoding is UTF-8, UTF-16, or one that the declaration names and
/// that the system's iconv knows (ISO-8859-1, EUC-KR, Shift_JIS, GB18030, windows-1252, ...); a
/// byte that is not valid there is refused. Saved is always UTF-8. Content that no
/// operation changes comes back as it was: comments, processing instructions, CDATA sections,
/// foreign elements, the order of attributes, white space between elements. Elements that are added
/// are indented in the style of the document.
///
/// Names and paths: a path is element names joined by "/"; a name is a path of one step. A step
/// that is no XML name is stored, and found again, under an escaped name: each UTF-16 unit that may
/// not stand there as "_xHHHH_" (the convention of ISO/IEC 9075-14), an empty step as "_x_". From
/// the 256th step on, the rest of a path counts as one step. The same holds for attribute names.
///
/// Texts: what is set is what is read back, after a save as well, except units that XML cannot
/// carry (control characters other than tab, line feed and carriage return, lone surrogates,
/// U+FFFE, U+FFFF, zero): these are stored as U+FFFD and the log gets a warning. The text of an
/// element is its own character data, text and CDATA sections joined; in an element that has child
/// elements, white space between them is formatting and no text. A null text is stored like an
/// empty one: an element without text.
///
/// Int results are 1 for success and 0 for failure. Indexes count from 0. Operations on a null or
/// dead handle, or on a handle of another document, fail: 0, or a null handle. Adding and setting
/// raise _com_error (E_OUTOFMEMORY) when memory runs out: a text or attribute is then what it was,
/// and an element that was to be added may stand there without its text. The log keeps the last
/// error only.
/// Walking repeated children by index, and finding children by name, take constant time each; below
/// a path of several steps, where a step before the last is repeated, each such element counts.
/// One document and its handles are used by one thread at a time.
class ZAMXML_API ZAMXml : public ZAMFile, public ZAMLog {
public:
  ZAMXml();
  ~ZAMXml() override;

  /// Loads a file beside what is held and puts it in its place only on success: all handles are
  /// then dead. A failure leaves the document held, with its path, and records what and where
  /// (line and column) in this log and the caller's.
  int Open(const _bstr_t& path, ZAMLog* log) override;

  /// Adds the root element to a new document. 0 when there is one, or no document.
  int CreateRoot(ZAMTextView name);

  /// Makes this document a copy of the source, opened and without a path. A source that holds no
  /// document, or no memory, gives 0 and leaves what is held.
  int Copy(ZAMXml& source, ZAMLog* log);

  /// Exchanges the documents, with their paths; handles follow them. The logs stay.
  void Swap(ZAMXml& other) noexcept;

  /// How many steps on this document have run out of memory since it was constructed or
  /// ForgetShortage was called. Unlike the log, it survives every later entry. Records swallow such
  /// a failure; whoever starts reading or writing a whole document compares the count before and
  /// after, and does not take a document that ran short for a whole one.
  int RanOutOfMemory() const noexcept { return m_nShortages; }
  /// Sets that count to 0.
  void ForgetShortage() noexcept { m_nShortages = 0; }
  /// Adds 1 to that count, for code around the tree that catches E_OUTOFMEMORY or std::bad_alloc.
  void ReportShortage() noexcept { ++m_nShortages; }

  /// Sets a log that gets a copy of every later warning, or none with null, and returns the former.
  /// The log stays the caller's and must outlive its use.
  ZAMLog* SetWarningLog(ZAMLog* log) noexcept;

  /// Whether saving waits until the bytes are on the disk (1, as constructed) or leaves that to
  /// the system (0: for files that live for a moment only). Returns what held before.
  int SetDurable(int durable) noexcept;

  /// The index-th element, in document order, at a path that begins with the root's name. A null
  /// handle when there is none; the log then says which path.
  IXMLDOMNodePtr GetNode(ZAMTextView path, int index = 0);

  /// The root element, whatever its name; a null handle when there is none.
  IXMLDOMNodePtr GetRootNode();

  /// Adds the last step of the path as the last child of the element at the steps before it, with
  /// that text, and returns it; a null handle, logged, when that parent is missing. The index is
  /// not used: children stand in the order in which they are added.
  IXMLDOMNodePtr AddNode(ZAMTextView path, ZAMTextView text, int index = 0);

  /// The index-th element below the node that matches the whole path, in document order.
  IXMLDOMNodePtr GetChildNode(const IXMLDOMNodePtr& node, ZAMTextView name, int index = 0);

  /// Adds a child element after the existing ones, with that text, and returns it. Of a path the
  /// missing steps are built first, then its last step is added. A null handle, logged, when the
  /// new element would stand more than 1,000 deep. The index is not used.
  IXMLDOMNodePtr AddChildNode(const IXMLDOMNodePtr& node, ZAMTextView name, ZAMTextView text,
                              int index = 0);

  /// The number of elements below the node that match the whole path.
  int GetNodeCount(const IXMLDOMNodePtr& node, ZAMTextView name);

  /// The text of the index-th child of that name. A missing child gives 0 and the empty text.
  int GetChildNodeText(const IXMLDOMNodePtr& node, ZAMTextView name, _bstr_t& text, int index = 0);
  int GetChildNodeText(const IXMLDOMNodePtr& node, ZAMTextView name, CString& text, int index = 0);
  /// Sets the text of that child; a missing child is created as the last one.
  int SetChildNodeText(const IXMLDOMNodePtr& node, ZAMTextView name, ZAMTextView text,
                       int index = 0);

  /// An attribute of the index-th child of that name. A missing child or attribute gives 0 and the
  /// empty text.
  int GetChildNodeAttribute(const IXMLDOMNodePtr& node, ZAMTextView child, ZAMTextView attribute,
                            _bstr_t& value, int index = 0);
  int GetChildNodeAttribute(const IXMLDOMNodePtr& node, ZAMTextView child, ZAMTextView attribute,
                            CString& value, int index = 0);
  /// Sets that attribute; a missing child is created as the last one.
  int SetChildNodeAttribute(const IXMLDOMNodePtr& node, ZAMTextView child, ZAMTextView attribute,
                            ZAMTextView value, int index = 0);

  /// The text of the node itself.
  int GetNodeText(const IXMLDOMNodePtr& node, _bstr_t& text);
  int GetNodeText(const IXMLDOMNodePtr& node, CString& text);
  /// Replaces the text of the node; its child elements stay where they stand.
  int SetNodeText(const IXMLDOMNodePtr& node, ZAMTextView text);

  /// An attribute of the node itself. A missing attribute gives 0 and the empty text.
  int GetNodeAttribute(const IXMLDOMNodePtr& node, ZAMTextView attribute, _bstr_t& value);
  int GetNodeAttribute(const IXMLDOMNodePtr& node, ZAMTextView attribute, CString& value);
  int SetNodeAttribute(const IXMLDOMNodePtr& node, ZAMTextView attribute, ZAMTextView value);

  /// Removes every child element of that name, with the white space that indented it. Handles to
  /// them and to what is below them are dead.
  int RemoveChildNodeAll(const IXMLDOMNodePtr& node, ZAMTextView name);
  /// Removes all that the node holds: child elements, texts, comments.
  int RemoveChildNodeAll(const IXMLDOMNodePtr& node);

  /// The first child element, or the next sibling element; a null handle when there is none.
  IXMLDOMNodePtr GetFirstChildNode(const IXMLDOMNodePtr& node);
  IXMLDOMNodePtr GetNextNode(const IXMLDOMNodePtr& node);
  /// The element's name as it stands in the document; null for a null handle.
  _bstr_t GetNodeName(const IXMLDOMNodePtr& node);
  int GetAttributeCount(const IXMLDOMNodePtr& node);
  /// Name and value of the index-th attribute; 0, with both unchanged, when there is none.
  int GetAttribute(const IXMLDOMNodePtr& node, int index, _bstr_t& name, _bstr_t& value);

  /// 1 when there is an element of this document behind the handle, else 0.
  int HasNode(const IXMLDOMNodePtr& node) const noexcept;

  /// Where the node stands, for a reader: the names from the root on, joined by "/", each with its
  /// index in brackets when siblings of that name stand before it ("256 or later" where counting on
  /// would cost too much). Null for a null handle.
  _bstr_t GetNodePath(const IXMLDOMNodePtr& node);

  /// 1 when the text is an XML name, which is stored as it is, 0 when it would be escaped.
  static int IsName(ZAMTextView name) noexcept;

  /// Drops the reference and leaves the handle null; a null or dead handle is allowed.
  static void SafeRelease(IXMLDOMNodePtr& node) noexcept;

protected:
  void OnFileClose() override;
  int OnFileNew(ZAMLog* log) override;
  int OnFileOpen(const _bstr_t& path, ZAMLog* log) override;
  int OnFileSave(const _bstr_t& path, ZAMLog* log) override;

private:
  friend class zam::FieldCursor;
  friend class zam::Replacement;
  friend class zam::WrittenCursor;
  struct ZAMXML_LOCAL Access;

  int Fail(int code, const _bstr_t& detail, ZAMLog* log);
  int FailWithoutMemory(ZAMLog* log) noexcept;
  int Replace(std::unique_ptr<ZAMXmlDocument> document);

  std::unique_ptr<ZAMXmlDocument> m_Document;
  int m_nDurable = 1;
  int m_nShortages = 0;
  ZAMLog* m_pWarningLog = nullptr;
};
