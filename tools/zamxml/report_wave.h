#pragma once

#include <ZAMXMLData.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// A binary block as a page draws it: the smallest and the largest sample of every column. Columns
/// of one sample are the samples themselves.
struct Wave {
  struct Column {
    std::int32_t m_Low;
    std::int32_t m_High;
  };

  std::size_t m_Samples = 0;
  std::size_t m_PerColumn = 1;  ///< samples in each column but the last
  std::vector<Column> m_Columns;
  std::int32_t m_Low = 0;
  std::int32_t m_High = 0;
  std::string m_Note;  ///< what the library says about a block that is not whole

  /// The columns as text of 12 bits a number, scaled from the lowest to the highest sample; one
  /// number a column of one sample, otherwise two. Nothing but letters, digits, "-" and "_".
  std::string Encoded() const;
};

/// Reads the block in an element of the tree; a block that cannot be read has no sample and a note.
Wave ReadWave(ZAMXml& tree, const IXMLDOMNodePtr& element);

/// Joins neighbouring columns, of the longest waves first, until all of them together encode to
/// what a page can carry.
void ThinOut(const std::vector<Wave*>& waves);

/// The wave as the points of a line in a field of width x 100 that holds that many samples from the
/// lowest to the highest one: up and down in every column.
std::string LineOf(const Wave& wave, double samplesAcross, std::int32_t low, std::int32_t high,
                   std::size_t width);
