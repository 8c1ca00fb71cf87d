#include "json_form.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>
#include <vector>

#include "failure.h"
#include "text.h"

namespace {

constexpr const char* TypeWords[] = {"STRING", "NAME", "STATEMENT"};

std::string Shown(const std::string& text) { return Quoted(_bstr_t::FromUtf8(text)); }

/// The place of the last of these bytes; a column is a character.
std::string PlaceOf(std::string_view read) {
  const auto isCharacter = [](char byte) { return (byte & 0xC0) != 0x80; };
  const auto lines = std::count(read.begin(), read.end(), '\n');
  const std::string_view line = read.substr(read.rfind('\n') + 1);
  return fmt::format(
      "line {}, column {}", lines + 1,
      std::max<std::ptrdiff_t>(1, std::count_if(line.begin(), line.end(), isCharacter)));
}

}  // namespace

Json JsonOutput(const std::string& verb, const std::string& file) {
  return {{"zamxml", JsonVersion}, {"verb", verb}, {"file", file}};
}

std::string JsonText(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

const char* TypeWord(ZAMXML_VTYPE type) { return TypeWords[type]; }

Json ToJson(const ValuePath& path) {
  return {{"path", path.m_Element}, {"attribute", path.m_Attribute}};
}

Json ToJson(const Value& value) {
  Json json = ToJson(value.m_Path);
  json["value"] = value.m_Text.utf8();
  return json;
}

Json ToJson(const ZAMXMLChangeItem& item) {
  return {{"path", item.m_Node.utf8()},
          {"attribute", item.m_Attribute.utf8()},
          {"type", TypeWord(item.m_ValueType)},
          {"old", item.m_OldValue.utf8()},
          {"new", item.m_NewValue.utf8()}};
}

Json JsonHead(const ZAMXMLModification& modification, int number) {
  return {
      {"number", number},
      {"date", modification.m_Date.utf8()},
      {"time", modification.m_Time.utf8()},
      {"user", {{"id", modification.m_UserID.utf8()}, {"name", modification.m_UserName.utf8()}}},
      {"uid", modification.m_UID.utf8()}};
}

Json ToJson(const ZAMXMLModification& modification, int number) {
  Json json = JsonHead(modification, number);
  Json changes = Json::array();
  for (const ZAMXMLChangeItem* item : modification.m_Changes) {
    changes.push_back(ToJson(*item));
  }
  json["changes"] = std::move(changes);
  return json;
}

Json ParseJson(const std::string& source, const std::string& text) {
  std::vector<std::set<std::string>> names;
  const auto onEvent = [&](int, Json::parse_event_t event, const Json& json) {
    if (event == Json::parse_event_t::object_start) {
      names.emplace_back();
    } else if (event == Json::parse_event_t::object_end) {
      names.pop_back();
    } else if (event == Json::parse_event_t::key &&
               !names.back().insert(json.get<std::string>()).second) {
      throw Failure(source, "cannot read it",
                    "an object holds " + Shown(json.get<std::string>()) + " twice");
    }
    return true;
  };
  try {
    return Json::parse(text, onEvent);
  } catch (const Json::parse_error& error) {
    throw Failure(source, "cannot read it",
                  PlaceOf(std::string_view(text).substr(0, error.byte)) + ": it is no JSON here");
  } catch (const Json::out_of_range&) {
    throw Failure(source, "cannot read it", "a number in it is too large");
  }
}

JsonObject::JsonObject(const std::string& source, const Json& json)
    : m_Source(source), m_Json(json) {
  if (!m_Json.is_object()) {
    Refuse("it is no object");
  }
}

JsonObject::JsonObject(const JsonObject& parent, const char* name, std::size_t index,
                       const Json& json)
    : m_Source(parent.m_Source), m_Parent(&parent), m_Name(name), m_Index(index), m_Json(json) {
  if (!m_Json.is_object()) {
    Refuse("it is no object");
  }
}

void JsonObject::AllowOnly(std::initializer_list<std::string_view> names) const {
  for (const auto& member : m_Json.items()) {
    if (std::find(names.begin(), names.end(), member.key()) == names.end()) {
      Refuse("the member " + Shown(member.key()) + " is unknown");
    }
  }
}

std::vector<std::string> JsonObject::Names() const {
  std::vector<std::string> names;
  for (const auto& member : m_Json.items()) {
    names.push_back(member.key());
  }
  return names;
}

const Json& JsonObject::Member(const char* name, Json::value_t kind) const {
  if (!Has(name) || m_Json[name].type() != kind) {
    Refuse(fmt::format("{} is missing or no {}", Shown(name), Json(kind).type_name()));
  }
  return m_Json[name];
}

std::string JsonObject::Text(const char* name) const {
  return Member(name, Json::value_t::string).get<std::string>();
}

std::string JsonObject::Text(const char* name, const char* otherwise) const {
  return Has(name) ? Text(name) : otherwise;
}

ZAMXML_VTYPE JsonObject::Type() const {
  const std::string word = Text("type", "STRING");
  const auto found = std::find(std::begin(TypeWords), std::end(TypeWords), word);
  if (found == std::end(TypeWords)) {
    Refuse(Shown(word) + " is no type of a value");
  }
  return static_cast<ZAMXML_VTYPE>(found - std::begin(TypeWords));
}

void JsonObject::VisitObject(const char* name, const Visit& visit) const {
  visit(JsonObject(*this, name, NoIndex, Member(name, Json::value_t::object)));
}

void JsonObject::VisitArray(const char* name, const Visit& visit) const {
  std::size_t index = 0;
  for (const Json& entry : Member(name, Json::value_t::array)) {
    visit(JsonObject(*this, name, index++, entry));
  }
}

void JsonObject::Refuse(const std::string& why) const {
  const std::string place = Place();
  throw Failure(m_Source, "cannot read it", place.empty() ? why : place + ": " + why);
}

std::string JsonObject::Place() const {
  std::string place;
  for (const JsonObject* object = this; object->m_Parent != nullptr; object = object->m_Parent) {
    std::string step = object->m_Name;
    if (object->m_Index != NoIndex) {
      step += '[' + std::to_string(object->m_Index) + ']';
    }
    place = place.empty() ? step : step + '/' + place;
  }
  return place;
}
