#include <string>
#include <vector>

#include "archive.h"
#include "digest.h"
#include "document.h"
#include "failure.h"
#include "input.h"
#include "output.h"
#include "verbs.h"

namespace {

struct DigestOptions {
  ArchiveOptions m_Archive;
  bool m_Chain = false;
};

int RunDigest(const DigestOptions& options) {
  const auto look = [](const std::string& name) {
    const Input input(name);
    Document document(input.Path(), name);
    document.RequireWholeHistory("cannot take its digest");
    return DigestChain(document);
  };
  const auto take = [&](const std::string& name, const std::vector<std::string>& chain) {
    std::string text;
    for (std::size_t i = options.m_Chain ? 0 : chain.size() - 1; i < chain.size(); ++i) {
      text += DigestLine(chain[i], i, name);
    }
    Deliver(text);
  };
  return ForEachDocument(options.m_Archive, look, take).Code();
}

}  // namespace

void AddDigest(CommandLine& line) {
  line.Add("digest", "Print digests of documents, for check --against", RunDigest,
           [](Verb verb, DigestOptions& options) {
             DescribeFiles(verb, options.m_Archive);
             verb.Flag("--chain", options.m_Chain,
                       "One line for each position, so that a difference can be placed");
           });
}
