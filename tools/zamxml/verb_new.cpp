#include <string>
#include <vector>

#include "edits.h"
#include "failure.h"
#include "memory.h"
#include "suggestion.h"
#include "target.h"
#include "text.h"
#include "verbs.h"

namespace {

struct NewOptions : TargetOptions {
  std::string m_File;
  std::vector<std::string> m_Set;
  bool m_Create = false;
};

/// A document whose values are put into the tree when the sections have been written.
class NewDocument : public ZAMXMLFile {
public:
  NewDocument(const NewOptions& options, std::vector<Edit> edits)
      : m_Options(options), m_Edits(std::move(edits)) {}

protected:
  int OnWriteNonStandard(ZAMXml& xml, ZAMLog* /*log*/) override {
    const IXMLDOMNodePtr root = xml.GetNode(u"KESTRANE_ZAM");
    for (const Edit& edit : m_Edits) {
      Set(xml, root, edit);
    }
    return 1;
  }

private:
  void Set(ZAMXml& xml, const IXMLDOMNodePtr& root, const Edit& edit) const {
    const _bstr_t path = _bstr_t::FromUtf8(edit.m_Path.m_Element);
    const _bstr_t attribute = _bstr_t::FromUtf8(edit.m_Path.m_Attribute);
    const _bstr_t value = _bstr_t::FromUtf8(edit.m_New);
    IXMLDOMNodePtr element = xml.GetChildNode(root, path);
    _bstr_t current;
    const bool exists = element && (attribute.length() == 0 ||
                                    xml.GetNodeAttribute(element, attribute, current) != 0);
    if (!exists && !m_Options.m_Create) {
      throw Failure(m_Options.m_File, edit.m_Path.Whole(),
                    "it names nothing in a new document; --create adds it" +
                        DidYouMean(xml, edit.m_Path.Whole()));
    }
    if (!element) {
      element = xml.AddChildNode(root, path, nullptr);
    }
    if (attribute.length() == 0 && xml.GetFirstChildNode(element)) {
      throw Failure(m_Options.m_File, edit.m_Path.Whole(),
                    "it holds elements of its own; name one of them");
    }
    const int set = attribute.length() == 0 ? xml.SetNodeText(element, value)
                                            : xml.SetNodeAttribute(element, attribute, value);
    if (set == 0) {
      throw Failure(m_Options.m_File, edit.m_Path.Whole(), Reason(xml, m_Options.m_File));
    }
  }

  const NewOptions& m_Options;
  std::vector<Edit> m_Edits;
};

int RunNew(const NewOptions& options) {
  std::vector<Edit> edits;
  for (const std::string& argument : options.m_Set) {
    edits.push_back(ParseTextEdit(options.m_File, argument));
  }
  RefuseRepeated(options.m_File, edits);
  const TargetLock lock(options.m_File, options);
  NewDocument document(options, std::move(edits));
  ZAMLog log;
  if (document.New(&log) == 0 || document.SaveAs(FileName(options.m_File), &log) == 0) {
    RequireMemory(document.m_Xml);
    throw Failure(options.m_File, "cannot save it", Reason(log, options.m_File));
  }
  return ExitFine;
}

}  // namespace

void AddNew(CommandLine& line) {
  line.Add("new", "Make a new document", RunNew, [](Verb verb, NewOptions& options) {
    verb.Text("FILE", options.m_File, "The document", Presence::Required);
    verb.Texts("--set", options.m_Set, "A value: PATH[@ATTR]=VALUE; may be repeated");
    verb.Flag("--create", options.m_Create, "Let --set add elements and attributes");
    AddTargetOptions(verb, options);
  });
}
