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
#include "json_form.h"
#include "memory.h"
#include "output.h"
#include "suggestion.h"
#include "target.h"
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
    Begin(m_Options.m_UID.empty() ? FreshUID() : m_Options.m_UID);
    int count = 0;
    for (const Edit& edit : edits) {
      count += Add(edit) ? 1 : 0;
    }
    RequireMemory(m_Document.m_CloneXml);
    if (count == 0) {
      m_Document.CancelModify();
    } else if (m_Document.CommitModify() == 0) {
      throw Failure(m_Options.m_File, "cannot record the modification", LibraryReason());
    }
    RequireMemory(m_Document.m_Xml);
    return count;
  }

private:
  void Begin(const std::string& uid) {
    m_Document.ClearLog();
    if (m_Document.BeginModify(_bstr_t::FromUtf8(uid), _bstr_t::FromUtf8(m_Options.m_UserID),
                               _bstr_t::FromUtf8(m_Options.m_UserName)) == 0) {
      RequireMemory(m_Document.m_Xml);
      const _bstr_t folder = ZAMGF::GetSystemTempDir();
      if (!folder) {
        throw Failure(m_Options.m_File, "cannot make a private folder for temporary files");
      }
      const std::string why = LibraryReason();
      const auto path = why.rfind(": ");
      throw Failure(m_Options.m_File, "cannot make a temporary file in " + folder.utf8(),
                    path == std::string::npos ? why : why.substr(path + 2));
    }
  }

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
    if (edit.m_Path.Whole() == "DocumentInfo/ID" && !m_Options.m_ChangeDocumentID) {
      Refuse(edit,
             "hosts rebuild a document with another ID and lose what they do not know; "
             "--change-document-id allows it");
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

  /// Whether the place can take that kind of value without harm to what is there.
  void CheckPlace(const Edit& edit, const ZAMXMLChangeItem& item, bool exists) {
    if (!exists) {
      if (!m_Options.m_Create) {
        Refuse(edit, "it names nothing in the document; --create adds it" +
                         DidYouMean(m_Document.m_CloneXml, edit.m_Path.Whole()));
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
    if (edit.m_Type == ZAMXML_VTYPE_NAME && (text.length() != 0 || values.empty())) {
      Refuse(edit, "it holds no name");
    }
    if (text.length() != 0) {
      Refuse(edit, "it holds a plain text");
    }
    if (values.empty() && tree.GetFirstChildNode(element)) {
      Refuse(edit, "it holds other elements and no statements");
    }
    if (values.empty() && !m_Options.m_Create) {
      Refuse(edit, "it holds no statements; --create adds them");
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

void CheckRecordingOptions(const RecordingOptions& options) {
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

void RefuseKnownUID(const Document& document, const RecordingOptions& options) {
  for (int number = 0; number <= document.Last() && !options.m_UID.empty(); ++number) {
    if (document.Modification(number).m_UID == _bstr_t::FromUtf8(options.m_UID)) {
      throw Failure(options.m_File, "--uid",
                    fmt::format("modification {} has this identifier already", number));
    }
  }
}

std::string ReportOf(const std::string& verb, const Document& document,
                     const RecordingOptions& options, bool recorded, bool saved) {
  const int number = document.Last();
  if (options.m_Json) {
    Json json = JsonOutput(verb, options.m_File);
    json["saved"] = saved;
    json["modifications"] = Json::array();
    if (recorded) {
      json["modifications"].push_back(ToJson(document.Modification(number), number));
    }
    return JsonText(json);
  }
  return recorded ? Headline(document.Modification(number), number) + '\n' +
                        ChangeLines(document.Modification(number), PathFilter({}))
                  : "nothing to change\n";
}

/// Once the document is saved, nothing may fail without saying so: all that needs memory is done
/// before.
int SaveAndReport(Document& document, const std::string& path, const std::string& report) {
  const _bstr_t name = FileName(path);
  document.ClearLog();
  if (document.SaveAs(name, nullptr) == 0) {
    throw Failure(path, "cannot save it", Reason(document, path));
  }
  if (const char* why = WriteOutput(report)) {
    WriteError({path, "it is saved, but what was recorded cannot be shown", why});
    return ExitFailed;
  }
  return ExitFine;
}

}  // namespace

void AddRecordingOptions(Verb verb, RecordingOptions& options) {
  verb.Text("FILE", options.m_File, "The document", Presence::Required);
  verb.Text("--user", options.m_UserID, "Identifier of the user", Presence::Required);
  verb.Text("--user-name", options.m_UserName, "Name of the user", Presence::Required);
  verb.Text("--uid", options.m_UID, "Identifier of the modification; fresh if not given");
  verb.Text("--code", options.m_Code,
            "Code of the changes, for the library; no document stores it");
  verb.Output("-o,--output", options.m_Output, "Write there and leave FILE as it is");
  verb.Flag("--force", options.m_Force, "Let --output replace a file");
  verb.Flag("-n,--dry-run", options.m_DryRun, "Show what would be recorded, write nothing");
  AddWaitOption(verb, options.m_Wait);
  verb.Flag("--change-document-id", options.m_ChangeDocumentID,
            "Let DocumentInfo/ID be changed: a host of another kind then builds the document "
            "anew when it saves it, and sections that it does not know are lost");
  verb.Flag("--json", options.m_Json, "Print JSON");
}

int RecordModification(const std::string& verb, const RecordingOptions& options,
                       const std::function<std::vector<Edit>(Document&)>& edits) {
  CheckRecordingOptions(options);
  const bool aside = !options.m_Output.empty();
  const std::string& target = aside ? options.m_Output : options.m_File;
  std::optional<TargetLock> lock;
  if (!options.m_DryRun && aside) {
    lock.emplace(target, options);
  } else if (!options.m_DryRun) {
    lock.emplace(target, options.m_Wait);
  }
  Document document(options.m_File, options.m_File);
  document.RequireWholeHistory("cannot change it");
  RefuseKnownUID(document, options);
  const bool recorded = Recorder(document, options).Record(edits(document)) > 0;
  const bool saving = !options.m_DryRun && (recorded || aside);
  const std::string report = ReportOf(verb, document, options, recorded, saving);
  if (!saving) {
    Deliver(report);
    return ExitFine;
  }
  RequireMemory();
  const AccessLimit limit(options.m_File);
  return SaveAndReport(document, target, report);
}
