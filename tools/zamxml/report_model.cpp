#include "report_model.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

#include "change_list.h"
#include "values.h"

namespace {

constexpr const char16_t* HeaderNames[] = {u"Encoding", u"BytePerData", u"CountOfData"};

bool IsBlock(ZAMXml& tree, const IXMLDOMNodePtr& element) {
  return std::all_of(std::begin(HeaderNames), std::end(HeaderNames),
                     [&](const char16_t* name) { return tree.GetNodeCount(element, name) != 0; });
}

/// True for the elements that the block itself is made of.
bool IsOfBlock(const std::string& step) {
  const std::string name = PlainStep(step);
  return name == "Encoding" || name == "ByteOrder" || name == "BytePerData" ||
         name == "CountOfData" || name == "Data";
}

std::string ParentOf(const std::string& path) {
  const auto slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash);
}

std::string LastStepOf(const std::string& path) { return path.substr(path.rfind('/') + 1); }

bool IsHistory(const std::string& path) {
  return PlainStep(path.substr(0, path.find('/'))) == "Modifications";
}

using Texts = std::map<std::string, Value>;

Texts ReadAllTouched(ZAMXml& tree, const ZAMXMLModification& modification) {
  Texts texts;
  for (const ZAMXMLChangeItem* item : modification.m_Changes) {
    for (Value& value : ReadTouched(tree, *item)) {
      if (!IsHistory(value.m_Path.m_Element)) {
        std::string path = value.m_Path.Whole();
        texts.emplace(std::move(path), std::move(value));
      }
    }
  }
  return texts;
}

}  // namespace

std::string PlainStep(const std::string& step) { return step.substr(0, step.find('[')); }

bool Life::HoldsText() const {
  return std::any_of(m_Steps.begin(), m_Steps.end(), [](const LifeStep& step) {
    return step.m_Text && step.m_Text->length() != 0;
  });
}

ReportModel::ReportModel(Document& document) : m_Document(document) {
  ReadOriginal();
  for (int number = 0; number <= document.Last(); ++number) {
    Step(number);
  }
  PlantElements();
}

void ReportModel::ReadOriginal() {
  ZAMXml& tree = m_Document.m_Xml;
  std::map<std::string, std::size_t> blocks;
  const auto isLeftOut = [&](const IXMLDOMNodePtr& element, const std::string& path) {
    if (IsOfBlock(LastStepOf(path)) && blocks.contains(ParentOf(path))) {
      return true;
    }
    if (IsBlock(tree, element)) {
      blocks.emplace(path, m_Blocks.size());
      m_Blocks.push_back({path, {}});
    }
    return false;
  };
  for (const Value& value : ReadValues(tree, isLeftOut)) {
    Record(Document::Original, value.m_Path, value.m_Text);
  }
  for (BlockLife& block : m_Blocks) {
    ReadBlock(block, Document::Original);
  }
}

void ReportModel::Step(int number) {
  const ZAMXMLModification& modification = m_Document.Modification(number);
  Texts before = ReadAllTouched(m_Document.m_Xml, modification);
  m_Document.MoveTo(number);
  std::set<BlockLife*> touched;
  for (const auto& [path, value] : ReadAllTouched(m_Document.m_Xml, modification)) {
    const auto old = before.find(path);
    if (old == before.end() || old->second.m_Text != value.m_Text) {
      if (BlockLife* block = BlockOf(value.m_Path.m_Element)) {
        touched.insert(block);
      } else {
        Record(number, value.m_Path, value.m_Text);
      }
    }
    before.erase(path);
  }
  for (const auto& gone : before) {
    Record(number, gone.second.m_Path, std::nullopt);
  }
  for (const ZAMXMLChangeItem* item : modification.m_Changes) {
    if (item->m_ValueType == ZAMXML_VTYPE_STATEMENT) {
      RecordGoneStatements(number, *item);
    }
  }
  for (BlockLife* block : touched) {
    ReadBlock(*block, number);
  }
}

/// The block that an element is a part of; null for every other element.
BlockLife* ReportModel::BlockOf(const std::string& element) {
  if (!IsOfBlock(LastStepOf(element))) {
    return nullptr;
  }
  const std::string parent = ParentOf(element);
  const auto found = std::find_if(m_Blocks.begin(), m_Blocks.end(),
                                  [&](const BlockLife& block) { return block.m_Path == parent; });
  return found == m_Blocks.end() ? nullptr : &*found;
}

void ReportModel::Record(int position, const ValuePath& path, const std::optional<_bstr_t>& text) {
  const auto [found, isNew] = m_LifeByPath.emplace(path.Whole(), static_cast<int>(m_Lives.size()));
  if (isNew) {
    m_Lives.push_back({path, {}});
  }
  std::vector<LifeStep>& steps = m_Lives[static_cast<std::size_t>(found->second)].m_Steps;
  if (isNew || !steps.back().m_Text) {
    RecordGoneAbove(position, path.m_Element);
  }
  steps.push_back({position, text});
}

/// An empty text is no value of its own once other elements are in its element.
void ReportModel::RecordGoneAbove(int position, const std::string& path) {
  for (std::string above = ParentOf(path); !above.empty(); above = ParentOf(above)) {
    const auto found = m_LifeByPath.find(above);
    if (found != m_LifeByPath.end()) {
      std::vector<LifeStep>& steps = m_Lives[static_cast<std::size_t>(found->second)].m_Steps;
      if (steps.back().m_Text && steps.back().m_Text->length() == 0) {
        steps.push_back({position, std::nullopt});
      }
    }
  }
}

/// A list that is written anew loses what its entries hold besides their texts.
void ReportModel::RecordGoneStatements(int position, const ZAMXMLChangeItem& item) {
  const std::string list = PathOf(item).m_Element + "/Statement";
  for (auto next = m_LifeByPath.lower_bound(list);
       next != m_LifeByPath.end() && next->first.starts_with(list); ++next) {
    const std::string rest = next->first.substr(list.size());
    const std::size_t entry = rest.starts_with('[') ? rest.find(']') + 1 : 0;
    std::vector<LifeStep>& steps = m_Lives[static_cast<std::size_t>(next->second)].m_Steps;
    const bool isBelow = entry < rest.size() && (rest[entry] == '/' || rest[entry] == '@');
    if (isBelow && steps.back().m_Text) {
      steps.push_back({position, std::nullopt});
    }
  }
}

void ReportModel::ReadBlock(BlockLife& block, int position) {
  ZAMXml& tree = m_Document.m_Xml;
  IXMLDOMNodePtr element = tree.GetNode(u"KESTRANE_ZAM");
  std::string rest = block.m_Path;
  while (!rest.empty()) {
    const std::string step = rest.substr(0, rest.find('/'));
    rest.erase(0, step.size() + 1);
    const auto bracket = step.find('[');
    const int index = bracket == std::string::npos ? 0 : std::stoi(step.substr(bracket + 1));
    element = tree.GetChildNode(element, _bstr_t::FromUtf8(PlainStep(step)), index);
  }
  block.m_Waves.emplace_back(position, ReadWave(tree, element));
  std::vector<Wave*> all;
  for (BlockLife& known : m_Blocks) {
    for (auto& [from, wave] : known.m_Waves) {
      all.push_back(&wave);
    }
  }
  ThinOut(all);
}

void ReportModel::PlantElements() {
  m_Elements.emplace_back();
  m_ElementByPath.emplace("", 0);
  for (std::size_t i = 0; i < m_Lives.size(); ++i) {
    const ValuePath& path = m_Lives[i].m_Path;
    ReportElement& element = m_Elements[static_cast<std::size_t>(Plant(path.m_Element))];
    if (path.m_Attribute.empty()) {
      element.m_Value = static_cast<int>(i);
    } else {
      element.m_Attributes.push_back(static_cast<int>(i));
    }
  }
  for (std::size_t i = 0; i < m_Blocks.size(); ++i) {
    const int place = Plant(m_Blocks[i].m_Path);
    m_Elements[static_cast<std::size_t>(place)].m_Block = static_cast<int>(i);
  }
}

int ReportModel::Plant(const std::string& path) {
  const auto found = m_ElementByPath.find(path);
  if (found != m_ElementByPath.end()) {
    return found->second;
  }
  const int parent = Plant(ParentOf(path));
  const int place = static_cast<int>(m_Elements.size());
  m_Elements.push_back({LastStepOf(path), path, ReportElement::None, {}, {}, ReportElement::None});
  m_Elements[static_cast<std::size_t>(parent)].m_Children.push_back(place);
  m_ElementByPath.emplace(path, place);
  return place;
}

const ReportElement* ReportModel::Find(const std::string& path) const {
  const auto found = m_ElementByPath.find(path);
  return found == m_ElementByPath.end() ? nullptr : &Element(found->second);
}

std::optional<_bstr_t> ReportModel::LastText(int value) const {
  return value == ReportElement::None ? std::nullopt : LifeOf(value).m_Steps.back().m_Text;
}
