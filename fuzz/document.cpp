// Opens any bytes as a tree, and as a document. A tree is the same whichever parser reads it. A
// document is walked to its original content and back, saved and opened again: it shows the same,
// has the same history, and is saved as the same bytes.

#include <ZAMXMLData.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzzing.h"

namespace {

/// Longer histories cost time and show nothing new.
constexpr int MostModifications = 20;

std::string Saved(ZAMXml& xml) {
  static const fuzz::ScratchFile file(u"tree");
  xml.SetDurable(0);
  fuzz::Require(xml.SaveAs(file.Path(), nullptr) == 1, "a tree can be saved");
  return file.Read();
}

template <class... Records>
std::string Stored(Records&... records) {
  ZAMXml xml;
  xml.New(nullptr);
  xml.CreateRoot(u"R");
  const auto store = [&xml](auto& record) {
    IXMLDOMNodePtr element = xml.AddNode(u"R/Record", nullptr);
    fuzz::Require(record.WriteToXML(xml, element, nullptr) == 1, "a record can be written");
  };
  (store(records), ...);
  return Saved(xml);
}

/// All that is shown but the header, which a save may stamp.
std::string Shown(ZAMXMLFile& document) {
  return Stored(document.m_PatientInfo, document.m_OrderInfo, document.m_StudyInfo,
                document.m_Modifications);
}

/// A document that cannot be opened is closed and empty.
bool Opens(ZAMXMLFile& document, const char* path) {
  document.m_PatientInfo.m_ID = u"former";
  try {
    if (document.Open(path, nullptr) == 1) {
      return true;
    }
  } catch (const _com_error&) {
    return false;  // a change that has no place in the tree
  }
  fuzz::Require(document.IsOpened() == 0 && document.GetHistoryCount() == 0 &&
                    document.m_PatientInfo.m_ID.length() == 0,
                "what cannot be opened is closed and empty");
  return false;
}

/// A history that changes itself is read again as another one: moving it is refused.
bool ChangesItself(const ZAMXMLFile& document) {
  const auto names = [](const ZAMXMLChangeItem* item) {
    return item->m_Node.view().substr(0, item->m_Node.view().find(u'/')) == u"Modifications";
  };
  const auto& list = document.m_Modifications.m_ModificationList;
  return std::any_of(list.begin(), list.end(), [&](const ZAMXMLModification* modification) {
    return std::any_of(modification->m_Changes.begin(), modification->m_Changes.end(), names);
  });
}

/// A processing instruction sends a text to the strict parser. Behind the root it adds itself,
/// where no declaration or zero byte gives the bytes another meaning.
void ReadBothWays(const fuzz::ScratchFile& input) {
  static const fuzz::ScratchFile marked(u"marked");
  static const std::string mark = "<?strict?>";
  const std::string bytes = input.Read();
  ZAMXml either;
  if (bytes.find("encoding") != bytes.npos || bytes.find('\0') != bytes.npos ||
      either.Open(input.Path(), nullptr) == 0) {
    return;
  }
  const std::string both = bytes + mark;
  marked.Write(reinterpret_cast<const std::uint8_t*>(both.data()), both.size());
  ZAMXml strict;
  fuzz::Require(strict.Open(marked.Path(), nullptr) == 1, "the strict parser opens it, too");
  fuzz::Require(Saved(strict) == Saved(either) + mark, "and makes the same tree");
  ZAMXMLFile document;
  ZAMXMLFile strictDocument;
  const bool opened = Opens(document, input.Path());
  fuzz::Require(Opens(strictDocument, marked.Path()) == opened, "so does a document");
  if (opened && document.GetHistoryCount() <= MostModifications && !ChangesItself(strictDocument)) {
    for (ZAMXMLFile* const each : {&document, &strictDocument}) {
      fuzz::Require(each->SetHistoryToOriginal() == 1, "the original can be shown");
    }
    fuzz::Require(Saved(strictDocument.m_Xml) == Saved(document.m_Xml) + mark,
                  "and moves to the same tree");
    fuzz::Require(Shown(strictDocument) == Shown(document), "with the same records");
  }
}

void Walk(ZAMXMLFile& document) {
  const std::string last = Shown(document);
  fuzz::Require(document.SetHistoryToOriginal() == 1, "the original can be shown");
  const std::string original = Saved(document.m_Xml);
  for (int position = 0; position < document.GetHistoryCount(); ++position) {
    fuzz::Require(document.SetHistory(position) == 1, "every position can be shown");
  }
  fuzz::Require(Shown(document) == last, "the last state is what was opened");
  fuzz::Require(document.SetHistoryToOriginal() == 1 && Saved(document.m_Xml) == original,
                "the original is the same whenever it is shown");
  fuzz::Require(document.SetHistoryToLast() == 1 && Shown(document) == last,
                "so is the last state");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::ScratchFile input(u"input");
  static const fuzz::ScratchFile saved(u"saved");
  static const fuzz::ScratchFile again(u"again");
  input.Write(data, size);
  ReadBothWays(input);
  ZAMXMLFile document;
  if (!Opens(document, input.Path()) || document.GetHistoryCount() > MostModifications ||
      ChangesItself(document)) {
    return 0;
  }
  document.m_Xml.SetDurable(0);
  Walk(document);
  const std::string shown = Shown(document);
  fuzz::Require(document.SaveAs(saved.Path(), nullptr) == 1, "what opens can be saved");
  ZAMXMLFile reopened;
  fuzz::Require(Opens(reopened, saved.Path()), "what is saved opens");
  fuzz::Require(Shown(reopened) == shown, "what is saved shows the same");
  reopened.m_Xml.SetDurable(0);
  fuzz::Require(reopened.SaveAs(again.Path(), nullptr) == 1 && saved.Read() == again.Read(),
                "a second save is the same bytes");
  return 0;
}
