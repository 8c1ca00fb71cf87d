#pragma once

#include <ZAMXMLData.h>

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "document.h"
#include "report_wave.h"
#include "value_path.h"

/// What a value becomes at a position: a text, or nothing where it is not there any more.
struct LifeStep {
  int m_Position;
  std::optional<_bstr_t> m_Text;
};

/// A value of a document with everything that it has been, from the position where it first
/// appears.
struct Life {
  ValuePath m_Path;
  std::vector<LifeStep> m_Steps;

  bool HasChanged() const {
    return m_Steps.size() > 1 || m_Steps.front().m_Position != Document::Original;
  }
  /// True when it holds a character at any position.
  bool HoldsText() const;
};

/// A binary block with all that it has been.
struct BlockLife {
  std::string m_Path;
  std::vector<std::pair<int, Wave>> m_Waves;  ///< by the position from which on it is that
};

/// An element of any position, and what is at it and below it: indices into the model.
struct ReportElement {
  static constexpr int None = -1;

  std::string m_Step;  ///< "Extra[1]"; empty for the root
  std::string m_Path;
  int m_Value = None;  ///< its own text
  std::vector<int> m_Attributes;
  std::vector<int> m_Children;
  int m_Block = None;
};

/// A document over its whole history, as a page shows it.
class ReportModel {
public:
  /// Walks from the original, where the document has to be, to the last position.
  explicit ReportModel(Document& document);

  const std::vector<Life>& Lives() const { return m_Lives; }
  const std::vector<BlockLife>& Blocks() const { return m_Blocks; }
  const ReportElement& Root() const { return m_Elements.front(); }
  const ReportElement& Element(int index) const {
    return m_Elements[static_cast<std::size_t>(index)];
  }
  /// The element at a path; null when no position has it.
  const ReportElement* Find(const std::string& path) const;
  const Life& LifeOf(int value) const { return m_Lives[static_cast<std::size_t>(value)]; }
  /// What a value holds at the last position; nothing for None.
  std::optional<_bstr_t> LastText(int value) const;

private:
  void ReadOriginal();
  void Step(int number);
  BlockLife* BlockOf(const std::string& element);
  void Record(int position, const ValuePath& path, const std::optional<_bstr_t>& text);
  void RecordGoneAbove(int position, const std::string& path);
  void RecordGoneStatements(int position, const ZAMXMLChangeItem& item);
  void ReadBlock(BlockLife& block, int position);
  void PlantElements();
  int Plant(const std::string& path);

  Document& m_Document;
  std::vector<Life> m_Lives;
  std::map<std::string, int> m_LifeByPath;
  std::vector<BlockLife> m_Blocks;
  std::vector<ReportElement> m_Elements;
  std::map<std::string, int> m_ElementByPath;
};

/// The step of a path without its index: "Extra" of "Extra[1]".
std::string PlainStep(const std::string& step);
