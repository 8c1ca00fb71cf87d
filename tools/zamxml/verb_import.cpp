#include <memory>
#include <string>
#include <vector>

#include "document.h"
#include "failure.h"
#include "input.h"
#include "json_form.h"
#include "memory.h"
#include "target.h"
#include "text.h"
#include "value_path.h"
#include "verbs.h"
#include "verify.h"

namespace {

struct ImportOptions : TargetOptions {
  std::string m_Source;
  std::string m_File;
};

/// Keeps where a tree could not store a character as it is.
class WarningKeeper : public ZAMLogger {
public:
  void OnLog(const ZAMLogEntry& entry) override {
    if (entry.m_Type == ZAM_LOG_TYPE_WARNING && m_Place.length() == 0) {
      m_Place = entry.m_Detail;
    }
  }

  _bstr_t m_Place;
};

/// Builds the tree of a document from its JSON form. Whatever the form does not know, or XML could
/// not carry unchanged, is refused.
class TreeBuilder {
public:
  TreeBuilder(ZAMXml& tree, const std::string& source) : m_Tree(tree), m_Source(source) {
    m_Tree.SetLogger(&m_Warnings);
  }
  TreeBuilder(const TreeBuilder&) = delete;
  TreeBuilder& operator=(const TreeBuilder&) = delete;
  ~TreeBuilder() { m_Tree.SetLogger(nullptr); }

  void Build(const JsonObject& json) {
    if (json.Member("zamxml", Json::value_t::number_unsigned) != JsonVersion) {
      Refuse("its form is of another version");
    }
    json.AllowOnly({"zamxml", "verb", "position", "document", "modifications"});
    m_Tree.New(nullptr);
    json.VisitObject("document", [this](const JsonObject& root) { AddRoot(root); });
    if (!json.Member("modifications", Json::value_t::array).empty()) {
      AddHistory(json);
    }
    if (m_Warnings.m_Place.length() != 0) {
      Refuse(Printable(m_Warnings.m_Place) + ": it holds a character that XML cannot carry");
    }
  }

private:
  void AddRoot(const JsonObject& json) {
    m_Tree.CreateRoot(_bstr_t::FromUtf8(json.Text("name")));
    const IXMLDOMNodePtr root = m_Tree.GetNode(u"KESTRANE_ZAM");
    if (!root) {
      Refuse("the root element is not KESTRANE_ZAM");
    }
    Fill(root, json);
  }

  void Fill(const IXMLDOMNodePtr& element, const JsonObject& json) {
    json.AllowOnly({"name", "attributes", "text", "children"});
    if (json.Has("attributes")) {
      json.VisitObject("attributes",
                       [&](const JsonObject& attributes) { AddAttributes(element, attributes); });
    }
    const _bstr_t text = _bstr_t::FromUtf8(json.Text("text", ""));
    if (text.length() != 0) {
      m_Tree.SetNodeText(element, text);
    }
    if (json.Has("children")) {
      json.VisitArray("children", [&](const JsonObject& child) { AddElement(element, child); });
    }
  }

  void AddElement(const IXMLDOMNodePtr& parent, const JsonObject& json) {
    const std::string name = json.Text("name");
    if (!IsPlainName(name)) {
      json.Refuse(Quoted(_bstr_t::FromUtf8(name)) + " is no element name");
    }
    const IXMLDOMNodePtr element = m_Tree.AddChildNode(parent, _bstr_t::FromUtf8(name), nullptr);
    if (!element) {
      Refuse("its elements are nested deeper than 1000");
    }
    Fill(element, json);
  }

  void AddAttributes(const IXMLDOMNodePtr& element, const JsonObject& json) {
    for (const std::string& name : json.Names()) {
      if (!IsPlainName(name)) {
        json.Refuse(Quoted(_bstr_t::FromUtf8(name)) + " is no attribute name");
      }
      m_Tree.SetNodeAttribute(element, _bstr_t::FromUtf8(name),
                              _bstr_t::FromUtf8(json.Text(name.c_str())));
    }
  }

  void AddHistory(const JsonObject& json) {
    ZAMXMLModificationGroup group;
    json.VisitArray("modifications", [&](const JsonObject& entry) {
      auto modification = ReadModification(entry);
      group.m_ModificationList.Add(modification.get());
      modification.release();
    });
    IXMLDOMNodePtr section = m_Tree.AddNode(u"KESTRANE_ZAM/Modifications", nullptr);
    if (group.WriteToXML(m_Tree, section, nullptr) == 0) {
      Refuse(Reason(m_Tree, m_Source));
    }
  }

  static std::unique_ptr<ZAMXMLModification> ReadModification(const JsonObject& json) {
    json.AllowOnly({"number", "date", "time", "user", "uid", "changes"});
    auto modification = std::make_unique<ZAMXMLModification>();
    modification->m_UID = _bstr_t::FromUtf8(json.Text("uid"));
    modification->m_Date = _bstr_t::FromUtf8(json.Text("date"));
    modification->m_Time = _bstr_t::FromUtf8(json.Text("time"));
    json.VisitObject("user", [&](const JsonObject& user) {
      user.AllowOnly({"id", "name"});
      modification->m_UserID = _bstr_t::FromUtf8(user.Text("id"));
      modification->m_UserName = _bstr_t::FromUtf8(user.Text("name"));
    });
    json.VisitArray("changes", [&](const JsonObject& change) {
      auto item = ReadChange(change);
      modification->m_Changes.Add(item.get());
      item.release();
    });
    return modification;
  }

  static std::unique_ptr<ZAMXMLChangeItem> ReadChange(const JsonObject& json) {
    json.AllowOnly({"path", "attribute", "type", "old", "new"});
    auto item = std::make_unique<ZAMXMLChangeItem>();
    item->m_Node = _bstr_t::FromUtf8(json.Text("path"));
    item->m_Attribute = _bstr_t::FromUtf8(json.Text("attribute"));
    item->m_ValueType = json.Type();
    item->m_OldValue = _bstr_t::FromUtf8(json.Text("old"));
    item->m_NewValue = _bstr_t::FromUtf8(json.Text("new"));
    return item;
  }

  [[noreturn]] void Refuse(const std::string& why) const {
    throw Failure(m_Source, "cannot import it", why);
  }

  ZAMXml& m_Tree;
  const std::string& m_Source;
  WarningKeeper m_Warnings;
};

void Build(ZAMXml& tree, const std::string& source) {
  const Input input(source);
  const Json json = ParseJson(source, input.ReadAll());
  TreeBuilder(tree, source).Build(JsonObject(source, json));
}

void RefuseFindings(ZAMXml& tree, const std::string& source) {
  Document document(tree, source);
  for (const Finding& finding : Verify(document)) {
    if (!IsNote(finding)) {
      throw Failure(source, "cannot import it", Sentence(finding));
    }
  }
}

int RunImport(const ImportOptions& options) {
  ZAMXml tree;
  Build(tree, options.m_Source);
  RefuseFindings(tree, options.m_Source);
  const TargetLock lock(options.m_File, options);
  const _bstr_t name = FileName(options.m_File);
  RequireMemory(tree);
  ZAMLog log;
  if (tree.SaveAs(name, &log) == 0) {
    RequireMemory(tree);
    throw Failure(options.m_File, "cannot save it", Reason(log, options.m_File));
  }
  return ExitFine;
}

}  // namespace

void AddImport(CommandLine& line) {
  line.Add("import", "Make a document from an exported one", RunImport,
           [](Verb verb, ImportOptions& options) {
             verb.Text("JSON", options.m_Source, "What export printed; - is the standard input",
                       Presence::Required);
             verb.Text("FILE", options.m_File, "The document", Presence::Required);
             AddTargetOptions(verb, options);
           });
}
