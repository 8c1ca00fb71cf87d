#include <utility>

#include "platform/codes.h"
#include "platform/system.h"
#include "platform/utf.h"
#include "platform/xml/access.h"
#include "platform/xml/name.h"
#include "platform/xml/reader.h"
#include "platform/xml/writer.h"
#include "zamxml/platform/util.h"

/// The document of a ZAMXml: how it comes, goes and is saved, and how its elements are found, added
/// and removed.

namespace {

_bstr_t Quoted(ZAMTextView path) { return _bstr_t(u"\"") + _bstr_t(path) + u"\""; }

}  // namespace

ZAMXml::ZAMXml() : ZAMLog(1) {}
ZAMXml::~ZAMXml() = default;

int ZAMXml::Fail(int code, const _bstr_t& detail, ZAMLog* log) {
  SetLog(ZAM_LOG_TYPE_ERROR, ZAM_LOG_CATEGORY_XML, code, ZAMGF::ZAMErrorString(code), detail, 0);
  SafeLogCopy(log);
  return 0;
}

int ZAMXml::FailWithoutMemory(ZAMLog* log) noexcept {
  ReportShortage();
  zam::RecordNoMemory(*this, ZAM_LOG_CATEGORY_XML);
  SafeLogCopy(log);
  return 0;
}

int ZAMXml::Replace(std::unique_ptr<ZAMXmlDocument> document) {
  m_Document = std::move(document);
  SetOpened(1);
  return 1;
}

int ZAMXml::Open(const _bstr_t& path, ZAMLog* log) {
  CString current(path);
  const int opened = OnFileOpen(path, log);
  if (opened != 0) {
    MakeCurrent(std::move(current));
  }
  return opened;
}

void ZAMXml::OnFileClose() { m_Document.reset(); }

int ZAMXml::OnFileNew(ZAMLog* log) {
  try {
    auto document = std::make_unique<ZAMXmlDocument>();
    document->MakeEmpty();
    return Replace(std::move(document));
  } catch (const std::exception&) {
    return FailWithoutMemory(log);
  }
}

int ZAMXml::OnFileOpen(const _bstr_t& path, ZAMLog* log) {
  std::string reason;
  try {
    auto bytes = zam::ReadFile(path.utf8(), reason);
    if (!bytes) {
      return Fail(zam::CodeNotRead, zam::FileDetail(path, reason), log);
    }
    auto file = std::make_shared<zam::FileIdentity>(bytes->m_Identity);
    auto document = zam::ReadDocument(std::move(*bytes), m_RawSection, reason);
    if (!document) {
      return Fail(zam::CodeNotWellFormed, zam::FileDetail(path, reason), log);
    }
    NoteFile(std::move(file));
    return Replace(std::move(document));
  } catch (const std::exception&) {
    return FailWithoutMemory(log);
  }
}

int ZAMXml::OnFileSave(const _bstr_t& path, ZAMLog* log) {
  std::string reason;
  try {
    if (!m_Document || !m_Document->Root()) {
      return Fail(zam::CodeNotWritten, zam::FileDetail(path, "there is no document to save"), log);
    }
    std::size_t size = 0;
    const auto content = [&](const zam::WriteBlock& write) {
      return zam::WriteDocument(*m_Document, [&](std::string_view block) {
        size += block.size();
        return size <= zam::MaximumSize && write(block);
      });
    };
    auto file = std::make_shared<zam::FileIdentity>();
    if (const auto written = zam::WriteFile(
            path.utf8(), content,
            m_nDurable != 0 ? zam::Durability::Durable : zam::Durability::Transient, reason)) {
      *file = *written;
      NoteFile(std::move(file));
      return 1;
    }
    if (size > zam::MaximumSize) {
      reason = "the document is too long to be read again";
    }
    return Fail(zam::CodeNotWritten, zam::FileDetail(path, reason), log);
  } catch (const std::exception&) {
    return FailWithoutMemory(log);
  }
}

ZAMLog* ZAMXml::SetWarningLog(ZAMLog* log) noexcept { return std::exchange(m_pWarningLog, log); }

int ZAMXml::SetDurable(int durable) noexcept { return std::exchange(m_nDurable, durable); }

int ZAMXml::CreateRoot(ZAMTextView name) {
  if (!m_Document || m_Document->Root()) {
    return Fail(zam::CodeNotAdded, u"There is a root element already, or no document.", nullptr);
  }
  Access{*this}.Allocating([&] { m_Document->AddRoot(zam::StoredName(name.view())); });
  return 1;
}

void ZAMXml::Swap(ZAMXml& other) noexcept {
  std::swap(m_Document, other.m_Document);
  std::swap(m_strFilePath, other.m_strFilePath);
  std::swap(m_pFile, other.m_pFile);
  const int opened = IsOpened();
  SetOpened(other.IsOpened());
  other.SetOpened(opened);
}

int ZAMXml::Copy(ZAMXml& source, ZAMLog* log) {
  if (!source.m_Document) {
    return Fail(zam::CodeNotRead, u"The tree that is to be copied holds no document.", log);
  }
  try {
    std::string reason;
    std::string bytes;
    zam::WriteDocument(*source.m_Document, [&bytes](std::string_view block) {
      bytes += block;
      return true;
    });
    auto copy = std::make_unique<ZAMXmlDocument>();
    if (source.m_Document->Root()) {
      copy = zam::ReadDocument(zam::FileBytes::Copy(bytes), m_RawSection, reason);
    } else {
      copy->MakeEmpty();
    }
    if (!copy) {
      return Fail(zam::CodeNotWellFormed, _bstr_t::FromUtf8(reason), log);
    }
    copy->m_Lines = source.m_Document->m_Lines;
    copy->m_IndentUnit = source.m_Document->m_IndentUnit;
    m_strFilePath.Empty();
    m_pFile.reset();
    return Replace(std::move(copy));
  } catch (const std::exception&) {
    return FailWithoutMemory(log);
  }
}

IXMLDOMNodePtr ZAMXml::GetNode(ZAMTextView path, int index) {
  Access access{*this};
  return access.Allocating([&]() -> IXMLDOMNodePtr {
    const zam::Path steps(path.view());
    // The document node is the parent of the only root.
    const pugi::xml_node found =
        m_Document ? m_Document->Find(m_Document->m_Tree, steps, index) : pugi::xml_node();
    if (!found) {
      Fail(zam::CodeNotFound,
           zam::FileDetail(m_strFilePath, "there is no element " + Quoted(path).utf8()), nullptr);
    }
    return found ? m_Document->Handle(found, steps.StepCount() <= 2 ? index : -1)
                 : IXMLDOMNodePtr();
  });
}

IXMLDOMNodePtr ZAMXml::GetRootNode() {
  return Access{*this}.Allocating([&]() -> IXMLDOMNodePtr {
    const pugi::xml_node root = m_Document ? m_Document->Root() : pugi::xml_node();
    return root ? m_Document->Handle(root, 0) : IXMLDOMNodePtr();
  });
}

IXMLDOMNodePtr ZAMXml::AddNode(ZAMTextView path, ZAMTextView text, int /*index*/) {
  Access access{*this};
  return access.Allocating([&]() -> IXMLDOMNodePtr {
    if (m_Document) {
      const auto separator = path.view().rfind(u'/');
      const zam::Path steps(path.view());
      const pugi::xml_node parent =
          steps.IsOneStep() ? pugi::xml_node()
                            : m_Document->Find(m_Document->m_Tree,
                                               zam::Path(path.view().substr(0, separator)), 0);
      if (const pugi::xml_node added =
              parent ? m_Document->AddElement(parent, steps.Last()) : parent) {
        access.SetText(added, text);
        return m_Document->Handle(added);
      }
    }
    Fail(zam::CodeNotAdded, u"There is no place for " + Quoted(path) + u".", nullptr);
    return {};
  });
}

IXMLDOMNodePtr ZAMXml::GetChildNode(const IXMLDOMNodePtr& node, ZAMTextView name, int index) {
  return Access{*this}.Allocating([&]() -> IXMLDOMNodePtr {
    const pugi::xml_node found = Access{*this}.Child(node, name, index);
    const bool oneStep = name.view().find(u'/') == std::u16string_view::npos;
    return found ? m_Document->Handle(found, oneStep ? index : -1) : IXMLDOMNodePtr();
  });
}

IXMLDOMNodePtr ZAMXml::AddChildNode(const IXMLDOMNodePtr& node, ZAMTextView name, ZAMTextView text,
                                    int /*index*/) {
  return Access{*this}.Allocating([&]() -> IXMLDOMNodePtr {
    Access access{*this};
    const pugi::xml_node parent = access.Itself(node);
    const pugi::xml_node added =
        parent ? m_Document->Add(parent, zam::Path(name.view())) : pugi::xml_node();
    if (!added) {
      access.RefuseChild(node, name);
      return {};
    }
    access.SetText(added, text);
    return m_Document->Handle(added);
  });
}

int ZAMXml::GetNodeCount(const IXMLDOMNodePtr& node, ZAMTextView name) {
  return Access{*this}.Allocating([&] {
    const pugi::xml_node parent = Access{*this}.Element(node);
    return parent ? m_Document->Count(parent, zam::Path(name.view())) : 0;
  });
}

int ZAMXml::RemoveChildNodeAll(const IXMLDOMNodePtr& node, ZAMTextView name) {
  return Access{*this}.Allocating([&] {
    const pugi::xml_node parent = Access{*this}.Element(node);
    if (!parent) {
      return 0;
    }
    m_Document->RemoveElements(parent, zam::Path(name.view()));
    return 1;
  });
}

int ZAMXml::RemoveChildNodeAll(const IXMLDOMNodePtr& node) {
  return Access{*this}.Allocating([&] {
    const pugi::xml_node parent = Access{*this}.Element(node);
    if (!parent) {
      return 0;
    }
    m_Document->RemoveContent(parent);
    return 1;
  });
}

IXMLDOMNodePtr ZAMXml::GetFirstChildNode(const IXMLDOMNodePtr& node) {
  return Access{*this}.Allocating([&]() -> IXMLDOMNodePtr {
    const pugi::xml_node parent = Access{*this}.Element(node);
    return parent ? m_Document->Handle(zam::ElementFrom(parent.first_child())) : IXMLDOMNodePtr();
  });
}

IXMLDOMNodePtr ZAMXml::GetNextNode(const IXMLDOMNodePtr& node) {
  return Access{*this}.Allocating([&]() -> IXMLDOMNodePtr {
    const pugi::xml_node element = Access{*this}.Itself(node);
    return element ? m_Document->Handle(zam::ElementFrom(element.next_sibling()))
                   : IXMLDOMNodePtr();
  });
}

_bstr_t ZAMXml::GetNodeName(const IXMLDOMNodePtr& node) {
  Access access{*this};
  const pugi::xml_node element = access.Itself(node);
  return access.Allocating([&] { return element ? _bstr_t::FromUtf8(element.name()) : _bstr_t(); });
}

int ZAMXml::HasNode(const IXMLDOMNodePtr& node) const noexcept {
  return node && node.m_Node->m_Document == m_Document.get() ? 1 : 0;
}

_bstr_t ZAMXml::GetNodePath(const IXMLDOMNodePtr& node) {
  return Access{*this}.Allocating([&] {
    const pugi::xml_node element = Access{*this}.Itself(node);
    return element ? _bstr_t::FromUtf8(Access{*this}.PathOf(element, node.m_Node->m_Index))
                   : _bstr_t();
  });
}

int ZAMXml::IsName(ZAMTextView name) noexcept { return zam::IsXmlName(name.view()) ? 1 : 0; }

void ZAMXml::SafeRelease(IXMLDOMNodePtr& node) noexcept { node = nullptr; }
