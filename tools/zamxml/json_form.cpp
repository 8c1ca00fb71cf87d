#include "json_form.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "failure.h"

namespace {

constexpr const char* TypeWords[] = {"STRING", "NAME", "STATEMENT"};

}  // namespace

Json JsonOutput(const std::string& verb, const std::string& file) {
  return {{"zamxml", JsonVersion}, {"verb", verb}, {"file", file}};
}

void PrintJson(const Json& json) {
  fmt::print("{}\n", json.dump(2, ' ', false, Json::error_handler_t::replace));
}

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
          {"type", TypeWords[item.m_ValueType]},
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
  try {
    return Json::parse(text);
  } catch (const Json::parse_error& error) {
    throw Failure(source, "cannot read it", error.what());
  }
}

const Json& Member(const std::string& source, const Json& object, const char* name,
                   Json::value_t kind) {
  if (!object.is_object() || !object.contains(name) || object[name].type() != kind) {
    throw Failure(source, "cannot read it",
                  fmt::format("\"{}\" is missing or no {}", name, Json(kind).type_name()));
  }
  return object[name];
}

std::string TextMember(const std::string& source, const Json& object, const char* name) {
  return Member(source, object, name, Json::value_t::string).get<std::string>();
}

std::string TextMember(const std::string& source, const Json& object, const char* name,
                       const char* otherwise) {
  return object.is_object() && !object.contains(name) ? otherwise
                                                      : TextMember(source, object, name);
}

ZAMXML_VTYPE TypeMember(const std::string& source, const Json& change) {
  const std::string word = TextMember(source, change, "type", "STRING");
  const auto found = std::find(std::begin(TypeWords), std::end(TypeWords), word);
  if (found == std::end(TypeWords)) {
    throw Failure(source, "cannot read it", '"' + word + "\" is no type of a value");
  }
  return static_cast<ZAMXML_VTYPE>(found - std::begin(TypeWords));
}
