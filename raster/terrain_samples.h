#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "recast/perch/fixed_array.h"
#include "recast/recastbase/run_report.h"
#include "recast/text_input/line_reader.h"

namespace Recast {

/// Samples of a terrain that lie on a raster of yet unknown extent, in the order in which they
/// came.
class TerrainSamples {
 public:
  /// Makes room for samples, at most for what a usual file holds.
  void reserve(std::size_t samples);

  /// Positions are counted from `reference` in steps of `spacing` along x and y.
  void setSpacing(double spacing) { spacing_ = spacing; }
  void setReference(const Heron::PhysicalSpace::point& point) { reference_ = point; }
  void add(const Heron::PhysicalSpace::point& sample);

  bool empty() const { return heights_.empty(); }
  double spacing() const { return spacing_; }
  /// The smallest x and y; z = 0.
  Heron::PhysicalSpace::point origin() const { return {minimum_[0], minimum_[1], 0.0}; }
  /// Nodes along x and y between the smallest and the largest coordinates; none if an axis has more
  /// than 32 bits can count.
  std::optional<std::array<std::uint32_t, 2>> dimensions() const;
  /// Puts each height in its place of a raster of `dimensions()`, x fastest, a later one in the
  /// place of an earlier one. \return the number of the first sample that falls outside, counted
  /// from 0, or none.
  std::optional<std::size_t> placeInto(float* raster) const;

 private:
  std::optional<std::uint32_t> nearest(double coordinate, std::size_t axis) const;

  double spacing_ = 0.0;
  Heron::PhysicalSpace::point reference_{0.0, 0.0, 0.0};
  double minimum_[2] = {1000000000.0, 1000000000.0};
  double maximum_[2] = {-1000000000.0, -1000000000.0};
  std::optional<std::size_t> unplaced_;  ///< the first sample that has no place at all
  std::vector<float> heights_;
  std::vector<std::array<std::uint32_t, 2>> positions_;  // equal in length and order to heights_
};

/// The distance of two neighbouring samples: along x, or along y if they agree in x; none if they
/// agree in both.
std::optional<double> spacingOf(const Heron::PhysicalSpace::point& a,
                                const Heron::PhysicalSpace::point& b);

/// Reads the lines x, y, z of a text file.
/// \param spacing known from elsewhere; else it comes from the first two lines.
/// \return a RasterStatus: 0, 1, 7 or 19. \throw std::out_of_range for a number beyond float range.
RunOutcome readSamplesFromText(Larder::Text::LineReader& input, std::optional<double> spacing,
                               TerrainSamples& samples);

/// Takes the points of the one grid of a bundle file. The spacing comes from the first two points
/// of the first fragment that has points. \return a RasterStatus: 0, 7, 8, 16 or 17.
RunOutcome readSamplesFromBundle(const std::string& path, TerrainSamples& samples);

}  // namespace Recast
