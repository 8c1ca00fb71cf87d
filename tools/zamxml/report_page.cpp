#include "report_page.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <initializer_list>
#include <map>
#include <set>
#include <string_view>

#include "change_list.h"
#include "json_form.h"
#include "report_figures.h"
#include "report_html.h"
#include "report_sections.h"
#include "report_template.h"
#include "text.h"
#include "values.h"

namespace {

/// The longest text that is shown whole: as long as all texts together leave the page small.
std::size_t TextLimit(const Document& document, const ReportModel& model) {
  constexpr std::size_t share = 700000;
  constexpr std::array<std::size_t, 4> limits = {8000, 4000, 1000, 200};
  std::array<std::size_t, limits.size()> sums{};
  const auto count = [&](const _bstr_t& text) {
    for (std::size_t i = 0; i < limits.size(); ++i) {
      sums[i] += std::min<std::size_t>(limits[i], text.length());
    }
  };
  for (const Life& life : model.Lives()) {
    for (const LifeStep& step : life.m_Steps) {
      count(step.m_Text.value_or(u""));
    }
  }
  for (int number = 0; number <= document.Last(); ++number) {
    for (const ZAMXMLChangeItem* item : document.Modification(number).m_Changes) {
      count(item->m_OldValue);
      count(item->m_NewValue);
    }
  }
  const auto fits =
      std::find_if(sums.begin(), sums.end(), [](std::size_t sum) { return sum <= share; });
  return fits == sums.end() ? limits.back() : limits[static_cast<std::size_t>(fits - sums.begin())];
}

std::string LocalTime() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  std::array<char, 64> text{};
  ::localtime_r(&now, &local);
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S UTC%z", &local)};
}

/// Makes the parts of one page.
class PageWriter {
public:
  PageWriter(const Document& document, const ReportModel& model,
             const std::vector<Finding>& findings, const std::string& digest)
      : m_Document(document),
        m_Model(model),
        m_Findings(findings),
        m_Digest(digest),
        m_Texts(TextLimit(document, model)) {}

  std::string Write() {
    const std::map<std::string_view, std::string> parts = {
        {"title", Title()},
        {"name", Name()},
        {"facts", Facts()},
        {"findings", FindingsHtml()},
        {"where", Where()},
        {"whose", Name() + " <small>Patient</small> " + Patient()},
        {"sections", SectionsHtml(m_Model, m_Texts)},
        {"changes", Changes()},
        {"data", Data().dump()},  // before the texts, which it numbers
        {"texts", m_Texts.Numbered()}};
    return Fill(parts);
  }

private:
  static std::string Fill(const std::map<std::string_view, std::string>& parts) {
    std::string page;
    std::string_view rest = ReportTemplate;
    for (auto begin = rest.find("<!--"); begin != rest.npos; begin = rest.find("<!--")) {
      const auto end = rest.find("-->", begin);
      page += rest.substr(0, begin);
      page += parts.at(rest.substr(begin + 4, end - begin - 4));
      rest.remove_prefix(end + 3);
    }
    page += rest;
    return page;
  }

  int ValueAt(const std::string& path, const std::string& attribute = {}) const {
    const ReportElement* element = m_Model.Find(path);
    if (element == nullptr) {
      return ReportElement::None;
    }
    if (attribute.empty()) {
      return element->m_Value;
    }
    const auto found = std::find_if(
        element->m_Attributes.begin(), element->m_Attributes.end(),
        [&](int value) { return m_Model.LifeOf(value).m_Path.m_Attribute == attribute; });
    return found == element->m_Attributes.end() ? ReportElement::None : *found;
  }

  /// Values beside each other; those that hold no text at the last position are there, hidden, when
  /// they hold one at another.
  std::string Line(std::initializer_list<int> values) const {
    std::string html;
    for (const int value : values) {
      if (value < 0 || !m_Model.LifeOf(value).HoldsText()) {
        continue;
      }
      const _bstr_t text = m_Model.LastText(value).value_or(u"");
      const bool isUnit = m_Model.LifeOf(value).m_Path.m_Attribute == "Unit";
      html += fmt::format("<span data-v={} class={}{}>{}</span>", value, isUnit ? "unit" : "fact",
                          text.length() == 0 ? " hidden" : "", m_Texts.Html(text));
    }
    return html;
  }

  std::string Title() const {
    const _bstr_t name = m_Model.LastText(ValueAt("PatientInfo/Name/Full")).value_or(u"");
    const _bstr_t patient = m_Model.LastText(ValueAt("PatientInfo/ID")).value_or(u"");
    const _bstr_t shown = (name.length() == 0 ? patient : name);
    const std::u16string_view units = shown.view();
    return Escaped(Printable(_bstr_t(units.substr(0, 80)))) + " – examination report";
  }

  std::string Name() const {
    const std::string full = Line({ValueAt("PatientInfo/Name/Full")});
    const bool hasFull =
        m_Model.LastText(ValueAt("PatientInfo/Name/Full")).value_or(u"").length() != 0;
    const std::string name =
        hasFull ? full
                : Line({ValueAt("PatientInfo/Name/Prefix"), ValueAt("PatientInfo/Name/Given"),
                        ValueAt("PatientInfo/Name/Middle"), ValueAt("PatientInfo/Name/Family"),
                        ValueAt("PatientInfo/Name/Suffix")});
    return name.empty() ? "Patient without a name" : name;
  }

  static std::string Fact(const char* label, const std::string& html) {
    return html.empty() ? std::string()
                        : fmt::format("<div><dt>{}</dt><dd>{}</dd></div>\n", label, html);
  }

  std::string Patient() const {
    return Line({ValueAt("PatientInfo/ID"), ValueAt("PatientInfo/BirthDate"),
                 ValueAt("PatientInfo/Gender"), ValueAt("PatientInfo/Age"),
                 ValueAt("PatientInfo/Age", "Unit")});
  }

  std::string Facts() const {
    const auto line = [this](std::initializer_list<const char*> paths) {
      std::string html;
      for (const char* path : paths) {
        html += Line({ValueAt(path)});
      }
      return html;
    };
    return Fact("Patient", Patient()) +
           Fact("Order", line({"OrderInfo/ID", "OrderInfo/Date", "OrderInfo/Time",
                               "OrderInfo/Department", "OrderInfo/AuthorName/Full"})) +
           Fact("Study",
                line({"StudyInfo/ID", "StudyInfo/Date", "StudyInfo/Time", "StudyInfo/Department",
                      "StudyInfo/AuthorName/Full", "StudyInfo/Status"})) +
           Fact("Device",
                line({"StudyInfo/DeviceInfo/Vendor", "StudyInfo/DeviceInfo/Model",
                      "StudyInfo/DeviceInfo/Modality", "StudyInfo/DeviceInfo/SerialNo"})) +
           Fact("Document", line({"DocumentInfo/Type", "DocumentInfo/ID", "DocumentInfo/Version",
                                  "DocumentInfo/InstitutionName"})) +
           Fact("History", History()) +
           Fact("Digest",
                "<span class=digest>" + m_Digest + "</span> <small>of the original content" +
                    (m_Document.Last() < 0 ? "" : " and all modifications") + "</small>") +
           Fact("Page", Made());
  }

  std::string History() const {
    const auto count = static_cast<std::size_t>(m_Document.Last() + 1);
    if (count == 0) {
      return "no modification: this is the original content";
    }
    std::set<std::u16string> users;
    for (int number = 0; number <= m_Document.Last(); ++number) {
      users.emplace(m_Document.Modification(number).m_UserID.view());
    }
    return fmt::format("{} by {}, {} to {}", Counted(count, "modification"),
                       Counted(users.size(), "user"),
                       m_Texts.Html(m_Document.Modification(0).m_Date),
                       m_Texts.Html(m_Document.Modification(m_Document.Last()).m_Date));
  }

  std::string FindingsHtml() const {
    if (m_Findings.empty()) {
      return "<p class=sound><b>Check: no finding.</b> Every old value in the history is what the "
             "document held. Who wrote the history, and whether anything was left out of it, the "
             "file alone cannot prove.</p>";
    }
    constexpr std::size_t most = 200;
    const auto notes =
        static_cast<std::size_t>(std::count_if(m_Findings.begin(), m_Findings.end(), IsNote));
    const std::size_t others = m_Findings.size() - notes;
    std::string html = fmt::format(
        "<div class={}><b>Check: {}, {}.</b><ul tabindex=0 aria-label=Findings>",
        others == 0 ? "sound" : "unsound", Counted(others, "finding"), Counted(notes, "note"));
    for (std::size_t i = 0; i < std::min(most, m_Findings.size()); ++i) {
      const _bstr_t sentence = _bstr_t::FromUtf8(Sentence(m_Findings[i]));
      html += "<li>" + m_Texts.Html(sentence);
    }
    if (m_Findings.size() > most) {
      html += fmt::format("<li>and {} more: zamxml check lists them",
                          Grouped(m_Findings.size() - most));
    }
    return html + "</ul></div>";
  }

  std::string UserHtml(const ZAMXMLModification& modification) const {
    if (modification.m_UserName.length() == 0) {
      return m_Texts.Html(modification.m_UserID);
    }
    return m_Texts.Html(modification.m_UserName) + " <small>" +
           m_Texts.Html(modification.m_UserID) + "</small>";
  }

  std::string Where() const {
    const int last = m_Document.Last();
    if (last == Document::Original) {
      return "The original content";
    }
    const ZAMXMLModification& modification = m_Document.Modification(last);
    return fmt::format("The last position: after modification {}, {} {}, {}", last,
                       m_Texts.Html(modification.m_Date), m_Texts.Html(modification.m_Time),
                       UserHtml(modification));
  }

  /// The rows of the table, those that a screen does not need at once in a part of their own.
  std::string Changes() const {
    constexpr int atOnce = 200;
    constexpr const char* parting = "</tbody>\n<tbody id=rest>\n";
    std::string html = "<tbody id=list>\n";
    for (int number = 0; number <= m_Document.Last(); ++number) {
      const ZAMXMLModification& modification = m_Document.Modification(number);
      if (number == atOnce) {
        html += parting;
      }
      const std::string head =
          fmt::format("<tr><td><a href=\"#p{0}\">{0}</a><td>{1}<td>{2}<td>{3}<td>", number,
                      m_Texts.Html(modification.m_Date), m_Texts.Html(modification.m_Time),
                      UserHtml(modification));
      for (const ZAMXMLChangeItem* item : modification.m_Changes) {
        html += head + PathHtml(PathOf(*item)) + "<td>" + ValueHtml(*item, item->m_OldValue) +
                "<td>" + ValueHtml(*item, item->m_NewValue) + '\n';
      }
      if (modification.m_Changes.GetCount() == 0) {
        html += head + "<td colspan=2><i>no change</i>\n";
      }
    }
    return html + (m_Document.Last() < atOnce ? parting : "") + "</tbody>\n";
  }

  /// A path that may go on in another line after every step.
  std::string PathHtml(const ValuePath& path) const {
    const _bstr_t whole = _bstr_t::FromUtf8(path.Whole());
    std::string html = m_Texts.Html(whole);
    if (html == "<bdi>" + path.Whole() + "</bdi>") {
      for (auto slash = path.m_Element.rfind('/'); slash != std::string::npos && slash != 0;
           slash = path.m_Element.rfind('/', slash - 1)) {
        html.insert(slash + std::string_view("<bdi>/").size(), "<wbr>");
      }
    }
    return html;
  }

  /// A side of a change: a text, the parts of a name, or the texts of a list.
  std::string ValueHtml(const ZAMXMLChangeItem& item, const _bstr_t& value) const {
    if (item.m_ValueType == ZAMXML_VTYPE_STRING || value.length() == 0) {
      return m_Texts.Html(value);
    }
    const std::vector<_bstr_t> parts = Unfold(value, item.m_ValueType);
    const bool isName = item.m_ValueType == ZAMXML_VTYPE_NAME;
    std::string html;
    for (std::size_t i = 0; i < parts.size(); ++i) {
      if (parts[i].length() != 0) {
        html += "<li>" +
                (isName ? "<small>" + _bstr_t(NameParts[i]).utf8() + "</small> " : std::string()) +
                m_Texts.Html(parts[i]);
      }
    }
    return isName ? "<ul>" + html + "</ul>" : "<ol>" + html + "</ol>";
  }

  std::string Made() const {
    return fmt::format("made {} by zamxml {} from the file {}", LocalTime(), ZAMXML_VERSION,
                       m_Document.Name() == "-"
                           ? "on its standard input"
                           : m_Texts.Html(_bstr_t::FromUtf8(m_Document.Name())));
  }

  /// What the script needs: numbers only, every text by its number.
  Json Data() {
    Json modifications = Json::array();
    for (int number = 0; number <= m_Document.Last(); ++number) {
      const ZAMXMLModification& modification = m_Document.Modification(number);
      modifications.push_back(Json::array(
          {m_Texts.NumberOf(modification.m_Date), m_Texts.NumberOf(modification.m_Time),
           m_Texts.NumberOf(modification.m_UserID), m_Texts.NumberOf(modification.m_UserName),
           m_Texts.NumberOf(modification.m_UID)}));
    }
    Json lives = Json::array();
    for (std::size_t i = 0; i < m_Model.Lives().size(); ++i) {
      const Life& life = m_Model.Lives()[i];
      if (life.HasChanged() && life.HoldsText()) {
        Json entry = Json::array({i});
        for (const LifeStep& step : life.m_Steps) {
          entry.push_back(step.m_Position);
          entry.push_back(step.m_Text ? m_Texts.NumberOf(*step.m_Text) : -1);
        }
        lives.push_back(std::move(entry));
      }
    }
    return {{"modifications", std::move(modifications)},
            {"lives", std::move(lives)},
            {"empty", m_Texts.NumberOf(u"")},
            {"blocks", BlocksToJson(m_Model)}};
  }

  const Document& m_Document;
  const ReportModel& m_Model;
  const std::vector<Finding>& m_Findings;
  const std::string& m_Digest;
  PageTexts m_Texts;
};

}  // namespace

std::string ReportPage(const Document& document, const ReportModel& model,
                       const std::vector<Finding>& findings, const std::string& digest) {
  return PageWriter(document, model, findings, digest).Write();
}
