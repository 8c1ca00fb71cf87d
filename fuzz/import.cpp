// Imports any bytes as the JSON of a document, with the tool as a user would run it. What it does
// not refuse passes the tool's check, and its export can be imported again and is then the same.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <string>
#include <vector>

#include "fuzzing.h"

/// The tool's main.
int zamxml_main(int argc, char** argv);

namespace {

const fuzz::ScratchFile& Output() {
  static const fuzz::ScratchFile file(u"output");
  return file;
}

/// The exit code; the standard output is in the file.
int RunTool(std::initializer_list<std::string> arguments) {
  std::vector<std::string> texts{"zamxml"};
  texts.insert(texts.end(), arguments);
  std::vector<char*> pointers;
  for (std::string& text : texts) {
    pointers.push_back(text.data());
  }
  pointers.push_back(nullptr);
  fuzz::Require(std::freopen(Output().Path(), "w", stdout) != nullptr, "the output can be kept");
  const int code = zamxml_main(static_cast<int>(texts.size()), pointers.data());
  fuzz::Require(std::fflush(stdout) == 0, "the output can be written");
  return code;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::ScratchFile input(u"input");
  static const fuzz::ScratchFile document(u"document");
  input.Write(data, size);
  document.Remove();
  const int code = RunTool({"import", input.Path(), document.Path()});
  fuzz::Require(code == 0 || code == 2, "it is imported or refused");
  if (code != 0) {
    return 0;
  }
  const int checked = RunTool({"check", document.Path()});
  fuzz::Require(checked == 0, "what is imported passes the check");
  fuzz::Require(RunTool({"export", document.Path()}) == 0, "it can be exported");
  const std::string exported = Output().Read();
  const std::string stored = document.Read();
  input.Write(reinterpret_cast<const std::uint8_t*>(exported.data()), exported.size());
  fuzz::Require(RunTool({"import", input.Path(), document.Path(), "--force"}) == 0,
                "what is exported can be imported");
  fuzz::Require(RunTool({"export", document.Path()}) == 0 && Output().Read() == exported,
                "its export is the same");
  fuzz::Require(document.Read() == stored, "the document is the same");
  return 0;
}
