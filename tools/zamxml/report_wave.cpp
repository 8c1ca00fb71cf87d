#include "report_wave.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include "text.h"

namespace {

/// Bytes of all encoded waves of a page.
constexpr std::size_t PageShare = 1200000;
constexpr std::size_t MostColumns = PageShare / 4;
constexpr int Levels = 4095;

std::size_t EncodedLength(const Wave& wave) {
  return wave.m_Columns.size() * (wave.m_PerColumn == 1 ? 2 : 4);
}

Wave::Column Joined(const Wave::Column& left, const Wave::Column& right) {
  return {std::min(left.m_Low, right.m_Low), std::max(left.m_High, right.m_High)};
}

std::int32_t SampleAt(const ZAMXMLBinary& block, std::size_t index) {
  const auto width = static_cast<std::size_t>(block.m_BytePerData);
  const unsigned char* bytes = block.GetBinary() + index * width;
  std::uint32_t bits = 0;
  for (std::size_t i = 0; i < width; ++i) {
    bits = bits << 8 | bytes[block.m_ByteOrder != 0 ? i : width - 1 - i];
  }
  const unsigned int spare = 32 - 8 * static_cast<unsigned int>(width);
  return static_cast<std::int32_t>(bits << spare) >> spare;
}

void Halve(Wave& wave) {
  std::vector<Wave::Column>& columns = wave.m_Columns;
  const std::size_t count = (columns.size() + 1) / 2;
  for (std::size_t i = 0; i < count; ++i) {
    columns[i] = Joined(columns[2 * i], columns[std::min(2 * i + 1, columns.size() - 1)]);
  }
  columns.resize(count);
  wave.m_PerColumn *= 2;
}

}  // namespace

Wave ReadWave(ZAMXml& tree, const IXMLDOMNodePtr& element) {
  ZAMXMLBinary block;
  ZAMLog log;
  IXMLDOMNodePtr place = element;
  Wave wave;
  const bool isRead = block.ReadFromXML(tree, place, &log) != 0;
  if (log.GetLogCount() != 0) {
    wave.m_Note = Printable(log.GetLog(log.GetLogCount() - 1).m_Text);
  }
  const bool hasWidth =
      block.m_BytePerData == 1 || block.m_BytePerData == 2 || block.m_BytePerData == 4;
  if (!isRead || !hasWidth || block.IsValid() == 0) {
    return wave;
  }
  wave.m_Samples = block.m_BinaryLength / static_cast<std::size_t>(block.m_BytePerData);
  wave.m_PerColumn = (wave.m_Samples + MostColumns - 1) / MostColumns;
  wave.m_Low = INT32_MAX;
  wave.m_High = INT32_MIN;
  for (std::size_t i = 0; i < wave.m_Samples; ++i) {
    const std::int32_t sample = SampleAt(block, i);
    if (i % wave.m_PerColumn == 0) {
      wave.m_Columns.push_back({sample, sample});
    }
    wave.m_Columns.back() = Joined(wave.m_Columns.back(), {sample, sample});
    wave.m_Low = std::min(wave.m_Low, sample);
    wave.m_High = std::max(wave.m_High, sample);
  }
  return wave;
}

void ThinOut(const std::vector<Wave*>& waves) {
  for (;;) {
    std::size_t sum = 0;
    std::size_t longest = 0;
    for (const Wave* wave : waves) {
      sum += EncodedLength(*wave);
      longest = std::max(longest, wave->m_Columns.size());
    }
    if (sum <= PageShare || longest <= 1) {
      return;
    }
    for (Wave* wave : waves) {
      if (wave->m_Columns.size() * 2 > longest) {
        Halve(*wave);
      }
    }
  }
}

std::string Wave::Encoded() const {
  constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
  const double scale = m_High > m_Low ? Levels / (static_cast<double>(m_High) - m_Low) : 0;
  std::string text;
  text.reserve(EncodedLength(*this));
  const auto add = [&](std::int32_t sample) {
    const auto level =
        static_cast<unsigned int>(std::lround((static_cast<double>(sample) - m_Low) * scale));
    text += digits[level >> 6];
    text += digits[level & 63];
  };
  for (const Column& column : m_Columns) {
    add(column.m_Low);
    if (m_PerColumn != 1) {
      add(column.m_High);
    }
  }
  return text;
}

std::string LineOf(const Wave& wave, double samplesAcross, std::int32_t low, std::int32_t high,
                   std::size_t width) {
  const double range = std::max(1.0, static_cast<double>(high) - low);
  const auto height = [&](std::int32_t sample) {
    return 96 - 92 * (static_cast<double>(sample) - low) / range;
  };
  const auto place = [&](std::size_t column) {
    return static_cast<double>(column * wave.m_PerColumn) * static_cast<double>(width) /
           samplesAcross;
  };
  std::string points = "M";
  std::int32_t before = 0;
  const auto distance = [&](std::int32_t end) {
    return std::abs(static_cast<double>(end) - static_cast<double>(before));
  };
  for (std::size_t i = 0; i < wave.m_Columns.size();) {
    const double at = place(i);
    Wave::Column joined = wave.m_Columns[i];
    for (++i; i < wave.m_Columns.size() && place(i) < std::floor(at) + 1; ++i) {
      joined = Joined(joined, wave.m_Columns[i]);
    }
    // The nearer end first: a line across a column would be a wave that is not there.
    const bool isUp = distance(joined.m_Low) <= distance(joined.m_High);
    before = isUp ? joined.m_High : joined.m_Low;
    if (joined.m_High != joined.m_Low) {
      points += fmt::format("{:.1f} {:.1f} ", at, height(isUp ? joined.m_Low : joined.m_High));
    }
    points += fmt::format("{:.1f} {:.1f} ", at, height(before));
  }
  points.pop_back();
  return points;
}
