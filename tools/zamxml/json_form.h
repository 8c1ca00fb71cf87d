#pragma once

#include <ZAMXMLData.h>

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "values.h"

/// The one JSON form of all verbs (docs/json.md). Members keep the order in which they are added.
using Json = nlohmann::ordered_json;

/// The version of the form: raised when a member changes its meaning or goes.
inline constexpr int JsonVersion = 1;

/// What every output begins with.
Json JsonOutput(const std::string& verb, const std::string& file);
/// As it is printed.
std::string JsonText(const Json& json);

/// The word for the type of a value: "STRING", "NAME" or "STATEMENT".
const char* TypeWord(ZAMXML_VTYPE type);

Json ToJson(const ValuePath& path);
Json ToJson(const Value& value);
Json ToJson(const ZAMXMLChangeItem& item);
/// Who and when, without the changes.
Json JsonHead(const ZAMXMLModification& modification, int number);
Json ToJson(const ZAMXMLModification& modification, int number);

/// JSON that was read. Failure, naming the source, the line and the column, when the text is no
/// JSON; naming the member when an object holds one twice.
Json ParseJson(const std::string& source, const std::string& text);

/// An object in JSON that was read, and its place there. Whatever is not as it is asked for is a
/// Failure that names the source and the place: "modifications[2]/changes[0]". It refers to the
/// JSON, the source and the object around it.
class JsonObject {
public:
  JsonObject(const std::string& source, const Json& json);
  JsonObject(const JsonObject&) = delete;
  JsonObject& operator=(const JsonObject&) = delete;

  /// Refuses every member with another name.
  void AllowOnly(std::initializer_list<std::string_view> names) const;
  std::vector<std::string> Names() const;
  bool Has(const char* name) const { return m_Json.contains(name); }
  /// The member is there and not null.
  bool Holds(const char* name) const { return Has(name) && !m_Json[name].is_null(); }
  const Json& Member(const char* name, Json::value_t kind) const;
  std::string Text(const char* name) const;
  /// The same with a text for a member that is missing.
  std::string Text(const char* name, const char* otherwise) const;
  /// The member "type" of a change; a missing one means a plain text.
  ZAMXML_VTYPE Type() const;

  using Visit = std::function<void(const JsonObject&)>;
  void VisitObject(const char* name, const Visit& visit) const;
  /// Every entry of an array of objects.
  void VisitArray(const char* name, const Visit& visit) const;

  [[noreturn]] void Refuse(const std::string& why) const;

private:
  JsonObject(const JsonObject& parent, const char* name, std::size_t index, const Json& json);
  std::string Place() const;

  const std::string& m_Source;
  const JsonObject* m_Parent = nullptr;
  const char* m_Name = nullptr;
  std::size_t m_Index = NoIndex;
  const Json& m_Json;

  static constexpr auto NoIndex = static_cast<std::size_t>(-1);
};
