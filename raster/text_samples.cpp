#include <stdexcept>

#include "recast/raster/raster_status.h"
#include "recast/raster/terrain_samples.h"
#include "recast/text_input/quoted.h"
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
/// other line.
bool parseTerrainLine(std::string_view text, PhysicalSpace::point& point) {
  TokenWalk walk(text, ' ');
  Number<float> number;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    if (!walk.next(number) || !number.converted()) return false;
    point[axis] = static_cast<double>(number.value);
  }
  return !walk.skip();
}

/// Explains a line that isn't three numbers. \throw std::out_of_range if they are, but one is
/// beyond the range of a float, and comes before any that is no number
RunOutcome faultOf(std::string_view text, const std::string& place) {
  const std::size_t tokens = Larder::Text::countTokens(text, ' ');
  if (tokens != 3)
    return {kBadSampleLine, place + ": " + std::to_string(tokens) + " numbers instead of 3"};
  TokenWalk walk(text, ' ');
  std::string_view token;
  for (int column = 1; walk.next(token); ++column) {
    const auto status = Larder::Text::toNumber<float>(token).status;
    if (status == NumberStatus::kConverted) continue;
    const std::string found =
        place + ", column " + std::to_string(column) + ": " + Larder::Text::quoted(token);
    if (status == NumberStatus::kOutOfRange)
      throw std::out_of_range(found + " is beyond the range of a float");
    return {kBadSampleLine, found + " is no number"};
  }
  return {kBadSampleLine, place + ": is no x y z"};
}

/// A file that can't be opened has no samples, one that can't be read on is not taken for a whole
/// one.
RunOutcome unreadable(const LineReader& input) {
  return {input.isOpen() ? kCannotOpenInput : kNoCellSize, input.failure()};
}

/// Takes the spacing from the first two lines.
RunOutcome findSpacing(LineReader& input, double& spacing) {
  std::string_view line;
  PhysicalSpace::point samples[2];
  for (auto& sample : samples) {
    if (!input.next(line)) {
      if (input.failed()) return unreadable(input);
      return {kNoCellSize, input.path() + ": has not the two samples that give the spacing"};
    }
    line = input.untilNul(line);
    if (!parseTerrainLine(line, sample)) return {kNoCellSize, faultOf(line, input.place()).failure};
  }
  const auto distance = spacingOf(samples[0], samples[1]);
  if (!distance)
    return {kNoCellSize, input.path() +
                             ": the first two samples, which give the spacing, lie at "
                             "the same place"};
  spacing = *distance;
  return {};
}

}  // namespace

RunOutcome readSamplesFromText(LineReader& input, std::optional<double> spacing,
                               TerrainSamples& samples) {
  if (input.failed() || !input.rewind()) return unreadable(input);
  if (!spacing) {
    if (RunOutcome outcome = findSpacing(input, spacing.emplace()); !outcome.isDone())
      return outcome;
    if (!input.rewind()) return unreadable(input);
  }
  if (*spacing == 0.0) return {kNoCellSize, input.path() + ": its extension gives a spacing of 0"};
  samples.setSpacing(*spacing);
  samples.reserve(static_cast<std::size_t>(input.fileSize() / kShortestLine));
  PhysicalSpace::point sample;
  for (std::string_view line; input.next(line);) {
    line = input.untilNul(line);
    if (!parseTerrainLine(line, sample)) return faultOf(line, input.place());
    if (samples.empty()) samples.setReference(sample);
    samples.add(sample);
  }
  if (input.failed()) return unreadable(input);
  if (samples.empty()) return {kNoCellSize, input.path() + ": holds no samples"};
  return {};
}

}  // namespace Recast
