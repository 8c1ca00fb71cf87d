#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "support/tree.h"

/// The pages say what the code says: their code is compiled, their example is the sample, and what
/// they say about it is what a reader sees.

namespace {

namespace fs = std::filesystem;

const fs::path Tree = ZAMXML_SOURCE_DIR;
const fs::path FormatPage = Tree / "docs/format.md";
const fs::path GuidePage = Tree / "docs/guide.md";
const fs::path Sample = Tree / "share/samples/worked-example.xml";

using Lines = std::vector<std::string>;

Lines LinesOf(const fs::path& path) {
  std::istringstream text(test::ReadBytes(path));
  Lines lines;
  for (std::string line; std::getline(text, line);) {
    lines.push_back(line);
  }
  return lines;
}

std::string Joined(const Lines& lines) {
  std::string text;
  for (const std::string& line : lines) {
    text += line + '\n';
  }
  return text;
}

/// The code blocks of a page that are marked with that language.
std::vector<std::string> Blocks(const fs::path& page, const std::string& language) {
  std::vector<std::string> blocks;
  bool inside = false;
  Lines block;
  for (const std::string& line : LinesOf(page)) {
    if (inside && line == "```") {
      blocks.push_back(Joined(block));
      inside = false;
    } else if (inside) {
      block.push_back(line);
    } else if (line == "```" + language) {
      inside = true;
      block.clear();
    }
  }
  return blocks;
}

/// The text without the indentation that all its lines share.
std::string Outdented(Lines lines) {
  std::size_t shared = std::string::npos;
  for (const std::string& line : lines) {
    shared = line.empty() ? shared : std::min(shared, line.find_first_not_of(' '));
  }
  for (std::string& line : lines) {
    line.erase(0, std::min(shared, line.size()));
  }
  return Joined(lines);
}

/// What stands between two markers of one name in the examples, by that name.
std::map<std::string, std::string> Snippets() {
  static const std::regex marker(R"(\s*//! \[(.*)\])");
  std::map<std::string, std::string> snippets;
  for (const auto& example : fs::directory_iterator(Tree / "examples")) {
    std::map<std::string, Lines> open;
    for (const std::string& line : LinesOf(example.path())) {
      std::smatch match;
      if (!std::regex_match(line, match, marker)) {
        for (auto& [name, lines] : open) {
          lines.push_back(line);
        }
      } else if (const auto begun = open.find(match[1]); begun != open.end()) {
        snippets[begun->first] = Outdented(begun->second);
        open.erase(begun);
      } else {
        open[match[1]];
      }
    }
    EXPECT_TRUE(open.empty()) << "a marker without its second in " << example.path();
  }
  return snippets;
}

TEST(Pages, ShowTheCodeOfTheExamplesWordForWord) {
  std::map<std::string, std::string> unshown = Snippets();
  const std::map<std::string, std::string> snippets = unshown;
  for (const fs::path& page : {GuidePage, Tree / "README.md"}) {
    const auto blocks = Blocks(page, "cpp");
    EXPECT_FALSE(blocks.empty()) << page;
    for (const std::string& block : blocks) {
      const auto shown = std::ranges::find_if(
          snippets, [&](const auto& snippet) { return snippet.second == block; });
      EXPECT_NE(shown, snippets.end()) << page << " shows code of no example:\n" << block;
      if (shown != snippets.end()) {
        unshown.erase(shown->first);
      }
    }
  }
  for (const auto& [name, text] : unshown) {
    ADD_FAILURE() << "no page shows the snippet " << name;
  }
}

TEST(Pages, ShowHowAHostGetsTheLibrary) {
  std::string host;
  for (const auto& file : fs::directory_iterator(Tree / "tests/install/host")) {
    host += test::ReadBytes(file.path());
  }
  const auto blocks = Blocks(GuidePage, "cmake");
  EXPECT_FALSE(blocks.empty());
  for (const std::string& block : blocks) {
    EXPECT_TRUE(host.find(block) != std::string::npos) << block;
  }
}

TEST(Pages, LinkToFilesThatAreThere) {
  static const std::regex link(R"(\]\(([^)#:]+)(#[^)]*)?\))");
  std::vector<fs::path> pages;
  for (const fs::path& folder : {Tree, Tree / "docs"}) {
    for (const auto& file : fs::directory_iterator(folder)) {
      if (file.path().extension() == ".md") {
        pages.push_back(file.path());
      }
    }
  }
  int links = 0;
  for (const fs::path& page : pages) {
    const std::string text = test::ReadBytes(page);
    for (auto it = std::sregex_iterator(text.begin(), text.end(), link);
         it != std::sregex_iterator(); ++it, ++links) {
      EXPECT_TRUE(fs::exists(page.parent_path() / (*it)[1].str())) << page << ": " << (*it)[1];
    }
  }
  EXPECT_GT(links, 0);
}

TEST(FormatPage, ShowsTheSampleAsItIsSaved) {
  const std::string sample = test::ReadBytes(Sample);
  EXPECT_EQ(Blocks(FormatPage, "xml"), std::vector<std::string>{sample});

  const test::TemporaryFolder folder;
  ZAMXMLFile document;
  ASSERT_NE(document.Open(Sample.c_str(), nullptr), 0);
  document.m_DefaultDocInfo = document.m_DocInfo;
  ASSERT_EQ(document.m_nHistory, 1);
  ASSERT_NE(document.SaveAs(folder.Path("saved.xml").c_str(), nullptr), 0);
  EXPECT_EQ(test::ReadBytes(folder.Path("saved.xml")), sample);
}

/// One row of the table for each value: its path (with attribute or index) and what is shown at -1,
/// at 0 and at 1.
TEST(FormatPage, TellsWhatAReaderShows) {
  static const std::regex row(
      R"(\| `([A-Za-z/]+)(?:@([A-Za-z]+))?(?:\[(\d+)\])?` \| (.*) \| (.*) \| (.*) \|)");
  ZAMXMLFile document;
  ASSERT_NE(document.Open(Sample.c_str(), nullptr), 0);
  int rows = 0;
  for (const std::string& line : LinesOf(FormatPage)) {
    std::smatch cell;
    if (!std::regex_match(line, cell, row)) {
      continue;
    }
    ++rows;
    for (int position = -1; position <= 1; ++position) {
      ASSERT_NE(document.SetHistory(position), 0);
      const std::string path = "KESTRANE_ZAM/" + cell[1].str();
      const IXMLDOMNodePtr node = document.m_Xml.GetNode(
          _bstr_t(path.c_str()), cell[3].matched ? std::stoi(cell[3].str()) : 0);
      _bstr_t value;
      if (cell[2].matched) {
        document.m_Xml.GetNodeAttribute(node, _bstr_t(cell[2].str().c_str()), value);
      } else {
        document.m_Xml.GetNodeText(node, value);
      }
      EXPECT_EQ(value.utf8(), cell[static_cast<std::size_t>(position) + 5].str()) << line;
    }
  }
  EXPECT_GE(rows, 5);
}

}  // namespace
