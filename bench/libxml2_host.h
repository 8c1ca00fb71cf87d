#pragma once

#include <ZAMXMLData.h>
#include <fcntl.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlsave.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// What a host would write without this library: the document as a tree of libxml2, its history as
/// texts in UTF-16, every item applied to the tree.
class Libxml2Host {
public:
  /// Reads the tree and the history.
  explicit Libxml2Host(const std::string& path)
      : m_Document(xmlReadFile(path.c_str(), nullptr, XML_PARSE_NONET | XML_PARSE_HUGE)) {
    if (!m_Document) {
      throw std::runtime_error("libxml2 cannot read " + path);
    }
    ReadHistory();
  }

  void ReadHistory() {
    m_Modifications.clear();
    xmlNode* const list = Child(xmlDocGetRootElement(m_Document.get()), "Modifications");
    for (xmlNode* node = list->children; node != nullptr; node = node->next) {
      if (node->type != XML_ELEMENT_NODE) {
        continue;
      }
      Modification& modification = m_Modifications.emplace_back();
      modification.m_UID = Text(Child(node, "UID"));
      modification.m_Date = Text(Child(node, "Date"));
      modification.m_Time = Text(Child(node, "Time"));
      modification.m_UserID = Text(Child(node, "UserID"));
      modification.m_UserName = Text(Child(node, "UserName"));
      for (xmlNode* item = Child(node, "Changes")->children; item != nullptr; item = item->next) {
        if (item->type == XML_ELEMENT_NODE) {
          modification.m_Items.push_back({Text(Child(item, "Node")), Text(Child(item, "Attribute")),
                                          Text(Child(item, "ValueType")),
                                          Text(Child(item, "OldValue")),
                                          Text(Child(item, "NewValue"))});
        }
      }
    }
  }

  void UndoAll() {
    for (auto modification = m_Modifications.rbegin(); modification != m_Modifications.rend();
         ++modification) {
      for (const Item& item : modification->m_Items) {
        Apply(item.m_Node, item.m_OldValue);
      }
    }
  }

  void RedoAll() {
    for (const Modification& modification : m_Modifications) {
      for (const Item& item : modification.m_Items) {
        Apply(item.m_Node, item.m_NewValue);
      }
    }
  }

  /// Saves the original content over the file and shows the last state again. A crash meanwhile
  /// costs the document.
  void Overwrite(const std::string& path) {
    UndoAll();
    Check(xmlSaveFile(path.c_str(), m_Document.get()), "save", path);
    RedoAll();
  }

  /// The same, but whatever happens, the path names the whole old file or the whole new one, with
  /// the old one's owner and mode.
  void Replace(const std::string& path) {
    UndoAll();
    const std::string fresh = path + ".new";
    {
      const File file(::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
      Check(file.m_Number, "create", fresh);
      xmlSaveCtxt* const context = xmlSaveToFd(file.m_Number, "UTF-8", 0);
      Check(context != nullptr ? static_cast<int>(xmlSaveDoc(context, m_Document.get())) : -1,
            "write", fresh);
      Check(xmlSaveClose(context), "write", fresh);
      struct stat old {};
      if (::stat(path.c_str(), &old) == 0) {
        Check(::fchown(file.m_Number, old.st_uid, old.st_gid), "give away", fresh);
        Check(::fchmod(file.m_Number, old.st_mode & 07777), "share", fresh);
      } else {
        Check(::fchmod(file.m_Number, 0644), "share", fresh);
      }
      Check(::fsync(file.m_Number), "flush", fresh);
    }
    Check(::rename(fresh.c_str(), path.c_str()), "put in place", path);
    const std::string parent = std::filesystem::path(path).parent_path();
    const File folder(::open(parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    Check(folder.m_Number, "open", parent);
    Check(::fsync(folder.m_Number), "flush", parent);
    RedoAll();
  }

private:
  struct File {
    explicit File(int number) : m_Number(number) {}
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() { ::close(m_Number); }

    int m_Number;
  };

  static void Check(int result, const char* what, const std::string& path) {
    if (result < 0) {
      throw std::runtime_error(std::string("the host cannot ") + what + ' ' + path);
    }
  }

  struct Item {
    _bstr_t m_Node;
    _bstr_t m_Attribute;
    _bstr_t m_Type;
    _bstr_t m_OldValue;
    _bstr_t m_NewValue;
  };
  struct Modification {
    _bstr_t m_UID;
    _bstr_t m_Date;
    _bstr_t m_Time;
    _bstr_t m_UserID;
    _bstr_t m_UserName;
    std::vector<Item> m_Items;
  };

  static std::string_view View(const xmlChar* text) {
    return text != nullptr ? reinterpret_cast<const char*>(text) : "";
  }

  static xmlNode* Child(xmlNode* node, std::string_view name) {
    for (xmlNode* child = node->children; child != nullptr; child = child->next) {
      if (child->type == XML_ELEMENT_NODE && View(child->name) == name) {
        return child;
      }
    }
    throw std::runtime_error("no element " + std::string(name));
  }

  static _bstr_t Text(xmlNode* node) {
    if (node->children == nullptr || node->children->next == nullptr) {
      return _bstr_t::FromUtf8(node->children != nullptr ? View(node->children->content) : "");
    }
    const std::unique_ptr<xmlChar, void (*)(void*)> text(xmlNodeGetContent(node),
                                                         [](void* bytes) { xmlFree(bytes); });
    return _bstr_t::FromUtf8(View(text.get()));
  }

  void Apply(const _bstr_t& path, const _bstr_t& value) {
    const std::string steps = path.utf8();
    xmlNode* node = xmlDocGetRootElement(m_Document.get());
    for (std::size_t begin = 0; begin <= steps.size();) {
      const std::size_t end = std::min(steps.find('/', begin), steps.size());
      node = Child(node, std::string_view(steps).substr(begin, end - begin));
      begin = end + 1;
    }
    const std::string text = value.utf8();
    xmlNodeSetContent(node, nullptr);
    xmlNodeAddContent(node, reinterpret_cast<const xmlChar*>(text.c_str()));
  }

  struct Free {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
  };
  std::unique_ptr<xmlDoc, Free> m_Document;
  std::vector<Modification> m_Modifications;
};
