#include "report_sections.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <string_view>
#include <vector>

#include "report_figures.h"

namespace {

/// What the known elements are called, by their path.
const std::map<std::string, const char*, std::less<>>& Labels() {
  static const std::map<std::string, const char*, std::less<>> labels = {
      {"DocumentInfo", "Document"},
      {"DocumentInfo/ID", "Kind"},
      {"DocumentInfo/InstitutionName", "Institution"},
      {"DocumentInfo/MatchingUID", "Matching UID"},
      {"PatientInfo", "Patient"},
      {"PatientInfo/ID", "Identifier"},
      {"PatientInfo/BirthDate", "Born"},
      {"PatientInfo/Gender", "Sex"},
      {"PatientInfo/BackupID", "Second identifier"},
      {"OrderInfo", "Order"},
      {"OrderInfo/ID", "Identifier"},
      {"OrderInfo/RoomNumber", "Room"},
      {"OrderInfo/AuthorName", "Author"},
      {"StudyInfo", "Study"},
      {"StudyInfo/ID", "Identifier"},
      {"StudyInfo/RoomNumber", "Room"},
      {"StudyInfo/AuthorName", "Author"},
      {"StudyInfo/DeviceInfo", "Device"},
      {"StudyInfo/DeviceInfo/SerialNo", "Serial number"},
      {"StudyInfo/ExtraQuestions", "Questions"},
  };
  return labels;
}

bool IsName(const ReportElement& element) {
  return element.m_Path == "PatientInfo/Name" || element.m_Path == "OrderInfo/AuthorName" ||
         element.m_Path == "StudyInfo/AuthorName";
}

std::string LabelOf(const ReportElement& element) {
  const auto found = Labels().find(element.m_Path);
  return found != Labels().end() ? found->second : Marked(_bstr_t::FromUtf8(element.m_Step));
}

/// An element whose own name is what a known one is called.
bool BearsKnownLabel(const ReportElement& element) {
  return !Labels().contains(element.m_Path) &&
         std::ranges::any_of(Labels(),
                             [&](const auto& known) { return element.m_Step == known.second; });
}

class SectionWriter {
public:
  SectionWriter(const ReportModel& model, const PageTexts& texts)
      : m_Model(model), m_Texts(texts) {}

  std::string Write(const ReportElement& section) {
    const std::string figures = FiguresHtml(m_Model, m_Texts, section);
    m_Html = fmt::format("<section class=\"card{}\"><h2>{}{}</h2>\n",
                         figures.empty() ? "" : " wide", LabelOf(section),
                         BearsKnownLabel(section) ? " <small>another section</small>" : "");
    WriteContent(section, 3);
    m_Html += figures;
    if (!m_Empty.empty()) {
      m_Html += "<p class=note>Empty: " + m_Empty + "</p>\n";
    }
    return m_Html + "</section>\n";
  }

private:
  const ReportElement& ElementAt(int index) const { return m_Model.Element(index); }

  bool HoldsText(int value) const { return value >= 0 && m_Model.LifeOf(value).HoldsText(); }

  bool IsWorthShowing(const ReportElement& element) const {
    return HoldsText(element.m_Value) ||
           std::any_of(element.m_Attributes.begin(), element.m_Attributes.end(),
                       [this](int attribute) { return HoldsText(attribute); });
  }

  /// The rows of its own values and of the elements in it.
  void WriteContent(const ReportElement& element, int level) {
    if (IsWorthShowing(element)) {
      WriteRow(element, "");
    }
    if (element.m_Path == "StudyInfo/ExtraQuestions") {
      WriteQuestions(element);
      return;
    }
    if (IsList(element)) {
      WriteList(element);
      return;
    }
    for (const int child : element.m_Children) {
      WriteElement(ElementAt(child), level);
    }
    EndRows();
  }

  void WriteElement(const ReportElement& element, int level) {
    if (element.m_Block >= 0) {
      WriteBlockNotes(element);
    } else if (IsName(element)) {
      WriteName(element);
    } else if (!element.m_Children.empty()) {
      EndRows();
      m_Html += fmt::format("<div class=branch><h{}>{}</h{}>\n", std::min(level, 6),
                            LabelOf(element), std::min(level, 6));
      WriteContent(element, level + 1);
      m_Html += "</div>\n";
    } else if (IsWorthShowing(element)) {
      WriteRow(element, LabelOf(element));
    } else {
      const std::string parent = element.m_Path.substr(0, element.m_Path.rfind('/'));
      const bool isNested = parent.find('/') != std::string::npos;
      m_Empty += m_Empty.empty() ? "" : ", ";
      m_Empty +=
          isNested ? LabelOf(*m_Model.Find(parent)) + '/' + LabelOf(element) : LabelOf(element);
    }
  }

  void WriteRow(const ReportElement& element, const std::string& label, const char* kind = "row") {
    const bool hasText = HoldsText(element.m_Value);
    if (hasText) {
      BeginRow(kind, label);
      m_Html += SlotHtml(m_Model, m_Texts, element.m_Value);
    }
    for (const int attribute : element.m_Attributes) {
      const std::string& name = m_Model.LifeOf(attribute).m_Path.m_Attribute;
      if (!HoldsText(attribute)) {
        continue;
      }
      const std::string shown = Marked(_bstr_t::FromUtf8(name));
      if (!hasText) {
        BeginRow(kind, label.empty() ? shown : label + ", " + shown);
      } else {
        m_Html += name == "Unit" ? " " : " <small>" + shown + "</small> ";
      }
      m_Html += SlotHtml(m_Model, m_Texts, attribute);
      m_Html += hasText ? "" : "</dd></div>\n";
    }
    m_Html += hasText ? "</dd></div>\n" : "";
  }

  void BeginRow(const char* kind, const std::string& label) {
    BeginRows();
    m_Html += fmt::format("<div class=\"{}\"><dt>{}</dt><dd>", kind, label);
  }

  /// The full name, and below it the parts that make it.
  void WriteName(const ReportElement& name) {
    static const std::map<std::string, const char*, std::less<>> partLabels = {
        {"Full", "full"},     {"Family", "family"}, {"Given", "given"},
        {"Middle", "middle"}, {"Prefix", "title"},  {"Suffix", "suffix"}};
    const std::string label = name.m_Path == "PatientInfo/Name" ? "Name" : LabelOf(name);
    for (const int child : name.m_Children) {
      const ReportElement& part = ElementAt(child);
      const auto known = partLabels.find(part.m_Step);
      if (!IsWorthShowing(part)) {
        continue;
      }
      const bool isFull = part.m_Step == "Full";
      WriteRow(part,
               isFull
                   ? label
                   : label + ", " +
                         (known != partLabels.end() ? std::string(known->second) : LabelOf(part)),
               isFull ? "row" : "row part");
    }
  }

  /// What is in a block's element besides the block and its name.
  void WriteBlockNotes(const ReportElement& element) {
    const BlockLife& block = m_Model.Blocks()[static_cast<std::size_t>(element.m_Block)];
    const int label = NotesOf(m_Model, block).m_Label;
    ReportElement rest = element;
    std::erase(rest.m_Attributes, label);
    std::erase_if(rest.m_Children, [&](int child) { return ElementAt(child).m_Value == label; });
    rest.m_Block = ReportElement::None;
    if (IsWorthShowing(rest) || !rest.m_Children.empty()) {
      WriteElement(rest, 4);
    }
  }

  bool IsList(const ReportElement& element) const {
    return !element.m_Children.empty() &&
           std::all_of(element.m_Children.begin(), element.m_Children.end(), [this](int child) {
             const ReportElement& entry = ElementAt(child);
             return PlainStep(entry.m_Step) == "Statement" && entry.m_Children.empty() &&
                    entry.m_Attributes.empty() && entry.m_Value >= 0;
           });
  }

  void WriteList(const ReportElement& list) {
    EndRows();
    m_Html += "<ol class=statements>\n";
    for (const int child : list.m_Children) {
      const int value = ElementAt(child).m_Value;
      m_Html += fmt::format("<li class=row{}>{}</li>\n", m_Model.LastText(value) ? "" : " hidden",
                            SlotHtml(m_Model, m_Texts, value));
    }
    m_Html += "</ol>\n";
  }

  void WriteQuestions(const ReportElement& questions) {
    EndRows();
    m_Html +=
        "<table class=questions><thead><tr><th scope=col>Question<th scope=col>Answer"
        "</thead><tbody>\n";
    for (const int child : questions.m_Children) {
      const ReportElement& extra = ElementAt(child);
      m_Html += "<tr class=row>";
      for (const char* part : {"/Question", "/Answer"}) {
        const ReportElement* element = m_Model.Find(extra.m_Path + part);
        const int value = element == nullptr ? ReportElement::None : element->m_Value;
        m_Html += "<td>" + (value < 0 ? std::string() : SlotHtml(m_Model, m_Texts, value));
      }
    }
    m_Html += "</tbody></table>\n";
  }

  void BeginRows() {
    if (!m_InRows) {
      m_Html += "<dl>\n";
      m_InRows = true;
    }
  }

  void EndRows() {
    if (m_InRows) {
      m_Html += "</dl>\n";
      m_InRows = false;
    }
  }

  const ReportModel& m_Model;
  const PageTexts& m_Texts;
  std::string m_Html;
  std::string m_Empty;  ///< labels of what holds nothing at any position
  bool m_InRows = false;
};

}  // namespace

std::string SlotHtml(const ReportModel& model, const PageTexts& texts, int value) {
  const auto text = model.LastText(value);
  return fmt::format("<span data-v={}{}>{}</span>", value, text ? "" : " hidden",
                     text ? texts.Html(*text) : "");
}

std::string SectionsHtml(const ReportModel& model, const PageTexts& texts) {
  std::vector<const ReportElement*> sections;
  for (const char* path : {"PatientInfo", "OrderInfo", "StudyInfo"}) {
    sections.push_back(model.Find(path));
  }
  const ReportElement* header = model.Find("DocumentInfo");
  for (const int child : model.Root().m_Children) {
    const ReportElement* section = &model.Element(child);
    if (section != header &&
        std::find(sections.begin(), sections.end(), section) == sections.end()) {
      sections.push_back(section);
    }
  }
  sections.push_back(header);
  std::string html;
  for (const ReportElement* section : sections) {
    if (section != nullptr) {
      html += SectionWriter(model, texts).Write(*section);
    }
  }
  return html;
}
