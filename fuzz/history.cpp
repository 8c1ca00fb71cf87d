// Takes the bytes as a sequence of what a host does with documents, does it with the library and
// with a simple model, and compares: every value at the position shown, every result, every file.
//
// The model of a document is its original content, a text for each place, and the list of its
// modifications; the content at a position is the original with the modifications up to there
// written over it. It knows nothing of undoing.

#include <ZAMXMLData.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fuzzing.h"

namespace {

using Text = std::u16string;

/// An element's text or an attribute of it.
struct Place {
  const char16_t* m_Node;
  const char16_t* m_Attribute;
};

bool operator<(const Place& left, const Place& right) {
  return std::pair(Text(left.m_Node), Text(left.m_Attribute)) <
         std::pair(Text(right.m_Node), Text(right.m_Attribute));
}

/// More steps than a path keeps apart.
const Text DeepNode = [] {
  Text node;
  for (int i = 0; i < 258; ++i) {
    node += u"s/";
  }
  return node;
}();

const Place Places[] = {
    {u"PatientInfo/ID", u""},
    {u"PatientInfo/Weight", u""},
    {u"PatientInfo/Weight", u"Unit"},
    {u"PatientInfo/Name/Full", u""},
    {u"PatientInfo/Name/Family", u""},
    {u"OrderInfo/AuthorName/Full", u""},
    {u"DocumentInfo/Type", u""},
    {u"StudyInfo/Status", u""},
    {u"Own", u""},
    {u"Own", u"kind"},
    {u"Own/Text", u""},
    {u"Own/New/Deep", u""},
    {u"Own/New/Deep", u"a b"},
    {u"1 <>&", u""},
    {u"", u""},
    {u"a/", u"\xFFFE"},
    {u"\xD800", u"]]>\r"},
    {DeepNode.c_str(), u""},
};
constexpr std::size_t FirstOwnPlace = 8;  ///< from here on no record holds the place

struct NamePlaces {
  const char16_t* m_Node;
  std::array<const char16_t*, 6> m_Parts;
};

constexpr NamePlaces Names[] = {
    {u"PatientInfo/Name",
     {u"PatientInfo/Name/Full", u"PatientInfo/Name/Family", u"PatientInfo/Name/Given",
      u"PatientInfo/Name/Middle", u"PatientInfo/Name/Prefix", u"PatientInfo/Name/Suffix"}},
    {u"OrderInfo/AuthorName",
     {u"OrderInfo/AuthorName/Full", u"OrderInfo/AuthorName/Family", u"OrderInfo/AuthorName/Given",
      u"OrderInfo/AuthorName/Middle", u"OrderInfo/AuthorName/Prefix",
      u"OrderInfo/AuthorName/Suffix"}},
    {u"Own/Person",
     {u"Own/Person/Full", u"Own/Person/Family", u"Own/Person/Given", u"Own/Person/Middle",
      u"Own/Person/Prefix", u"Own/Person/Suffix"}},
};

/// The text of a list is that of its entries, joined as in a change.
constexpr const char16_t* Lists[] = {u"Own/List", u"StudyInfo/Own"};

constexpr std::u16string_view Texts[] = {
    u"",     u"58", u" ",         u"\u0001",       u"<&>\"'", u"]]>",
    u"\r\n", u"\t", u"\xAE40 ab", u"\xD83D\xDE00", u"\xD800", {u"a\0\xFFFE", 3}};

/// What a text is once it is stored: XML cannot carry every unit.
Text AsStored(Text text) {
  for (char16_t& unit : text) {
    if (unit == 0 || unit == 1 || unit == 0xD800 || unit == 0xFFFE) {
      unit = 0xFFFD;
    }
  }
  return text;
}

using Content = std::map<Place, Text>;

Text At(const Content& content, const Place& place) {
  const auto found = content.find(place);
  return found == content.end() ? Text() : found->second;
}

/// The places that a modification writes, in order, with their new texts.
using Modification = std::vector<std::pair<Place, Text>>;

struct Document {
  Content m_Original;
  Text m_HeaderId;
  std::vector<Modification> m_History;

  int Last() const { return static_cast<int>(m_History.size()) - 1; }

  Content ContentAt(int position) const {
    Content content = m_Original;
    for (int i = 0; i <= position; ++i) {
      for (const auto& [place, text] : m_History[static_cast<std::size_t>(i)]) {
        content[place] = text;
      }
    }
    return content;
  }
};

bool InRecord(const Place& place) {
  for (std::size_t i = 0; i < std::size(Places); ++i) {
    if (!(Places[i] < place) && !(place < Places[i])) {
      return i < FirstOwnPlace;
    }
  }
  return Text(place.m_Node).starts_with(u"PatientInfo/Name/") ||
         Text(place.m_Node).starts_with(u"OrderInfo/AuthorName/");
}

/// Built from the records at a position, a document keeps what no record holds only where a
/// modification up to there wrote it.
Document Rebuilt(const Document& document, int position, const Text& headerId) {
  Document rebuilt{{}, headerId, document.m_History};
  for (const auto& [place, text] : document.m_Original) {
    bool kept = InRecord(place);
    for (int i = 0; i <= position; ++i) {
      for (const auto& write : document.m_History[static_cast<std::size_t>(i)]) {
        kept = kept || !(write.first < place || place < write.first);
      }
    }
    if (kept) {
      rebuilt.m_Original[place] = text;
    }
  }
  return rebuilt;
}

Text ReadList(ZAMXml& xml, const IXMLDOMNodePtr& list) {
  Text joined;
  const int count = xml.GetNodeCount(list, u"Statement");
  for (int i = 0; i < count; ++i) {
    _bstr_t text;
    xml.GetChildNodeText(list, u"Statement", text, i);
    joined += (i > 0 ? u"^" : u"") + Text(text.view());
  }
  return joined;
}

Text Read(ZAMXml& xml, const Place& place) {
  const IXMLDOMNodePtr node = xml.GetChildNode(xml.GetNode(u"KESTRANE_ZAM"), place.m_Node);
  _bstr_t text;
  if (place.m_Attribute[0] != u'\0') {
    xml.GetNodeAttribute(node, place.m_Attribute, text);
  } else {
    xml.GetNodeText(node, text);
  }
  return Text(text.view());
}

/// The tree against the model's content.
void Compare(ZAMXml& xml, const Content& content) {
  const IXMLDOMNodePtr root = xml.GetNode(u"KESTRANE_ZAM");
  for (const Place& place : Places) {
    fuzz::Require(Read(xml, place) == At(content, place), "a place holds the model's text");
  }
  for (const NamePlaces& name : Names) {
    for (const char16_t* part : name.m_Parts) {
      fuzz::Require(Read(xml, {part, u""}) == At(content, {part, u""}),
                    "a part of a name holds the model's text");
    }
  }
  for (const char16_t* list : Lists) {
    fuzz::Require(ReadList(xml, xml.GetChildNode(root, list)) == At(content, {list, u"list"}),
                  "a list holds the model's entries");
  }
}

void CompareRecords(const ZAMXMLFile& document, const Content& content) {
  const ZAMXMLPatientInfo& patient = document.m_PatientInfo;
  const bool same = patient.m_ID.view() == At(content, Places[0]) &&
                    patient.m_Weight.view() == At(content, Places[1]) &&
                    patient.m_WeightUnit.view() == At(content, Places[2]) &&
                    patient.m_Name.m_Full.view() == At(content, Places[3]) &&
                    patient.m_Name.m_Family.view() == At(content, Places[4]) &&
                    document.m_OrderInfo.m_AuthorName.m_Full.view() == At(content, Places[5]) &&
                    document.m_StudyInfo.m_Status.view() == At(content, Places[7]);
  fuzz::Require(same, "the records show the model's texts");
}

/// The bytes of the input one by one; zeros after the end.
class Choices {
public:
  Choices(const std::uint8_t* data, std::size_t size) : m_Data(data), m_Left(size) {}

  bool AreLeft() const { return m_Left > 0; }

  std::size_t Below(std::size_t limit) {
    if (m_Left == 0) {
      return 0;
    }
    --m_Left;
    return *m_Data++ % limit;
  }

private:
  const std::uint8_t* m_Data;
  std::size_t m_Left;
};

/// Counts how often it is told that another position is shown.
class File : public ZAMXMLFile {
public:
  int m_Told = 0;

protected:
  void OnHistoryChanged() override { ++m_Told; }
};

/// The host: does each step with the library and with the model.
class Host {
public:
  Host(const std::uint8_t* data, std::size_t size) : m_Choices(data, size) {
    m_File.m_Xml.SetDurable(0);
  }

  void Run() {
    while (m_Choices.AreLeft()) {
      Step();
      Check();
    }
    for (std::size_t i = 0; i < m_Stored.size(); ++i) {
      CheckStored(i);
    }
  }

private:
  struct Edit {
    Modification m_Writes;
    int m_Items = 0;
  };

  /// What brings histories about is taken more often than what ends them.
  void Step() {
    static constexpr void (Host::*Steps[])() = {
        &Host::Begin,   &Host::Begin,     &Host::Begin,      &Host::AddText, &Host::AddText,
        &Host::AddText, &Host::AddText,   &Host::AddName,    &Host::AddName, &Host::AddList,
        &Host::AddList, &Host::Commit,    &Host::Commit,     &Host::Commit,  &Host::Commit,
        &Host::Move,    &Host::Move,      &Host::MoveToLast, &Host::Save,    &Host::SaveAs,
        &Host::Open,    &Host::AddUnknown};
    static constexpr void (Host::*RareSteps[])() = {&Host::New, &Host::Close, &Host::Cancel,
                                                    &Host::ChooseHeader};
    const std::size_t choice = m_Choices.Below(std::size(Steps) + 1);
    if (!m_Shown) {
      choice % 2 == 0 ? New() : Open();
    } else {
      (this->*(choice < std::size(Steps) ? Steps[choice]
                                         : RareSteps[m_Choices.Below(std::size(RareSteps))]))();
    }
  }

  void Close() {
    m_File.Close();
    Forget();
  }

  void Cancel() {
    m_File.CancelModify();
    m_Edit.reset();
  }

  void ChooseHeader() {
    m_DefaultId = m_Choices.Below(2) == 0 ? u"UNKNOWN" : u"OTHER";
    m_File.m_DefaultDocInfo.m_ID = m_DefaultId;
  }

  void Forget() {
    m_Shown.reset();
    m_Edit.reset();
    m_Position = -1;
  }

  static const fuzz::ScratchFile& Scratch(std::size_t number) {
    static const fuzz::ScratchFile files[] = {fuzz::ScratchFile(u"first"),
                                              fuzz::ScratchFile(u"second")};
    return files[number];
  }

  Text AnyText() { return Text(Texts[m_Choices.Below(std::size(Texts))]); }

  void New() {
    Forget();
    fuzz::Require(m_File.New(nullptr) == 1, "a document can be made");
    m_Shown = Document{{}, m_DefaultId, {}};
    const Text id = AnyText();
    const Text name = AnyText();
    m_File.m_PatientInfo.m_ID = id;
    m_File.m_PatientInfo.m_Name.m_Full = name;
    m_Shown->m_Original = {{Places[0], AsStored(id)}, {Places[3], AsStored(name)}};
    m_Shown->m_Original[Places[6]] = u"NA";
    const std::size_t file = m_Choices.Below(2);
    SaveTo(file);
    // The records hold the texts as they were given until they are read.
    OpenFrom(file);
  }

  void Open() {
    const std::size_t file = m_Choices.Below(2);
    if (!m_Shown || m_Choices.Below(3) == 0) {
      OpenFrom(file);
    }
  }

  void OpenFrom(std::size_t file) {
    Forget();
    const int opened = m_File.Open(Scratch(file).Path(), nullptr);
    fuzz::Require(opened == (m_Stored[file] ? 1 : 0), "a stored document opens");
    if (opened == 1) {
      m_Shown = m_Stored[file];
      m_Path = file;
      m_Position = m_Shown->Last();
    }
  }

  void RebuildIfNeeded() {
    if (m_Shown->m_HeaderId != m_DefaultId) {
      m_Shown = Rebuilt(*m_Shown, m_Position, m_DefaultId);
    }
  }

  /// An edit that is open is ended by another one only now and then.
  void Begin() {
    if (m_Edit && m_Choices.Below(8) != 0) {
      return AddText();
    }
    const Text text = AnyText();
    fuzz::Require(m_File.BeginModify(text, text, text) == 1, "an edit can begin");
    RebuildIfNeeded();
    m_Edit = Edit();
  }

  void Added(int index, const Modification& writes) {
    fuzz::Require(index == (m_Edit ? m_Edit->m_Items : -1), "an item gets the next index");
    if (m_Edit) {
      ++m_Edit->m_Items;
      m_Edit->m_Writes.insert(m_Edit->m_Writes.end(), writes.begin(), writes.end());
    }
  }

  void AddText() {
    const Place& place = Places[m_Choices.Below(std::size(Places))];
    const Text text = AnyText();
    Added(m_File.AddChangeItem(u"", place.m_Node, place.m_Attribute, ZAMXML_VTYPE_STRING, text),
          {{place, AsStored(text)}});
  }

  /// A name with an attribute changes the whole name as well.
  void AddName() {
    const NamePlaces& places = Names[m_Choices.Below(std::size(Names))];
    ZAMXMLName name;
    const std::array<_bstr_t*, 6> parts{&name.m_Full,   &name.m_Family, &name.m_Given,
                                        &name.m_Middle, &name.m_Prefix, &name.m_Suffix};
    Modification writes;
    for (std::size_t i = 0; i < parts.size(); ++i) {
      const Text text = AnyText();
      *parts[i] = text;
      writes.emplace_back(Place{places.m_Parts[i], u""}, AsStored(text));
    }
    if (m_Choices.Below(4) != 3) {
      return Added(m_File.AddChangeItemName(u"", places.m_Node, name), writes);
    }
    _bstr_t folded;
    ZAMXMLChangeItem::EncodeXMLName(name, folded);
    Added(m_File.AddChangeItem(u"", places.m_Node, u"kind", ZAMXML_VTYPE_NAME, folded), writes);
  }

  void AddList() {
    const char16_t* node = Lists[m_Choices.Below(std::size(Lists))];
    ZAMXMLStatement list;
    Text joined;
    for (std::size_t i = m_Choices.Below(4); i > 0; --i) {
      const Text text = AnyText();
      list.AddStatement(text);
      if (!text.empty()) {
        joined += (joined.empty() ? u"" : u"^") + AsStored(text);
      }
    }
    Added(m_File.AddChangeItemStatement(u"", node, list), {{Place{node, u"list"}, joined}});
  }

  /// An item that cannot be stored changes nothing.
  void AddUnknown() {
    const Place& place = Places[m_Choices.Below(std::size(Places))];
    Added(m_File.AddChangeItem(u"", place.m_Node, place.m_Attribute, ZAMXML_VTYPE_NONE, u"x"), {});
  }

  void Commit() {
    fuzz::Require(m_File.CommitModify() == (m_Edit ? 1 : 0), "an open edit is committed");
    if (m_Edit) {
      m_Shown->m_History.push_back(m_Edit->m_Writes);
      m_Edit.reset();
    }
  }

  void Move() { MoveTo(static_cast<int>(m_Choices.Below(8)) - 2); }

  void MoveToLast() { MoveTo(m_Shown->Last()); }

  void MoveTo(int position) {
    const bool there = position >= -1 && position <= m_Shown->Last();
    const int told = m_File.m_Told + (there && position != m_Position ? 1 : 0);
    fuzz::Require(m_File.SetHistory(position) == (there ? 1 : 0), "a position can be shown");
    fuzz::Require(m_File.m_Told == told, "the host is told of each move once");
    m_Position = there ? position : m_Position;
  }

  void Save() {
    fuzz::Require(m_File.Save() == 1, "a document can be saved");
    RebuildIfNeeded();
    m_Stored[m_Path] = m_Shown;
  }

  void SaveAs() { SaveTo(m_Choices.Below(2)); }

  void SaveTo(std::size_t file) {
    fuzz::Require(m_File.SaveAs(Scratch(file).Path(), nullptr) == 1, "a document can be saved");
    RebuildIfNeeded();
    m_Path = file;
    m_Stored[file] = m_Shown;
  }

  void Check() {
    fuzz::Require((m_File.IsOpened() != 0) == m_Shown.has_value(), "it is opened or not");
    fuzz::Require((m_File.m_pModification != nullptr) == m_Edit.has_value(), "it is edited or not");
    fuzz::Require(m_File.m_nHistory == m_Position, "the position is the model's");
    if (m_Shown) {
      fuzz::Require(m_File.GetHistoryCount() == m_Shown->Last() + 1, "the list is the model's");
      const Content content = m_Shown->ContentAt(m_Position);
      Compare(m_File.m_Xml, content);
      CompareRecords(m_File, content);
    }
  }

  /// The file, at every position from the last to the original and back.
  void CheckStored(std::size_t file) {
    ZAMXMLFile document;
    const std::optional<Document>& model = m_Stored[file];
    fuzz::Require(document.Open(Scratch(file).Path(), nullptr) == (model ? 1 : 0),
                  "what is stored");
    Scratch(file).Remove();
    if (!model) {
      return;
    }
    for (int step = 0; step <= 2 * model->Last() + 2; ++step) {
      const int position = step <= model->Last() ? model->Last() - step : step - model->Last() - 2;
      fuzz::Require(document.SetHistory(position) == 1, "a stored position can be shown");
      Compare(document.m_Xml, model->ContentAt(position));
      CompareRecords(document, model->ContentAt(position));
    }
  }

  Choices m_Choices;
  File m_File;
  std::optional<Document> m_Shown;
  std::optional<Edit> m_Edit;
  std::size_t m_Path = 0;
  std::array<std::optional<Document>, 2> m_Stored;
  int m_Position = -1;
  Text m_DefaultId = u"UNKNOWN";
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Host(data, size).Run();
  return 0;
}
