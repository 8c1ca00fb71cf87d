#include <memory>
#include <string>

#include "failure.h"
#include "file_lock.h"
#include "input.h"
#include "json_form.h"
#include "text.h"
#include "verbs.h"

namespace {

struct Options {
  std::string m_Source;
  std::string m_File;
  bool m_Force = false;
};

/// Keeps what a tree warns of: a character that it could not store as it is.
class WarningKeeper : public ZAMLogger {
public:
  void OnLog(const ZAMLogEntry& entry) override {
    if (entry.m_Type == ZAM_LOG_TYPE_WARNING) {
      m_Warning = Printable(entry.m_Text) + ' ' + Printable(entry.m_Detail);
    }
  }

  std::string m_Warning;
};

/// Builds the tree of a document from its JSON form. Whatever XML could not carry unchanged is
/// refused.
class TreeBuilder {
public:
  TreeBuilder(ZAMXml& tree, const std::string& source) : m_Tree(tree), m_Source(source) {
    m_Tree.SetLogger(&m_Warnings);
  }
  TreeBuilder(const TreeBuilder&) = delete;
  TreeBuilder& operator=(const TreeBuilder&) = delete;
  ~TreeBuilder() { m_Tree.SetLogger(nullptr); }

  void Build(const Json& json) {
    const Json& root = Member(m_Source, json, "document", Json::value_t::object);
    m_Tree.New(nullptr);
    m_Tree.CreateRoot(_bstr_t::FromUtf8(TextMember(m_Source, root, "name")));
    const IXMLDOMNodePtr element = m_Tree.GetNode(u"KESTRANE_ZAM");
    if (!element) {
      Refuse("the root element is not KESTRANE_ZAM");
    }
    Fill(element, root);
    const Json& history = Member(m_Source, json, "modifications", Json::value_t::array);
    if (!history.empty()) {
      AddHistory(history);
    }
    if (!m_Warnings.m_Warning.empty()) {
      Refuse(m_Warnings.m_Warning);
    }
  }

private:
  void Fill(const IXMLDOMNodePtr& element, const Json& json) {
    if (json.contains("attributes")) {
      AddAttributes(element, Member(m_Source, json, "attributes", Json::value_t::object));
    }
    const _bstr_t text = _bstr_t::FromUtf8(TextMember(m_Source, json, "text", ""));
    if (text.length() != 0) {
      m_Tree.SetNodeText(element, text);
    }
    if (json.contains("children")) {
      for (const Json& child : Member(m_Source, json, "children", Json::value_t::array)) {
        AddElement(element, child);
      }
    }
  }

  void AddElement(const IXMLDOMNodePtr& parent, const Json& json) {
    const _bstr_t name = _bstr_t::FromUtf8(TextMember(m_Source, json, "name"));
    const IXMLDOMNodePtr element = m_Tree.AddChildNode(parent, name, nullptr);
    if (!element || m_Tree.GetNodeName(element) != name) {
      Refuse("no element can have this name here: " + Quoted(name));
    }
    Fill(element, json);
  }

  void AddAttributes(const IXMLDOMNodePtr& element, const Json& attributes) {
    int index = 0;
    for (const auto& attribute : attributes.items()) {
      const _bstr_t name = _bstr_t::FromUtf8(attribute.key());
      m_Tree.SetNodeAttribute(element, name, Text(attributes, attribute.key().c_str()));
      _bstr_t storedName;
      _bstr_t storedText;
      m_Tree.GetAttribute(element, index++, storedName, storedText);
      if (storedName != name) {
        Refuse("no attribute can have this name: " + Quoted(name));
      }
    }
  }

  void AddHistory(const Json& history) {
    ZAMXMLModificationGroup group;
    for (const Json& json : history) {
      auto modification = std::make_unique<ZAMXMLModification>();
      const Json& user = Member(m_Source, json, "user", Json::value_t::object);
      modification->m_UID = Text(json, "uid");
      modification->m_Date = Text(json, "date");
      modification->m_Time = Text(json, "time");
      modification->m_UserID = Text(user, "id");
      modification->m_UserName = Text(user, "name");
      for (const Json& change : Member(m_Source, json, "changes", Json::value_t::array)) {
        AddChange(*modification, change);
      }
      group.m_ModificationList.Add(modification.get());
      modification.release();
    }
    IXMLDOMNodePtr section = m_Tree.AddNode(u"KESTRANE_ZAM/Modifications", nullptr);
    if (group.WriteToXML(m_Tree, section, nullptr) == 0) {
      Refuse(Reason(m_Tree, m_Source));
    }
  }

  void AddChange(ZAMXMLModification& modification, const Json& json) {
    auto item = std::make_unique<ZAMXMLChangeItem>();
    item->m_Node = Text(json, "path");
    item->m_Attribute = Text(json, "attribute");
    item->m_ValueType = TypeMember(m_Source, json);
    item->m_OldValue = Text(json, "old");
    item->m_NewValue = Text(json, "new");
    modification.m_Changes.Add(item.get());
    item.release();
  }

  _bstr_t Text(const Json& json, const char* name) {
    return _bstr_t::FromUtf8(TextMember(m_Source, json, name));
  }

  [[noreturn]] void Refuse(const std::string& why) const {
    throw Failure(m_Source, "cannot import it", why);
  }

  ZAMXml& m_Tree;
  const std::string& m_Source;
  WarningKeeper m_Warnings;
};

int Run(const Options& options) {
  const Input input(options.m_Source);
  const Json json = ParseJson(options.m_Source, input.ReadAll());
  if (Member(options.m_Source, json, "zamxml", Json::value_t::number_unsigned) != JsonVersion) {
    throw Failure(options.m_Source, "cannot import it", "its form is of another version");
  }
  ZAMXml tree;
  TreeBuilder(tree, options.m_Source).Build(json);
  ZAMXMLFile proof;
  ZAMLog log;
  if (proof.OpenFromXML(tree, &log) == 0) {
    throw Failure(options.m_Source, "it makes no document", Reason(log, options.m_Source));
  }
  const CreationLock lock(options.m_File, options.m_Force);
  if (tree.SaveAs(FileName(options.m_File), &log) == 0) {
    throw Failure(options.m_File, "cannot save it", Reason(log, options.m_File));
  }
  return ExitFine;
}

}  // namespace

void AddImport(CLI::App& app, int& exitCode) {
  auto options = std::make_shared<Options>();
  CLI::App* verb = app.add_subcommand("import", "Make a document from an exported one");
  verb->add_option("JSON", options->m_Source, "What export printed; - is the standard input")
      ->required();
  verb->add_option("FILE", options->m_File, "The document")->required();
  verb->add_flag("--force", options->m_Force, "Replace a file that exists");
  verb->callback([options, &exitCode] { exitCode = Run(*options); });
}
