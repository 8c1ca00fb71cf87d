#include "report_figures.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <string_view>
#include <utility>

#include "text.h"

namespace {

constexpr std::size_t MostPoints = 24000;  ///< of all lines that are drawn before any script runs

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return text;
}

/// The value of an element that has one of these names: an attribute, or a child element's text.
int FindNamed(const ReportModel& model, const ReportElement& element,
              std::initializer_list<std::string_view> names) {
  const auto isNamed = [&](const std::string& name) {
    return std::find(names.begin(), names.end(), Lower(name)) != names.end();
  };
  for (const int attribute : element.m_Attributes) {
    if (isNamed(model.LifeOf(attribute).m_Path.m_Attribute)) {
      return attribute;
    }
  }
  for (const int child : element.m_Children) {
    if (isNamed(model.Element(child).m_Step) && model.Element(child).m_Value >= 0) {
      return model.Element(child).m_Value;
    }
  }
  return ReportElement::None;
}

std::optional<double> RateOf(const ReportModel& model, const ReportElement& element) {
  const int value = FindNamed(
      model, element, {"samplespersecond", "samplingrate", "samplerate", "samplingfrequency"});
  const std::string text = model.LastText(value).value_or(u"").utf8();
  double rate = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), rate);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(rate) ||
      rate <= 0) {
    return std::nullopt;
  }
  const ReportElement* holder = model.Find(model.LifeOf(value).m_Path.m_Element);
  const int unitValue =
      holder == nullptr ? ReportElement::None : FindNamed(model, *holder, {"unit"});
  const std::string unit = Lower(model.LastText(unitValue).value_or(u"").utf8());
  if (unit == "khz") {
    return rate * 1000;
  }
  return unit.empty() || unit == "hz" ? std::optional(rate) : std::nullopt;
}

struct Lead {
  std::size_t m_Block;
  BlockNotes m_Notes;
  const Wave* m_Wave;
};

/// The blocks of one parent, and their common axes.
struct Group {
  std::vector<Lead> m_Leads;
  bool m_InSeconds = true;
  double m_Extent = 0;  ///< seconds or samples
  std::int32_t m_Low = INT32_MAX;
  std::int32_t m_High = INT32_MIN;

  /// How many samples of a lead fill the axis.
  double SamplesAcross(const Lead& lead) const {
    return m_InSeconds ? m_Extent * *lead.m_Notes.m_Rate : m_Extent;
  }
};

void Measure(Group& group) {
  for (const Lead& lead : group.m_Leads) {
    group.m_InSeconds = group.m_InSeconds && lead.m_Notes.m_Rate.has_value();
  }
  for (const Lead& lead : group.m_Leads) {
    const auto samples = static_cast<double>(lead.m_Wave->m_Samples);
    group.m_Extent =
        std::max(group.m_Extent, group.m_InSeconds ? samples / *lead.m_Notes.m_Rate : samples);
    if (lead.m_Wave->m_Samples != 0) {
      group.m_Low = std::min(group.m_Low, lead.m_Wave->m_Low);
      group.m_High = std::max(group.m_High, lead.m_Wave->m_High);
    }
  }
}

void Collect(const ReportModel& model, const ReportElement& element,
             std::map<std::string, Group>& groups) {
  if (element.m_Block >= 0) {
    const auto block = static_cast<std::size_t>(element.m_Block);
    const BlockLife& life = model.Blocks()[block];
    const std::string parent = element.m_Path.substr(0, element.m_Path.rfind('/'));
    groups[parent].m_Leads.push_back({block, NotesOf(model, life), &life.m_Waves.back().second});
  }
  for (const int child : element.m_Children) {
    Collect(model, model.Element(child), groups);
  }
}

/// A step of 1, 2 or 5 times a power of ten that divides the extent into about ten.
double TickStep(double extent) {
  const double power = std::pow(10, std::floor(std::log10(extent / 10)));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (extent / (factor * power) <= 10) {
      return factor * power;
    }
  }
  return 10 * power;
}

std::string AxisHtml(const Group& group) {
  std::string html = "<svg class=axis aria-hidden=true>";
  const double step =
      group.m_InSeconds ? TickStep(group.m_Extent) : std::max(1.0, TickStep(group.m_Extent));
  for (int i = 0; i * step <= group.m_Extent; ++i) {
    const double at = i * step;
    html += fmt::format(
        "<text x=\"{:.2f}%\" y=14>{}</text>", 100 * at / group.m_Extent,
        group.m_InSeconds ? fmt::format("{:.6g} s", at) : Grouped(static_cast<std::size_t>(at)));
  }
  return html + "</svg>";
}

std::string LeadHtml(const ReportModel& model, const PageTexts& texts, const Group& group,
                     const Lead& lead) {
  const BlockLife& block = model.Blocks()[lead.m_Block];
  const int label = lead.m_Notes.m_Label;
  const std::string name = label >= 0
                               ? fmt::format("<span data-v={}>{}</span>", label,
                                             texts.Html(model.LastText(label).value_or(u"")))
                               : TextHtml(_bstr_t::FromUtf8(model.Find(block.m_Path)->m_Step), 200);
  const Wave& wave = *lead.m_Wave;
  std::string html =
      fmt::format("<div class=lead data-b={}><p class=row><b>{}</b> ", lead.m_Block, name);
  html += wave.m_Samples == 0
              ? "<small class=range>no samples</small></p>"
              : fmt::format("<small class=range>{} to {}</small></p>", wave.m_Low, wave.m_High);
  if (wave.m_Samples != 0) {
    const std::size_t width = std::clamp<std::size_t>(
        MostPoints / std::max<std::size_t>(1, group.m_Leads.size()), 50, 1500);
    html += fmt::format(
        "<svg class=wave role=img aria-label=\"{} samples from {} to {}\"><g></g><svg viewBox=\"0 "
        "0 "
        "{} 100\" preserveAspectRatio=none><path d=\"{}\"/></svg></svg>",
        Grouped(wave.m_Samples), wave.m_Low, wave.m_High, width,
        LineOf(wave, group.SamplesAcross(lead), group.m_Low, group.m_High, width));
  }
  if (!wave.m_Note.empty()) {
    html += "<p class=note>" + Escaped(wave.m_Note) + "</p>";
  }
  return html + "</div>\n";
}

std::string FigureHtml(const ReportModel& model, const PageTexts& texts, const std::string& parent,
                       const Group& group) {
  const std::size_t count = group.m_Leads.size();
  std::string html =
      fmt::format("<figure class=waves aria-label=\"Waveforms\"><figcaption><b>{}</b> {} block{}, ",
                  Marked(_bstr_t::FromUtf8(parent)), count, count == 1 ? "" : "s");
  html += group.m_InSeconds ? fmt::format("{:.6g} seconds", group.m_Extent)
                            : Grouped(static_cast<std::size_t>(group.m_Extent)) +
                                  " samples (the document tells no sampling rate)";
  std::size_t perColumn = 1;
  for (const Lead& lead : group.m_Leads) {
    perColumn = std::max(perColumn, lead.m_Wave->m_PerColumn);
  }
  if (perColumn > 1) {
    html += fmt::format(", of every {} samples the lowest and the highest", perColumn);
  }
  html += "</figcaption>\n";
  for (const Lead& lead : group.m_Leads) {
    html += LeadHtml(model, texts, group, lead);
  }
  return html + (group.m_Extent > 0 ? AxisHtml(group) : "") + "</figure>\n";
}

}  // namespace

BlockNotes NotesOf(const ReportModel& model, const BlockLife& block) {
  const ReportElement* element = model.Find(block.m_Path);
  BlockNotes notes{FindNamed(model, *element, {"name", "label", "lead"}), std::nullopt};
  for (std::string path = block.m_Path; !notes.m_Rate && !path.empty();
       path.erase(std::min(path.size(), path.rfind('/')))) {
    notes.m_Rate = RateOf(model, *model.Find(path));
    if (path.find('/') == std::string::npos) {
      break;
    }
  }
  return notes;
}

std::string FiguresHtml(const ReportModel& model, const PageTexts& texts,
                        const ReportElement& element) {
  std::map<std::string, Group> groups;
  Collect(model, element, groups);
  std::string html;
  for (auto& [parent, group] : groups) {
    Measure(group);
    html += FigureHtml(model, texts, parent, group);
  }
  return html;
}

Json BlocksToJson(const ReportModel& model) {
  Json blocks = Json::array();
  for (const BlockLife& block : model.Blocks()) {
    Json waves = Json::array();
    for (const auto& [position, wave] : block.m_Waves) {
      waves.push_back(Json::array(
          {position, wave.m_Samples, wave.m_PerColumn, wave.m_Low, wave.m_High, wave.Encoded()}));
    }
    const auto rate = NotesOf(model, block).m_Rate;
    blocks.push_back({{"rate", rate ? Json(*rate) : Json(nullptr)}, {"waves", std::move(waves)}});
  }
  return blocks;
}
