#include "verify.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "change_list.h"
#include "failure.h"
#include "text.h"
#include "values.h"
#include "verify_entries.h"

namespace {

using Names = std::vector<const char16_t*>;

/// An element whose children are known, and their names. Of each a reader sees the first only.
struct Layout {
  const char16_t* m_Element;
  Names m_Children;
};

const Names NameChildren(std::begin(NameParts), std::end(NameParts));

const std::vector<Layout>& Layouts() {
  static const std::vector<Layout> layouts = {
      {u"", {u"DocumentInfo", u"PatientInfo", u"OrderInfo", u"StudyInfo", u"Modifications"}},
      {u"DocumentInfo",
       {u"ID", u"Type", u"Version", u"Author", u"Application", u"InstitutionName", u"MatchingUID"}},
      {u"PatientInfo",
       {u"ID", u"Name", u"BirthDate", u"Gender", u"Age", u"Race", u"Height", u"Weight",
        u"BackupID"}},
      {u"PatientInfo/Name", NameChildren},
      {u"OrderInfo",
       {u"ID", u"Date", u"Time", u"Department", u"RoomNumber", u"AuthorName", u"Comment"}},
      {u"OrderInfo/AuthorName", NameChildren},
      {u"StudyInfo",
       {u"ID", u"Date", u"Time", u"Department", u"RoomNumber", u"AuthorName", u"DeviceInfo",
        u"ExtraQuestions", u"Status", u"Comment"}},
      {u"StudyInfo/AuthorName", NameChildren},
      {u"StudyInfo/DeviceInfo", {u"Vendor", u"Model", u"Modality", u"Code", u"SerialNo"}},
  };
  return layouts;
}

/// The known elements that hold elements themselves; each has its own layout or check.
const Names Containers = {u"Name",  u"AuthorName",   u"DeviceInfo", u"ExtraQuestions",
                          u"Extra", u"Modification", u"Changes",    u"Item"};

bool IsOneOf(const Names& names, const std::string& name) {
  const _bstr_t text = _bstr_t::FromUtf8(name);
  return std::any_of(names.begin(), names.end(),
                     [&](const char16_t* known) { return text.view() == known; });
}

class Verifier {
public:
  explicit Verifier(Document& document)
      : m_Document(document), m_Tree(document.m_Xml), m_Root(m_Tree.GetNode(u"KESTRANE_ZAM")) {}

  std::vector<Finding> Run() {
    for (const Layout& layout : Layouts()) {
      CheckLayout(layout);
    }
    CheckQuestions();
    CheckStoredHistory();
    VerifyEntries(m_Document, m_Findings);
    try {
      for (int number = 0; number <= m_Document.Last(); ++number) {
        CheckModification(number);
        m_Document.MoveTo(number);
      }
    } catch (const Unsound& failure) {
      Report(FindingCode::Unapplicable, {}, {}, failure.Message());
    }
    return std::move(m_Findings);
  }

private:
  void Report(FindingCode code, std::optional<int> modification, ValuePath path, std::string what) {
    m_Findings.push_back({code, modification, std::move(path), std::move(what)});
  }

  void CheckLayout(const Layout& layout) {
    const std::string path = _bstr_t(layout.m_Element).utf8();
    const IXMLDOMNodePtr element =
        path.empty() ? m_Root : m_Tree.GetChildNode(m_Root, layout.m_Element);
    if (!element) {
      return;
    }
    CheckOnce(element, path, layout.m_Children);
    if (path.empty()) {
      return;
    }
    CheckKnown(element, path, layout.m_Children);
    if (path.find('/') == std::string::npos && m_Tree.GetNodeCount(element, u"ID") == 0) {
      Report(FindingCode::MissingID, {}, {path + "/ID", {}}, "it is missing");
    }
  }

  void CheckOnce(const IXMLDOMNodePtr& element, const std::string& path, const Names& names) {
    for (const char16_t* name : names) {
      const int count = m_Tree.GetNodeCount(element, name);
      if (count > 1) {
        const std::string child = _bstr_t(name).utf8();
        Report(FindingCode::RepeatedElement, {}, {path.empty() ? child : path + '/' + child, {}},
               fmt::format("it is there {} times, and only the first is read", count));
      }
    }
  }

  /// No element in a known one, and in its fields that hold a text, that readers pass over.
  void CheckKnown(const IXMLDOMNodePtr& element, const std::string& path, const Names& names) {
    ForEachChild(m_Tree, element,
                 [&](const IXMLDOMNodePtr& child, const std::string& name, int index) {
                   const std::string whole = path + '/' + Step(name, index);
                   if (!IsOneOf(names, name)) {
                     ReportUnknown(whole);
                   } else if (!IsOneOf(Containers, name)) {
                     CheckKnown(child, whole, {});
                   }
                 });
  }

  void ReportUnknown(const std::string& path) {
    Report(FindingCode::UnknownElement, {}, {path, {}}, "no such element is known there");
  }

  void CheckQuestions() {
    const std::string path = "StudyInfo/ExtraQuestions";
    const auto questions = m_Tree.GetChildNode(m_Root, _bstr_t::FromUtf8(path));
    CheckKnown(questions, path, {u"Extra"});
    ForEachChild(m_Tree, questions,
                 [&](const IXMLDOMNodePtr& child, const std::string& name, int index) {
                   if (name == "Extra") {
                     const Names names = {u"Question", u"Answer"};
                     CheckOnce(child, path + '/' + Step(name, index), names);
                     CheckKnown(child, path + '/' + Step(name, index), names);
                   }
                 });
  }

  /// What reading the history passes over: a modification that it leaves out, a type that it does
  /// not know and takes for a text, an element that the next commit drops.
  void CheckStoredHistory() {
    const auto section = m_Tree.GetChildNode(m_Root, u"Modifications");
    ForEachChild(m_Tree, section,
                 [this](const IXMLDOMNodePtr& child, const std::string& name, int index) {
                   const ValuePath path{"Modifications/" + Step(name, index), {}};
                   if (name != "Modification") {
                     Report(FindingCode::StrayElement, {}, path, "it is no modification");
                   } else if (m_Tree.GetNodeCount(child, u"Changes") == 0) {
                     Report(FindingCode::LostModification, {}, path,
                            "it has no Changes, and readers leave it out");
                   } else {
                     CheckStored(child, path.m_Element);
                   }
                 });
  }

  void CheckStored(const IXMLDOMNodePtr& modification, const std::string& path) {
    const Names names = {u"UID", u"Date", u"Time", u"UserID", u"UserName", u"Changes"};
    CheckOnce(modification, path, names);
    CheckKnown(modification, path, names);
    const auto changes = m_Tree.GetChildNode(modification, u"Changes");
    CheckKnown(changes, path + "/Changes", {u"Item"});
    ForEachChild(m_Tree, changes,
                 [&](const IXMLDOMNodePtr& child, const std::string& name, int index) {
                   if (name == "Item") {
                     CheckItem(child, path + "/Changes/" + Step(name, index));
                   }
                 });
  }

  void CheckItem(const IXMLDOMNodePtr& item, const std::string& path) {
    const Names names = {u"Code", u"Node", u"Attribute", u"ValueType", u"OldValue", u"NewValue"};
    CheckOnce(item, path, names);
    CheckKnown(item, path, names);
    _bstr_t word;
    m_Tree.GetChildNodeText(item, u"ValueType", word);
    if (!IsTypeWord(word.utf8())) {
      Report(FindingCode::UnknownType, {}, {path, {}},
             "its type " + Quoted(word) + " is unknown and read as a plain text");
    }
  }

  /// Readers take the words in any case.
  static bool IsTypeWord(std::string word) {
    std::transform(word.begin(), word.end(), word.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
    return word == "STRING" || word == "NAME" || word == "STATEMENT";
  }

  void CheckModification(int number) {
    for (const ZAMXMLChangeItem* item : m_Document.Modification(number).m_Changes) {
      CheckChange(number, *item);
    }
  }

  void CheckChange(int number, const ZAMXMLChangeItem& item) {
    const ValuePath path = PathOf(item);
    const std::string first = path.m_Element.substr(0, path.m_Element.find('/'));
    if (first == "Modifications") {
      Report(FindingCode::ChangesHistory, number, path, "it changes the history itself");
    }
    const auto held = ReadHeld(m_Tree, item.m_Node, item.m_Attribute, item.m_ValueType);
    const _bstr_t text = held.value_or(u"");
    if (!SameValue(text, item.m_OldValue, item.m_ValueType)) {
      Report(FindingCode::OldValue, number, path,
             fmt::format("the history says {}, the document held {}", Quoted(item.m_OldValue),
                         held ? Quoted(text) : "nothing"));
    }
    if (item.m_ValueType != ZAMXML_VTYPE_STRING) {
      CheckSeparators(number, path, item);
    }
  }

  static bool SameValue(const _bstr_t& left, const _bstr_t& right, ZAMXML_VTYPE type) {
    return left == right ||
           (type != ZAMXML_VTYPE_STRING && Unfold(left, type) == Unfold(right, type));
  }

  /// A part that holds the sign which joins the parts comes back as two.
  void CheckSeparators(int number, const ValuePath& path, const ZAMXMLChangeItem& item) {
    for (const Value& value : ReadTouched(m_Tree, item)) {
      if (value.m_Text.view().find(u'^') != std::u16string_view::npos) {
        Report(FindingCode::LostSeparator, number, path,
               fmt::format("the document held {} in {}, which the history cannot give back",
                           Quoted(value.m_Text), value.m_Path.m_Element));
      }
    }
  }

  Document& m_Document;
  ZAMXml& m_Tree;
  IXMLDOMNodePtr m_Root;
  std::vector<Finding> m_Findings;
};

}  // namespace

std::vector<Finding> Verify(Document& document) { return Verifier(document).Run(); }
