#include <fmt/format.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "document.h"
#include "failure.h"
#include "input.h"
#include "json_form.h"
#include "output.h"
#include "suggestion.h"
#include "text.h"
#include "values.h"
#include "verbs.h"

namespace {

struct ShowOptions {
  std::string m_File;
  std::vector<std::string> m_Paths;
  std::string m_At = "last";
  bool m_Json = false;
};

using Rows = std::vector<std::pair<const char*, _bstr_t>>;

_bstr_t WithUnit(const _bstr_t& value, const _bstr_t& unit) {
  return value.length() == 0 || unit.length() == 0 ? value : value + u" " + unit;
}

_bstr_t NameOf(const ZAMXMLName& name) { return name.GetFullName(ZAM_NAME_STYLE_GIVEN_FIRST, 1); }

_bstr_t SexOf(const ZAMXMLPatientInfo& patient) {
  return patient.m_Gender.length() == 0 ? patient.m_GenderCode
                                        : patient.m_Gender + u" (" + patient.m_GenderCode + u")";
}

/// A section in plain words; what is empty is left out.
std::string SectionText(const char* title, const Rows& rows) {
  std::string text = '\n' + Painted(Colour::Title, title) + '\n';
  for (const auto& [label, value] : rows) {
    if (value.length() != 0) {
      text += fmt::format("  {:<16} {}\n", label, Printable(value));
    }
  }
  return text;
}

std::string QuestionsText(const ZAMXMLExtraQuestion& questions) {
  if (questions.GetCount() == 0) {
    return {};
  }
  std::string text = '\n' + Painted(Colour::Title, "Questions") + '\n';
  _bstr_t question;
  _bstr_t answer;
  for (int i = 0; questions.GetQuestion(i, question, answer) != 0; ++i) {
    text += fmt::format("  {}  {}\n", Printable(question), Painted(Colour::New, Printable(answer)));
  }
  return text;
}

bool IsOwnSection(const std::string& name) {
  return name == "DocumentInfo" || name == "PatientInfo" || name == "OrderInfo" ||
         name == "StudyInfo";
}

/// A section that the records do not know: its statements, and how much else it holds.
struct OtherSection {
  std::string m_Statements;
  int m_Folded = 0;
};

std::string OthersText(Document& document) {
  std::map<std::string, OtherSection> sections;
  for (const Value& value : ReadValues(document.m_Xml)) {
    const std::string& path = value.m_Path.m_Element;
    const auto slash = path.find('/');
    const std::string name = path.substr(0, slash);
    if (IsOwnSection(name)) {
      continue;
    }
    OtherSection& section = sections[name];
    const std::string rest = slash == std::string::npos ? "" : path.substr(slash + 1);
    if (value.m_Path.m_Attribute.empty() &&
        (rest == "Statement" || rest.starts_with("Statement["))) {
      section.m_Statements += "  " + Printable(value.m_Text) + '\n';
    } else {
      ++section.m_Folded;
    }
  }
  std::string text;
  for (const auto& [name, section] : sections) {
    const std::string title = Printable(_bstr_t::FromUtf8(name));
    text += '\n' + Painted(Colour::Title, title) + '\n' + section.m_Statements;
    if (section.m_Folded != 0) {
      text +=
          fmt::format("  {}{} value{}, shown by: zamxml show {} {}\n", section.m_Folded,
                      section.m_Statements.empty() ? "" : " more", section.m_Folded == 1 ? "" : "s",
                      Printable(_bstr_t::FromUtf8(document.Name())), title);
    }
  }
  return text;
}

std::string WholeText(Document& document, int position) {
  document.ReadSections();
  const auto& header = document.m_DocInfo;
  const auto& patient = document.m_PatientInfo;
  const auto& order = document.m_OrderInfo;
  const auto& study = document.m_StudyInfo;
  const std::string name = Printable(_bstr_t::FromUtf8(document.Name()));
  return fmt::format("{}: {}, {} modification{} in all\n", name,
                     position == Document::Original
                         ? "the original content"
                         : fmt::format("after modification {}", position),
                     document.Last() + 1, document.Last() == 0 ? "" : "s") +
         SectionText("Document", {{"Kind", header.m_ID},
                                  {"Type", header.m_Type},
                                  {"Version", header.m_Version},
                                  {"Author", header.m_Author},
                                  {"Application", header.m_Application},
                                  {"Institution", header.m_InstitutionName},
                                  {"Matching UID", header.m_MatchingUID}}) +
         SectionText("Patient", {{"Identifier", patient.m_ID},
                                 {"Name", NameOf(patient.m_Name)},
                                 {"Born", patient.m_BirthDate},
                                 {"Sex", SexOf(patient)},
                                 {"Age", WithUnit(patient.m_Age, patient.m_AgeUnit)},
                                 {"Race", patient.m_Race},
                                 {"Height", WithUnit(patient.m_Height, patient.m_HeightUnit)},
                                 {"Weight", WithUnit(patient.m_Weight, patient.m_WeightUnit)},
                                 {"Second identifier", patient.m_BackupID}}) +
         SectionText("Order", {{"Identifier", order.m_ID},
                               {"Date", order.m_Date},
                               {"Time", order.m_Time},
                               {"Department", order.m_Department},
                               {"Room", order.m_RoomNumber},
                               {"Author", NameOf(order.m_AuthorName)},
                               {"Comment", order.m_Comment}}) +
         SectionText("Study", {{"Identifier", study.m_ID},
                               {"Date", study.m_Date},
                               {"Time", study.m_Time},
                               {"Department", study.m_Department},
                               {"Room", study.m_RoomNumber},
                               {"Author", NameOf(study.m_AuthorName)},
                               {"Device vendor", study.m_DeviceInfo.m_Vendor},
                               {"Device model", study.m_DeviceInfo.m_Model},
                               {"Modality", study.m_DeviceInfo.m_Modality},
                               {"Device code", study.m_DeviceInfo.m_Code},
                               {"Serial number", study.m_DeviceInfo.m_SerialNo},
                               {"Status", study.m_Status},
                               {"Comment", study.m_Comment}}) +
         QuestionsText(study.m_ExtraQuestions) + OthersText(document);
}

int PrintValues(Document& document, const ShowOptions& options, int position) {
  const PathFilter filter(options.m_Paths);
  Json json = JsonOutput("show", options.m_File);
  json["position"] = position;
  json["last"] = document.Last();
  json["values"] = Json::array();
  std::string text;
  for (const Value& value : ReadValues(document.m_Xml)) {
    if (!filter.Takes(value.m_Path)) {
      continue;
    }
    if (options.m_Json) {
      json["values"].push_back(ToJson(value));
    } else {
      text +=
          Printable(_bstr_t::FromUtf8(value.m_Path.Whole())) + " = " + Quoted(value.m_Text) + '\n';
    }
  }
  Deliver(options.m_Json ? JsonText(json) : text);
  return ReportIdle(filter, options.m_File, document.m_Xml);
}

int RunShow(const ShowOptions& options) {
  const Input input(options.m_File);
  Document document(input.Path(), options.m_File);
  const int position = document.Position(options.m_At);
  document.MoveTo(position);
  if (options.m_Json || !options.m_Paths.empty()) {
    return PrintValues(document, options, position);
  }
  Deliver(WholeText(document, position));
  return ExitFine;
}

}  // namespace

void AddShow(CommandLine& line) {
  line.Add("show", "Show what a document holds", RunShow, [](Verb verb, ShowOptions& options) {
    verb.Text("FILE", options.m_File, "The document", Presence::Required);
    verb.Texts("PATH", options.m_Paths, "Only these values: PATH[@ATTR]");
    verb.Text("--at", options.m_At, "Position: original, last, a number or a local time");
    verb.Flag("--json", options.m_Json, "Print JSON");
  });
}
