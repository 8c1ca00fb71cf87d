#include "change_list.h"

#include <fmt/format.h>

#include <algorithm>

#include "output.h"
#include "text.h"
#include "values.h"

ValuePath PathOf(const ZAMXMLChangeItem& item) {
  return {item.m_Node.utf8(), item.m_Attribute.utf8()};
}

std::vector<ValuePath> TargetsOf(const ValuePath& path, ZAMXML_VTYPE type) {
  if (type == ZAMXML_VTYPE_STATEMENT) {
    return {{path.m_Element + "/Statement", {}}};
  }
  if (type != ZAMXML_VTYPE_NAME) {
    return {path};
  }
  std::vector<ValuePath> parts;
  for (const char16_t* part : NameParts) {
    parts.push_back({path.m_Element + '/' + _bstr_t(part).utf8(), {}});
  }
  return parts;
}

std::vector<ValuePath> TargetsOf(const ZAMXMLChangeItem& item) {
  return TargetsOf(PathOf(item), item.m_ValueType);
}

bool Overlap(const ZAMXMLChangeItem& left, const ZAMXMLChangeItem& right) {
  const std::vector<ValuePath> others = TargetsOf(right);
  const auto isOther = [&](const ValuePath& path) {
    return std::any_of(others.begin(), others.end(),
                       [&](const ValuePath& other) { return other.Whole() == path.Whole(); });
  };
  const std::vector<ValuePath> own = TargetsOf(left);
  return std::any_of(own.begin(), own.end(), isOther);
}

bool Concerns(const PathFilter& filter, const ZAMXMLChangeItem& item) {
  const std::vector<ValuePath> targets = TargetsOf(item);
  return filter.Takes(PathOf(item)) ||
         std::any_of(targets.begin(), targets.end(),
                     [&](const ValuePath& path) { return filter.Takes(path); });
}

std::string Origin(const ZAMXMLModification& modification) {
  const std::string name =
      modification.m_UserName.length() == 0 ? "" : " (" + Printable(modification.m_UserName) + ')';
  return fmt::format("{} {}  {}{}", Printable(modification.m_Date), Printable(modification.m_Time),
                     Printable(modification.m_UserID), name);
}

std::string Headline(const ZAMXMLModification& modification, int number) {
  return Painted(Colour::Number, std::to_string(number)) + "  " + Origin(modification);
}

std::string ChangeLine(const ZAMXMLChangeItem& item) {
  return fmt::format("{}: {} → {}\n", Printable(_bstr_t::FromUtf8(PathOf(item).Whole())),
                     Painted(Colour::Old, Quoted(item.m_OldValue)),
                     Painted(Colour::New, Quoted(item.m_NewValue)));
}

std::string ChangeLines(const ZAMXMLModification& modification, const PathFilter& filter) {
  std::string lines;
  for (const ZAMXMLChangeItem* item : modification.m_Changes) {
    if (Concerns(filter, *item)) {
      lines += "    " + ChangeLine(*item);
    }
  }
  return lines;
}
