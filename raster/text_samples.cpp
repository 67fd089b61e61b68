#include "recast/raster/raster_status.h"
#include "recast/raster/terrain_samples.h"
#include "recast/text_input/line_reader.h"
#include "recast/text_input/tokens.h"

namespace Recast {
namespace {

using Heron::PhysicalSpace;
using Larder::Text::LineReader;
using Larder::Text::Number;
using Larder::Text::NumberStatus;
using Larder::Text::TokenWalk;

constexpr std::uint64_t kShortestLine = 6;  // "0 0 0" and its end

/// Reads exactly three numbers separated by blanks, each rounded to a float. \return false for any
/// other line. \throw std::out_of_range
bool parseTerrainLine(std::string_view text, PhysicalSpace::point& point) {
  TokenWalk walk(text, ' ');
  Number<float> numbers[3];
  for (auto& number : numbers)
    if (!walk.next(number)) return false;
  if (walk.skip()) return false;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    if (numbers[axis].status == NumberStatus::kNotANumber) return false;
    point[axis] = static_cast<double>(numbers[axis].valueOrThrow());
  }
  return true;
}

std::optional<double> spacingFromText(const std::string& path) {
  LineReader reader(path);
  std::string_view line;
  PhysicalSpace::point samples[2];
  for (auto& sample : samples)
    if (!reader.next(line) || !parseTerrainLine(reader.untilNul(line), sample)) return std::nullopt;
  return spacingOf(samples[0], samples[1]);
}

}  // namespace

int readSamplesFromText(const std::string& path, std::optional<double> spacing,
                        TerrainSamples& samples) {
  if (!spacing) spacing = spacingFromText(path);
  if (!spacing || *spacing == 0.0) return kNoCellSize;
  samples.setSpacing(*spacing);
  LineReader reader(path);
  samples.reserve(static_cast<std::size_t>(reader.fileSize() / kShortestLine));
  PhysicalSpace::point sample;
  for (std::string_view line; reader.next(line);) {
    if (!parseTerrainLine(reader.untilNul(line), sample)) return kBadSampleLine;
    if (samples.empty()) samples.setReference(sample);
    samples.add(sample);
  }
  return samples.empty() ? kNoCellSize : kRasterDone;
}

}  // namespace Recast
