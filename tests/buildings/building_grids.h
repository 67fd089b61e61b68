#pragma once

#include <string>
#include <vector>

#include "support/bundles.h"
#include "support/console_capture.h"
#include "support/temp_folder.h"

#include "recast/buildings/building_surfaces.h"

namespace TestSupport {

using Point = Heron::PhysicalSpace::point;
using IndexList = std::vector<unsigned int>;

/// Puts values into a fragment of a representation's field.
template <class T>
void put(const Larder::StrongPtr<Quilt::Representation>& representation, const std::string& field,
         std::vector<T> values, const std::string& fragment = "f") {
  const auto chunk = Larder::makeStrong<Larder::Chunk<T>>(std::move(values));
  (*representation)[field].field()->createCreator(
      Quilt::MemBaseHandle(
          new Quilt::MemArray<1, T>(chunk, Quilt::MultiIndex<1>(chunk->size()), nullptr)),
      fragment, Quilt::OnExistingData::Replace, Larder::Cache::MemCache());
}

/// The representations of a grid of buildings, made if missing.
struct BuildingGrid {
  Larder::StrongPtr<Quilt::Grid> grid;
  Larder::StrongPtr<Quilt::Representation> vertices;
  Larder::StrongPtr<Quilt::Representation> lines;
  Larder::StrongPtr<Quilt::Representation> shapes;

  explicit BuildingGrid(const Larder::StrongPtr<Quilt::Grid>& g)
      : grid(g),
        vertices(g->makeCartesianRepresentation(3, "", 0)),
        lines((*(*g)[Quilt::SkeletonID(1, 2)])[*g->makeVertices(3)]),
        shapes((*(*g)[Quilt::SkeletonID(1, 3)])[*(*g)[Quilt::SkeletonID(1, 2)]]) {}
};

/// What a conversion wrote.
struct Surface {
  std::vector<Point> vertices;
  std::vector<Quilt::Triangle> triangles;
  std::vector<unsigned int> identifiers;

  explicit Surface(const std::string& file, const std::string& gridName = "surface") {
    const auto bundle = loadBundle(file);
    if (bundle) read(*(*(*bundle)(0.0))(gridName));
  }
  explicit Surface(const Quilt::Grid& grid) { read(grid); }

 private:
  template <class T>
  static std::vector<T> valuesOf(const Larder::StrongPtr<Quilt::Field>& field) {
    const auto data = field ? field->getData(nullptr) : nullptr;
    return data ? data->getChunk().template castTo<Larder::Chunk<T>>()->base_vector()
                : std::vector<T>();
  }
  void read(const Quilt::Grid& grid) {
    const auto faces = (*grid.getSkeleton(Quilt::SkeletonID(2, 1)))(*grid.findVertices(2));
    vertices = valuesOf<Point>(grid.CartesianPositions());
    triangles = valuesOf<Quilt::Triangle>(faces->Positions());
    identifiers = valuesOf<unsigned int>(faces->findField("TriangleID"));
  }
};

}  // namespace TestSupport
