#include <string>
#include <utility>

#include "document.h"
#include "failure.h"
#include "input.h"
#include "json_form.h"
#include "output.h"
#include "values.h"
#include "verbs.h"

namespace {

struct ExportOptions {
  std::string m_File;
  std::string m_At = "original";
};

Json AttributesToJson(ZAMXml& tree, const IXMLDOMNodePtr& element) {
  Json json = Json::object();
  _bstr_t name;
  _bstr_t text;
  for (int i = 0; tree.GetAttribute(element, i, name, text) != 0; ++i) {
    json[name.utf8()] = text.utf8();
  }
  return json;
}

/// Every container is made as such: one that null would turn into crashes where memory runs short.
Json ElementToJson(ZAMXml& tree, const IXMLDOMNodePtr& element, const std::string& name,
                   const char* leftOut) {
  Json json{{"name", name}};
  if (tree.GetAttributeCount(element) != 0) {
    json["attributes"] = AttributesToJson(tree, element);
  }
  _bstr_t text;
  tree.GetNodeText(element, text);
  if (text.length() != 0) {
    json["text"] = text.utf8();
  }
  Json children = Json::array();
  ForEachChild(tree, element, [&](const IXMLDOMNodePtr& child, const std::string& childName, int) {
    if (leftOut == nullptr || childName != leftOut) {
      children.push_back(ElementToJson(tree, child, childName, nullptr));
    }
  });
  if (!children.empty()) {
    json["children"] = std::move(children);
  }
  return json;
}

int RunExport(const ExportOptions& options) {
  const Input input(options.m_File);
  Document document(input.Path(), options.m_File);
  document.RequireWholeHistory("cannot export it");
  const int position = document.Position(options.m_At);
  document.MoveTo(position);
  // Without the file's name: equal documents are exported equally, wherever they lie.
  Json json = JsonOutput("export", options.m_File);
  json.erase("file");
  json["position"] = position;
  json["document"] = ElementToJson(document.m_Xml, document.m_Xml.GetNode(u"KESTRANE_ZAM"),
                                   "KESTRANE_ZAM", "Modifications");
  json["modifications"] = Json::array();
  for (int number = position + 1; number <= document.Last(); ++number) {
    json["modifications"].push_back(ToJson(document.Modification(number), number));
  }
  Deliver(JsonText(json));
  return ExitFine;
}

}  // namespace

void AddExport(CommandLine& line) {
  line.Add("export", "Print a document and its history as one JSON document", RunExport,
           [](Verb verb, ExportOptions& options) {
             verb.Text("FILE", options.m_File, "The document", Presence::Required);
             verb.Text("--at", options.m_At,
                       "The content at this position, and the modifications after it");
           });
}
