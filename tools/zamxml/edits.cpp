#include "edits.h"

#include <algorithm>
#include <set>
#include <utility>

#include "change_list.h"
#include "failure.h"
#include "json_form.h"
#include "text.h"

namespace {

constexpr auto Separators = 5;

std::pair<std::string, std::string> SplitArgument(const std::string& file,
                                                  const std::string& argument) {
  const auto equals = argument.find('=');
  if (equals == std::string::npos) {
    throw Failure(file, Printable(_bstr_t::FromUtf8(argument)),
                  "\"=\" and the new value are missing");
  }
  return {argument.substr(0, equals), argument.substr(equals + 1)};
}

Edit MakeEdit(const std::string& file, const std::string& path, ZAMXML_VTYPE type,
              std::string value) {
  Edit edit{ParseChangedPath(file, path), type, std::move(value), std::nullopt};
  RefuseUnstorable(file, edit.m_Path.Whole(), edit.m_New);
  if (type != ZAMXML_VTYPE_STRING && !edit.m_Path.m_Attribute.empty()) {
    throw Failure(file, path, "an attribute holds a plain text only");
  }
  if (type == ZAMXML_VTYPE_NAME &&
      std::count(edit.m_New.begin(), edit.m_New.end(), '^') > Separators) {
    throw Failure(file, path,
                  "a name has six parts, and \"^\" cannot be in one of them: the "
                  "history joins them with it");
  }
  return edit;
}

}  // namespace

void RefuseUnstorable(const std::string& file, const std::string& what, const std::string& text) {
  const std::string why = WhyRefused(text);
  if (!why.empty()) {
    throw Failure(file, what, why);
  }
}

Edit ParseTextEdit(const std::string& file, const std::string& argument) {
  const auto [path, value] = SplitArgument(file, argument);
  return MakeEdit(file, path, ZAMXML_VTYPE_STRING, value);
}

Edit ParseNameEdit(const std::string& file, const std::string& argument) {
  const auto [path, value] = SplitArgument(file, argument);
  return MakeEdit(file, path, ZAMXML_VTYPE_NAME, value);
}

Edit ParseStatementsEdit(const std::string& file, const std::vector<std::string>& arguments) {
  auto [path, folded] = SplitArgument(file, arguments.front());
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& statement = i == 0 ? folded : arguments[i];
    if (statement.find('^') != std::string::npos) {
      throw Failure(file, path,
                    "a statement with \"^\" cannot be stored: the history joins "
                    "statements with it");
    }
    if (i > 0) {
      folded += '^' + statement;
    }
  }
  return MakeEdit(file, path, ZAMXML_VTYPE_STATEMENT, folded);
}

std::vector<Edit> ParseJsonEdits(const std::string& file, const std::string& source,
                                 const std::string& json) {
  const Json document = ParseJson(source, json);
  std::vector<Edit> edits;
  JsonObject(source, document).VisitArray("changes", [&](const JsonObject& change) {
    // A guard with a slip of the pen in its name would guard nothing.
    change.AllowOnly({"path", "attribute", "type", "old", "new"});
    const ValuePath path{change.Text("path"), change.Text("attribute", "")};
    Edit edit = MakeEdit(file, path.Whole(), change.Type(), change.Text("new"));
    if (change.Holds("old")) {
      edit.m_Old = change.Text("old");
    }
    edits.push_back(std::move(edit));
  });
  return edits;
}

void RefuseRepeated(const std::string& file, const std::vector<Edit>& edits) {
  std::set<std::string> seen;
  for (const Edit& edit : edits) {
    for (const ValuePath& place : TargetsOf(edit.m_Path, edit.m_Type)) {
      if (!seen.insert(place.Whole()).second) {
        throw Failure(file, place.Whole(), "it is given twice");
      }
    }
  }
}
