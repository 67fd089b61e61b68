#include "recast/buildings/building_files.h"
#include "recast/buildings/building_surfaces.h"
#include "recast/buildings/ring_corners.h"
#include "recast/buildings/surface_lists.h"
#include "recast/buildings/triangulation/triangulator.h"
#include "recast/grid_lookups/checks.h"
#include "recast/larder/console.h"
#include "recast/recastbase/run_report.h"

namespace Recast {
namespace {

using Heron::PhysicalSpace;

/// The fields of building footprints; found as `convertLOD1toTIN` tells.
struct FootprintFields {
  Larder::StrongPtr<Quilt::Field> vertices;
  Larder::StrongPtr<Quilt::Field> lines;
  Larder::StrongPtr<Quilt::Field> shapes;
  Larder::StrongPtr<Quilt::Field> ground;
  Larder::StrongPtr<Quilt::Field> height;

  bool find(const Quilt::Grid& grid) {
    const auto verticesSkeleton = grid.getSkeleton(Quilt::SkeletonID(3, 0));
    const auto linesSkeleton = grid.getSkeleton(Quilt::SkeletonID(1, 2));
    const auto shapesSkeleton = grid.getSkeleton(Quilt::SkeletonID(1, 3));
    if (!check(verticesSkeleton, "VerticesSk") || !check(linesSkeleton, "LinesetSk") ||
        !check(shapesSkeleton, "ShapesSk"))
      return false;
    const auto inSpace = inChart(grid, verticesSkeleton);
    if (!check(inSpace, "VerticesRep")) return false;
    const auto onVertices = relativeTo(linesSkeleton, verticesSkeleton);
    if (!check(onVertices, "LinesetAsVerticesRep")) return false;
    const auto onLines = relativeTo(shapesSkeleton, linesSkeleton);
    if (!check(onLines, "ShapeAsLinesRep")) return false;
    vertices = inSpace->Positions();
    lines = onVertices->Positions();
    shapes = onLines->Positions();
    ground = onLines->findField("HOEHEGRUND");
    height = onLines->findField("HOEHEGEB");
    return check(vertices, "VerticesF") && check(lines, "LinesF") && check(shapes, "ShapeF") &&
           check(ground, "HeightGroundF") && check(height, "HeightRoofF");
  }
};

/// The data of one fragment.
struct Footprints {
  Larder::StrongPtr<Larder::Chunk<PhysicalSpace::point>, Larder::ChunkBase> vertices;
  Larder::StrongPtr<Larder::Chunk<IndexList>, Larder::ChunkBase> shapes;
  Larder::StrongPtr<Larder::Chunk<IndexList>, Larder::ChunkBase> lines;
  Larder::StrongPtr<Larder::Chunk<double>, Larder::ChunkBase> ground;
  Larder::StrongPtr<Larder::Chunk<double>, Larder::ChunkBase> height;

  /// \return false, with a message on the console, if a part is missing.
  /// \throw UnreadableFragment
  bool read(const FootprintFields& fields, const FragmentHandle& fragment) {
    vertices = readFragment<PhysicalSpace::point>(fields.vertices, fragment, "No VerticesC");
    if (!vertices) return false;
    shapes = readFragment<IndexList>(fields.shapes, fragment, "No ShapesC");
    if (!shapes) return false;
    lines = readFragment<IndexList>(fields.lines, fragment, "No LinesC");
    if (!lines) return false;
    ground = readFragment<double>(fields.ground, fragment, "No HeightGroundC");
    if (!ground) return false;
    height = readFragment<double>(fields.height, fragment, "No HeightRoofC");
    return static_cast<bool>(height);
  }
};

/// Extrudes rings into a surface; keeps its working memory from ring to ring.
class Extruder {
 public:
  explicit Extruder(SurfaceLists& surface) : surface_(surface) {}

  /// \param ring numbers of `vertices`, at least one; its last vertex stands where its first does.
  /// \param ground z of the footprint. \param roof z of the roof.
  void extrude(const std::vector<PhysicalSpace::point>& vertices, const IndexList& ring,
               double ground, double roof) {
    const unsigned int first = surface_.vertices();
    footprint_.clear();
    for (std::size_t i = 0; i + 1 < ring.size(); ++i) {
      const auto& corner = vertices[ring[i]];
      if (!areApart(corner, vertices[ring[i + 1]])) continue;
      addPost(corner, ground, roof);
      footprint_.emplace_back(corner.x(), corner.y(), ground);
    }
    addPost(vertices[ring.back()], ground, roof);
    addWalls(first);
    addRoof(first);
  }

 private:
  /// The vertices of a corner: on the ground and, with the number behind it, on the roof.
  void addPost(const PhysicalSpace::point& corner, double ground, double roof) {
    surface_.addVertex(corner.x(), corner.y(), ground);
    surface_.addVertex(corner.x(), corner.y(), roof);
  }
  void addWalls(unsigned int first) {
    for (unsigned int w = first; w + 2 < surface_.vertices(); w += 2) {
      surface_.addTriangle(w, w + 1, w + 2);
      surface_.addTriangle(w + 1, w + 3, w + 2);
    }
  }
  void addRoof(unsigned int first) {
    roof_.clear();
    if (!triangulator_.triangulate(footprint_, roof_))
      Larder::Console() << "-------> We have:  "
                        << "Error";
    const auto roofVertex = [first](unsigned int corner) { return first + 2 * corner + 1; };
    for (const auto& triangle : roof_)
      surface_.addTriangle(roofVertex(triangle[0]), roofVertex(triangle[2]),
                           roofVertex(triangle[1]));
  }

  SurfaceLists& surface_;
  Triangulation::Triangulator triangulator_;
  std::vector<PhysicalSpace::point> footprint_;
  std::vector<Quilt::Triangle> roof_;
};

void extrudeShape(const Footprints& data, std::size_t shape, const FragmentHandle& fragment,
                  const BuildingProgress& progress, Extruder& extruder) {
  const IndexList& rings = (*data.shapes)[shape];
  if (shape >= data.ground->size() || shape >= data.height->size() ||
      !allBelow(rings, data.lines->size())) {
    reportBadNumber(fragment, "shape");
    return;
  }
  const double ground = (*data.ground)[shape];
  const double roof = ground + (*data.height)[shape];
  for (std::size_t k = 0; k < rings.size(); ++k) {
    if (progress && k % 16 == 15 &&
        !progress->reportProgress("Read line nr.:", static_cast<int>(k),
                                  static_cast<int>(rings.size())))
      return;
    const IndexList& ring = (*data.lines)[rings[k]];
    if (!allBelow(ring, data.vertices->size()))
      reportBadNumber(fragment, "line");
    else if (!ring.empty())
      extruder.extrude(*data.vertices, ring, ground, roof);
  }
}

bool extrudeLOD1Grid(const Quilt::Grid& grid, const BuildingProgress& progress,
                     SurfaceLists& surface) {
  FootprintFields fields;
  if (!fields.find(grid)) return false;
  Extruder extruder(surface);
  for (const auto& fragment : fragmentsOf(*fields.vertices)) {
    Footprints data;
    if (!data.read(fields, fragment)) continue;
    for (std::size_t shape = 0; shape < data.shapes->size(); ++shape)
      extrudeShape(data, shape, fragment, progress, extruder);
  }
  return true;
}

}  // namespace

int convertLOD1toTIN(const Larder::StrongPtr<Larder::StringList>& files, const std::string& outFile,
                     const BuildingProgress& progress, const std::string& gridName) {
  return reportingExceptions(outFile, [&] {
    const Quilt::BundlePtr output(new Quilt::Bundle);
    SurfaceLists surface;
    for (const std::string& file : *files) {
      const Quilt::BundlePtr bundle = loadBuildings(file, progress);
      if (!bundle) return kFileNotLoaded;
      const int status =
          workThroughGrids(*bundle, file, "LOD1 Error: ", [&](const Quilt::Grid& grid) {
            return extrudeLOD1Grid(grid, progress, surface);
          });
      if (status != kBuildingsDone) return status;
    }
    surface.shape((*output)[0.0]->newGrid(gridName));
    saveSurface(output, outFile);
    return kBuildingsDone;
  });
}

}  // namespace Recast
