#include "recast/raster/raster_walk.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>

#include "recast/raster/height_memory.h"

namespace Recast {
namespace {

using Heron::PhysicalSpace;

constexpr double kNoDataDistance = 0.001;

/// The vector from one neighbour to the other along an axis, at unit length: (step, rise).
struct UnitTangent {
  double along;
  double up;

  UnitTangent(double step, double rise) {
    const double length = std::sqrt(step * step + rise * rise);
    along = step / length;
    up = rise / length;
  }
};

/// u x v of u = (x.along, 0, x.up) and v = (0, y.along, y.up). The zeros stand in the products so
/// that signs and NaN come out as from a general cross product.
PhysicalSpace::bivector crossed(const UnitTangent& x, const UnitTangent& y) {
  constexpr double uy = 0.0;
  constexpr double vx = 0.0;
  return {uy * y.up - x.up * y.along, x.up * vx - x.along * y.up, x.along * y.along - uy * vx};
}

struct Walk {
  const HeightArray& heights;
  double noData;
  double cellX, cellY;
  PhysicalSpace::point origin;
  float noDataHeight = static_cast<float>(noData);
  float stepX = static_cast<float>(2.0 * cellX);
  float stepY = static_cast<float>(2.0 * cellY);

  bool holdsValue(float z) const {
    return std::fabs(static_cast<double>(z) - noData) > kNoDataDistance;
  }
  /// The neighbour's height, or z in place of none.
  float neighbour(float height, float z) const {
    return std::fabs(static_cast<double>(height) - noData) < kNoDataDistance ? z : height;
  }
  /// \param row the heights of row j of a layer. \param below, above those of its neighbours, or
  /// null.
  void row(const float* row, const float* below, const float* above, std::uint64_t j,
           std::uint64_t stride, RasterCloud& cloud) const;
};

void Walk::row(const float* row, const float* below, const float* above, std::uint64_t j,
               std::uint64_t stride, RasterCloud& cloud) const {
  const std::uint64_t nx = heights.dims[0];
  const double y = static_cast<double>(j) * cellY + origin.y();
  for (std::uint64_t i = 0; i < nx; ++i) {
    const std::uint64_t place = i * stride;
    const float z = row[place];
    if (!holdsValue(z)) continue;
    const float left = neighbour(i > 0 ? row[place - stride] : noDataHeight, z);
    const float right = neighbour(i + 1 < nx ? row[place + stride] : noDataHeight, z);
    const float down = neighbour(below != nullptr ? below[place] : noDataHeight, z);
    const float up = neighbour(above != nullptr ? above[place] : noDataHeight, z);
    cloud.points->emplace_back(static_cast<double>(i) * cellX + origin.x(), y,
                               static_cast<double>(z));
    const float riseX = right - left;
    const float riseY = up - down;
    cloud.normals->push_back(crossed(UnitTangent(stepX, riseX), UnitTangent(stepY, riseY)));
  }
}

/// Has the system bring the memory of a cloud a part at a time, since a raster may hold few values.
class MemoryAhead {
 public:
  explicit MemoryAhead(RasterCloud& cloud) : cloud_(cloud) {}
  /// Makes sure of the next `elements` points and normals, for which there is room.
  void bring(std::size_t elements) {
    if (cloud_.points->size() + elements <= brought_) return;
    const std::size_t part = std::min(cloud_.points->capacity() - brought_, kPart + elements);
    Larder::bringMemory(cloud_.points->data() + brought_, part * sizeof(PhysicalSpace::point));
    Larder::bringMemory(cloud_.normals->data() + brought_, part * sizeof(PhysicalSpace::bivector));
    brought_ += part;
  }

 private:
  static constexpr std::size_t kPart = std::size_t{1} << 21;
  RasterCloud& cloud_;
  std::size_t brought_ = 0;
};

/// How many points to have room for: one per cell or, where the machine has not that much memory,
/// one per cell that holds a value. \throw std::bad_alloc
std::uint64_t roomFor(const HeightArray& heights, const Walk& walk) {
  constexpr std::size_t kPointAndNormal =
      sizeof(PhysicalSpace::point) + sizeof(PhysicalSpace::bivector);
  const std::uint64_t cells = heights.nElements();
  if (fitsMemory(cells, kPointAndNormal)) return cells;
  std::uint64_t values = 0;
  const float* const first = heights.data + heights.getHyperslabParameters().first * heights.stride;
  for (std::uint64_t cell = 0; cell < cells; ++cell)
    values += walk.holdsValue(first[cell * heights.stride]) ? 1 : 0;
  if (!fitsMemory(values, kPointAndNormal)) throw std::bad_alloc();
  return values;
}

}  // namespace

RasterCloud walkRaster(const HeightArray& heights, double noData, const PhysicalSpace::vector& cell,
                       const PhysicalSpace::point& origin) {
  const auto& [nx, ny, nz] = std::array{heights.dims[0], heights.dims[1], heights.dims[2]};
  const Walk walk{heights, noData, cell.x(), cell.y(), origin};
  const std::uint64_t room = heights.data == nullptr ? 0 : roomFor(heights, walk);
  RasterCloud cloud;
  cloud.points = Larder::makeStrong<Larder::Chunk<PhysicalSpace::point>>(room, true);
  cloud.normals = Larder::makeStrong<Larder::Chunk<PhysicalSpace::bivector>>(room, true);
  if (heights.data == nullptr) return cloud;
  MemoryAhead memory(cloud);
  const std::uint64_t rowStep = nx * heights.stride;
  const float* row = heights.data + heights.getHyperslabParameters().first * heights.stride;
  for (std::uint64_t k = 0; k < nz; ++k)
    for (std::uint64_t j = 0; j < ny; ++j, row += rowStep) {
      memory.bring(nx);
      walk.row(row, j > 0 ? row - rowStep : nullptr, j + 1 < ny ? row + rowStep : nullptr, j,
               heights.stride, cloud);
    }
  return cloud;
}

}  // namespace Recast
