#include "recording.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <random>

#include "change_list.h"
#include "failure.h"
#include "file_lock.h"
#include "json_form.h"
#include "text.h"
#include "values.h"

namespace {

/// "2.25." and the decimal digits of a random UUID (version 4).
std::string FreshUID() {
  std::random_device random;
  std::array<std::uint32_t, 4> words{random(), random(), random(), random()};
  words[1] = (words[1] & 0xFFFF0FFFU) | 0x00004000U;
  words[2] = (words[2] & 0x3FFFFFFFU) | 0x80000000U;
  std::string digits;
  while (std::any_of(words.begin(), words.end(), [](std::uint32_t word) { return word != 0; })) {
    std::uint64_t rest = 0;
    for (std::uint32_t& word : words) {
      rest = (rest << 32U) | word;
      word = static_cast<std::uint32_t>(rest / 10);
      rest %= 10;
    }
    digits.insert(digits.begin(), static_cast<char>('0' + rest));
  }
  return "2.25." + digits;
}

/// Turns edits into the changes of the pending modification of a document.
class Recorder {
public:
  Recorder(Document& document, const RecordingOptions& options)
      : m_Document(document), m_Options(options) {}

  /// The number of changes recorded; with none the edit is cancelled.
  int Record(const std::vector<Edit>& edits) {
    const std::string uid = m_Options.m_UID.empty() ? FreshUID() : m_Options.m_UID;
    if (m_Document.BeginModify(_bstr_t::FromUtf8(uid), _bstr_t::FromUtf8(m_Options.m_UserID),
                               _bstr_t::FromUtf8(m_Options.m_UserName)) == 0) {
      throw Failure(m_Options.m_File, "cannot begin a modification", LibraryReason());
    }
    int count = 0;
    for (const Edit& edit : edits) {
      count += Add(edit) ? 1 : 0;
    }
    if (count == 0) {
      m_Document.CancelModify();
    } else if (m_Document.CommitModify() == 0) {
      throw Failure(m_Options.m_File, "cannot record the modification", LibraryReason());
    }
    return count;
  }

private:
  bool Add(const Edit& edit) {
    const _bstr_t node = _bstr_t::FromUtf8(edit.m_Path.m_Element);
    std::unique_ptr<ZAMXMLChangeItem> item(m_Document.CreateChangeItem(
        _bstr_t::FromUtf8(m_Options.m_Code), node, _bstr_t::FromUtf8(edit.m_Path.m_Attribute),
        edit.m_Type, Settled(edit)));
    if (item == nullptr) {
      Refuse(edit, LibraryReason());
    }
    const auto held =
        ReadHeld(m_Document.m_CloneXml, item->m_Node, item->m_Attribute, item->m_ValueType);
    CheckPlace(edit, *item, held.has_value());
    if (edit.m_Old && _bstr_t::FromUtf8(*edit.m_Old) != item->m_OldValue) {
      throw Failure(m_Options.m_File, edit.m_Path.Whole(),
                    "the document holds " + Quoted(item->m_OldValue) + ", not " +
                        Quoted(_bstr_t::FromUtf8(*edit.m_Old)),
                    ExitFinding);
    }
    if (held && item->m_OldValue == item->m_NewValue) {
      return false;
    }
    if (m_Document.AddChangeItem(item.get()) < 0) {
      Refuse(edit, LibraryReason());
    }
    item.release();
    return true;
  }

  /// The new value in the form in which the library folds it.
  static _bstr_t Settled(const Edit& edit) {
    _bstr_t value = _bstr_t::FromUtf8(edit.m_New);
    if (edit.m_Type == ZAMXML_VTYPE_NAME) {
      ZAMXMLName name;
      ZAMXMLChangeItem::DecodeXMLName(value, name);
      ZAMXMLChangeItem::EncodeXMLName(name, value);
    } else if (edit.m_Type == ZAMXML_VTYPE_STATEMENT) {
      ZAMXMLStatement list;
      ZAMXMLChangeItem::DecodeXMLStatement(value, list);
      ZAMXMLChangeItem::EncodeXMLStatement(list, value);
    }
    return value;
  }

  /// Whether the place can take that kind of value without harm to what stands there.
  void CheckPlace(const Edit& edit, const ZAMXMLChangeItem& item, bool exists) {
    if (!exists) {
      if (!m_Options.m_Create) {
        Refuse(edit, "it names nothing in the document; --create adds it");
      }
      return;
    }
    ZAMXml& tree = m_Document.m_CloneXml;
    const IXMLDOMNodePtr element = tree.GetChildNode(tree.GetNode(u"KESTRANE_ZAM"), item.m_Node);
    const std::vector<Value> values = ReadTouched(tree, item);
    if (edit.m_Type == ZAMXML_VTYPE_STRING) {
      if (edit.m_Path.m_Attribute.empty() && tree.GetFirstChildNode(element)) {
        Refuse(edit, "it holds elements of its own; name one of them");
      }
      return;
    }
    _bstr_t text;
    tree.GetNodeText(element, text);
    if (text.length() != 0 || (edit.m_Type == ZAMXML_VTYPE_NAME && values.empty())) {
      Refuse(edit, edit.m_Type == ZAMXML_VTYPE_NAME ? "it holds no name" : "it holds a plain text");
    }
    for (const Value& value : values) {
      if (value.m_Text.view().find(u'^') != std::u16string_view::npos) {
        Refuse(edit, "it holds " + Quoted(value.m_Text) +
                         ", and a text with \"^\" could not be taken back from the history");
      }
    }
  }

  [[noreturn]] void Refuse(const Edit& edit, const std::string& why) const {
    throw Failure(m_Options.m_File, edit.m_Path.Whole(), why);
  }
  std::string LibraryReason() const { return Reason(m_Document, m_Options.m_File); }

  Document& m_Document;
  const RecordingOptions& m_Options;
};

void CheckOptions(const RecordingOptions& options) {
  if (options.m_File == "-") {
    throw Failure("-", "cannot change the standard input", "a file is needed");
  }
  RefuseUnstorable(options.m_File, "--user", options.m_UserID);
  RefuseUnstorable(options.m_File, "--user-name", options.m_UserName);
  RefuseUnstorable(options.m_File, "--uid", options.m_UID);
  RefuseUnstorable(options.m_File, "--code", options.m_Code);
  if (options.m_UserID.empty()) {
    throw Failure(options.m_File, "--user", "it is empty");
  }
}

void SaveRecorded(Document& document, const RecordingOptions& options) {
  std::optional<CreationLock> created;
  if (!options.m_Output.empty()) {
    created.emplace(options.m_Output, options.m_Force);
  }
  const std::string& path = created ? options.m_Output : options.m_File;
  if (document.SaveAs(FileName(path), nullptr) == 0) {
    throw Failure(path, "cannot save it", Reason(document, path));
  }
}

void Report(const std::string& verb, const Document& document, const RecordingOptions& options,
            bool recorded, bool saved) {
  const int number = document.Last();
  if (options.m_Json) {
    Json json = JsonOutput(verb, options.m_File);
    json["saved"] = saved;
    json["modifications"] = Json::array();
    if (recorded) {
      json["modifications"].push_back(ToJson(document.Modification(number), number));
    }
    PrintJson(json);
  } else if (recorded) {
    fmt::print("{}\n", Headline(document.Modification(number), number));
    PrintChanges(document.Modification(number), PathFilter({}));
  } else {
    fmt::print("nothing to change\n");
  }
}

}  // namespace

void AddRecordingOptions(CLI::App& verb, RecordingOptions& options) {
  verb.add_option("FILE", options.m_File, "The document")->required();
  verb.add_option("--user", options.m_UserID, "Identifier of the user")->required();
  verb.add_option("--user-name", options.m_UserName, "Name of the user")->required();
  verb.add_option("--uid", options.m_UID, "Identifier of the modification; fresh if not given");
  verb.add_option("--code", options.m_Code,
                  "Code of the changes, for the library; no document stores it");
  verb.add_option("-o,--output", options.m_Output, "Write there and leave FILE as it is");
  verb.add_flag("--force", options.m_Force, "Let --output replace a file");
  verb.add_flag("-n,--dry-run", options.m_DryRun, "Show what would be recorded, write nothing");
  verb.add_option("--wait", options.m_Wait, "Seconds to wait for another zamxml")
      ->check(CLI::Range(0.0, 3600.0))
      ->capture_default_str();
  verb.add_flag("--json", options.m_Json, "Print JSON");
}

int RecordModification(const std::string& verb, const RecordingOptions& options,
                       const std::function<std::vector<Edit>(Document&)>& edits) {
  CheckOptions(options);
  const FileLock lock(options.m_File, options.m_Wait);
  Document document(options.m_File, options.m_File);
  document.RequireWholeHistory("cannot change it");
  const std::vector<Edit> wanted = edits(document);
  const bool recorded = Recorder(document, options).Record(wanted) > 0;
  const bool saved = !options.m_DryRun && (recorded || !options.m_Output.empty());
  if (saved) {
    SaveRecorded(document, options);
  }
  Report(verb, document, options, recorded, saved);
  return ExitFine;
}
