#pragma once

#include <ZAMXMLData.h>

#include <nlohmann/json.hpp>
#include <string>

#include "values.h"

/// The one JSON form of all verbs (docs/json.md). Members keep the order in which they are added.
using Json = nlohmann::ordered_json;

/// The version of the form: raised when a member changes its meaning or goes.
inline constexpr int JsonVersion = 1;

/// What every output begins with.
Json JsonOutput(const std::string& verb, const std::string& file);
void PrintJson(const Json& json);

Json ToJson(const ValuePath& path);
Json ToJson(const Value& value);
Json ToJson(const ZAMXMLChangeItem& item);
/// Who and when, without the changes.
Json JsonHead(const ZAMXMLModification& modification, int number);
Json ToJson(const ZAMXMLModification& modification, int number);

/// Failure, naming the source, when the text is no JSON.
Json ParseJson(const std::string& source, const std::string& text);
/// A member of an object; Failure when it is missing or of another kind.
const Json& Member(const std::string& source, const Json& object, const char* name,
                   Json::value_t kind);
std::string TextMember(const std::string& source, const Json& object, const char* name);
/// The same with a text for a member that is missing.
std::string TextMember(const std::string& source, const Json& object, const char* name,
                       const char* otherwise);
/// The member "type" of a change; a missing one means a plain text.
ZAMXML_VTYPE TypeMember(const std::string& source, const Json& change);
