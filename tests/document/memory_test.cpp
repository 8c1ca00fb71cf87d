#include <algorithm>
#include <stdexcept>
#include <string>

#include "support/document.h"
#include "support/shortage.h"

namespace {

/// A host that looks for a section of its own, which documents need not have.
class Host : public ZAMXMLFile {
public:
  using ZAMXMLFile::CopyXMLTemplate;

  _bstr_t m_Path;
  ZAMModule m_Templates;
  ZAMXml m_Source;  ///< what OpenFromXML copies

protected:
  int OnReadNonStandard(ZAMXml& xml, ZAMLog* /*log*/) override {
    xml.GetNode(u"KESTRANE_ZAM/Own");
    return 1;
  }
  int OnCopyXMLTemplate(const _bstr_t& path) override {
    return m_Templates.FindXmlResource(1) ? CopyXMLTemplate(&m_Templates, 1, path) : 0;
  }
};

enum Kind { Usual, Other };

/// What is done to an opened document, after some preparation. Saving one of another kind builds it
/// anew.
struct Road {
  const char* m_Name;
  Kind m_Kind;
  void (*m_Prepare)(Host& host);
  int (*m_Take)(Host& host);
  bool m_Closes = false;  ///< a road that fails may leave the document closed
};

void PrintTo(const Road& road, std::ostream* stream) { *stream << road.m_Name; }

void Require(bool done) {
  if (!done) {
    throw std::runtime_error("A road cannot be prepared");
  }
}

/// A document of three modifications, as it is once they have been shown and undone.
std::string Original(const std::string& headerId) {
  ZAMXml tree;
  test::Load(tree, test::DocumentBytes(
                       {{"PatientInfo/Weight", "", "58", "60"},
                        {"PatientInfo/Name", "", "Kim^^^^^", "Kim Min-seo^Kim^Min-seo^^^", "NAME"},
                        {"Foreign/List", "", "", "one^two", "STATEMENT"}},
                       "", headerId));
  test::Document document;
  Require(document.OpenFromXML(tree, nullptr) == 1 && document.SetHistory(-1) == 1);
  IXMLDOMNodePtr list = document.m_Xml.GetNode(u"KESTRANE_ZAM/Modifications");
  Require(document.m_Modifications.WriteToXML(document.m_Xml, list, nullptr) == 1);
  return test::Saved(document.m_Xml);
}

void OpenOriginal(Host& host, Kind kind) {
  static const std::string originals[] = {Original("UNKNOWN"), Original("OTHER")};
  test::WriteBytes(host.m_Path.utf8(), originals[kind]);
  Require(host.Open(host.m_Path, nullptr) == 1);
  host.m_Xml.SetDurable(0);
}

void Nothing(Host& /*host*/) {}

void AddTemplate(Host& host) {
  host.m_Templates.AddXmlResource(1, "<KESTRANE_ZAM><Logo>x</Logo></KESTRANE_ZAM>");
}

void FillNew(Host& host) {
  Require(host.New(nullptr) == 1);
  host.m_PatientInfo.m_ID = u"P1";
  host.m_StudyInfo.m_AuthorName.m_Full = u"Lee";
  host.m_StudyInfo.m_ExtraQuestions.AddQuestion(u"How are you?", u"Well");
}

int Begin(Host& host) { return host.BeginModify(u"2.25.1", u"kim", u"Kim"); }

int AddItems(Host& host) {
  static const _bstr_t weight = u"PatientInfo/Weight";
  static const _bstr_t longText = std::u16string(300, u'n');
  ZAMXMLName name;
  name.m_Full = u"Park";
  ZAMXMLStatement list;
  list.AddStatement(u"three");
  host.AddChangeItem(u"", weight, u"", ZAMXML_VTYPE_STRING, longText);
  host.AddChangeItem(u"", weight, u"Unit", ZAMXML_VTYPE_STRING, u"lb");
  host.AddChangeItemName(u"", u"PatientInfo/Name", name);
  return host.AddChangeItemStatement(u"", u"Foreign/List", list) == 3 ? 1 : 0;
}

int Edit(Host& host) { return Begin(host) == 1 ? AddItems(host) : 0; }

void PrepareEdit(Host& host) { Require(Edit(host) == 1); }

/// A modification is committed once; the next move of the history writes a list that is in
/// memory only.
int Commit(Host& host) {
  if (host.GetHistoryCount() == 3 && host.CommitModify() == 0) {
    return 0;
  }
  host.CancelModify();
  return host.SetHistory(2);
}

int Save(Host& host) { return host.Save(); }
int ShowLast(Host& host) { return host.SetHistoryToLast(); }

const Road AllRoads[] = {
    {"SaveAsNew", Usual, FillNew, [](Host& host) { return host.SaveAs(host.m_Path, nullptr); }},
    {"Save", Usual, Nothing, Save},
    {"SaveRebuilding", Other, Nothing, Save},
    {"SaveThroughTemplate", Other, AddTemplate, Save},
    {"CopyTemplate", Usual, AddTemplate,
     [](Host& host) { return Host::CopyXMLTemplate(&host.m_Templates, 1, host.m_Path); }},
    {"BeginModifyRebuilding", Other, Nothing, Begin},
    {"Edit", Usual, Nothing, Edit},
    {"Commit", Usual, PrepareEdit, Commit},
    {"Open", Usual, [](Host& host) { host.Close(); },
     [](Host& host) { return host.Open(host.m_Path, nullptr); }, true},
    {"OpenFromXML", Usual,
     [](Host& host) { test::Load(host.m_Source, test::DocumentBytes(test::ThreeWeights())); },
     [](Host& host) { return host.OpenFromXML(host.m_Source, nullptr); }, true},
    {"ShowOriginal", Usual, Nothing, [](Host& host) { return host.SetHistoryToOriginal(); }},
    {"ShowLast", Usual, [](Host& host) { Require(host.SetHistoryToOriginal() == 1); }, ShowLast},
    {"ShowCommitted", Usual,
     [](Host& host) { PrepareEdit(host), Require(host.CommitModify() == 1); }, ShowLast},
    // The last thing in the log of the tree is a warning.
    {"ShowReplaced", Usual,
     [](Host& host) {
       Begin(host);
       host.AddChangeItem(u"", u"PatientInfo/ID", u"", ZAMXML_VTYPE_STRING, u"\u0001");
       Require(host.CommitModify() == 1);
     },
     ShowLast},
};

/// The stamps of a commit differ from run to run.
std::string WithoutClock(std::string text) {
  for (const char* name : {"<Date", "<Time"}) {
    for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name, at)) {
      const bool empty = text.compare(at + 5, 2, "/>") == 0;
      text.erase(at, (empty ? at + 7 : text.find("</", at) + 7) - at);
    }
  }
  return text;
}

template <class... Records>
std::string Stored(Records&... records) {
  ZAMXml xml;
  Require(xml.New(nullptr) == 1 && xml.CreateRoot(u"R") == 1);
  const auto store = [&xml](auto& record) {
    IXMLDOMNodePtr section = xml.AddNode(u"R/Record", nullptr);
    Require(record.WriteToXML(xml, section, nullptr) == 1);
  };
  (store(records), ...);
  return test::Saved(xml);
}

/// All that a host can see of the document: records, list, pending edit and tree.
std::string Shown(Host& host) {
  std::string shown = _bstr_t(host.m_strFilePath).utf8() +
                      (host.IsOpened() != 0 ? " opened" : " closed") + " at " +
                      std::to_string(host.m_nHistory) + '\n' +
                      Stored(host.m_DocInfo, host.m_PatientInfo, host.m_OrderInfo, host.m_StudyInfo,
                             host.m_Modifications);
  if (host.m_pModification != nullptr) {
    shown += Stored(*host.m_pModification) + test::Saved(host.m_CloneXml);
  }
  if (host.m_Xml.GetNode(u"KESTRANE_ZAM")) {
    shown += test::Saved(host.m_Xml);
  }
  return WithoutClock(shown);
}

class Roads : public test::DocumentTest, public testing::WithParamInterface<Road> {
protected:
  std::string Bytes() const { return WithoutClock(test::ReadBytes(m_Path)); }
};

TEST_P(Roads, EndOldOrNew) {
  const Road& road = GetParam();
  std::string oldBytes, oldShown, newBytes, newShown, newUnedited;
  std::size_t newFiles = 0;
  test::ForEachShortage([&](test::Shortage& shortage) {
    Host host;
    host.m_Path = m_Path.c_str();
    OpenOriginal(host, road.m_Kind);
    road.m_Prepare(host);
    if (oldShown.empty()) {
      oldBytes = Bytes();
      oldShown = Shown(host);
    }
    const int position = host.m_nHistory;
    const bool editing = host.m_pModification != nullptr;
    const int result = shortage.During([&] { return road.m_Take(host); });
    if (!shortage.Happened()) {
      EXPECT_EQ(result, 1);
      newBytes = Bytes();
      newShown = Shown(host);
      newFiles = Names("").size();
      host.CancelModify();
      newUnedited = Shown(host);
      return;
    }
    const std::string bytes = Bytes();
    EXPECT_TRUE(bytes == newBytes || (result == 0 && bytes == oldBytes)) << bytes;
    if (result == 1) {
      EXPECT_EQ(Shown(host), newShown);
    } else if (road.m_Closes && host.IsOpened() == 0) {
      EXPECT_EQ(host.GetHistoryCount(), 0);
      EXPECT_EQ(host.m_PatientInfo.m_ID, u"");
    } else {
      // A move that was interrupted is repaired by the next; an edit may have begun.
      if (!editing) {
        host.CancelModify();
      }
      EXPECT_EQ(host.SetHistory(host.m_nHistory), 1);
      EXPECT_EQ(host.SetHistory(position), 1);
      const std::string shown = Shown(host);
      EXPECT_TRUE(shown == newUnedited || shown == oldShown) << shown;
    }
    EXPECT_EQ(road.m_Take(host), 1) << "the same object works afterwards";
    EXPECT_EQ(Bytes(), newBytes);
    EXPECT_EQ(Shown(host), newShown);
    EXPECT_EQ(Names("").size(), newFiles);
  });
}

INSTANTIATE_TEST_SUITE_P(Memory, Roads, testing::ValuesIn(AllRoads),
                         [](const auto& road) { return std::string(road.param.m_Name); });

/// A block that is written over an old one leaves the old samples or the new ones, never neither.
TEST(Memory, BlockIsOldOrNew) {
  ZAMXMLBinary block;
  Require(block.AllocBinary(600) == 1);
  block.m_BytePerData = 1;
  block.m_CountOfData = 600;
  block.m_BlockByteLength = 200;
  test::ForEachShortage([&block](test::Shortage& shortage) {
    ZAMXml xml;
    test::Load(xml, "<B/>");
    IXMLDOMNodePtr root = xml.GetNode(u"B");
    const auto write = [&](unsigned char value) {
      std::fill_n(block.GetBinary(), 600, value);
      return block.WriteToXML(xml, root, nullptr);
    };
    Require(write(1) == 1);
    const int result = shortage.During([&] { return write(2); });
    EXPECT_TRUE(shortage.Happened() || result == 1);
    ZAMXMLBinary stored;
    ZAMLog log;
    EXPECT_EQ(stored.ReadFromXML(xml, root, &log), 1);
    EXPECT_EQ(log.GetLogCount(), 0) << "not whole";
    const std::string samples(stored.GetBinary(), stored.GetBinary() + stored.m_BinaryLength);
    EXPECT_TRUE(samples == std::string(600, 2) || (result == 0 && samples == std::string(600, 1)));
    EXPECT_EQ(write(2), 1);
  });
}

class MemoryOfTwo : public test::DocumentTest {};

// A folder that holds the files of another edit is read.
TEST_F(MemoryOfTwo, EditsAtOnce) {
  ASSERT_EQ(Open(test::DocumentBytes(test::ThreeWeights())), 1);
  ASSERT_EQ(m_Document.Begin(), 1);
  int begun = 0;
  test::ForEachShortage([&](test::Shortage& shortage) {
    test::Document document;
    ASSERT_EQ(document.Open(m_Path, nullptr), 1);
    begun += shortage.During([&] { return document.Begin(); });
  });
  EXPECT_GT(begun, 0);
}

}  // namespace
