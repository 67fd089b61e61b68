#include "recast/buildings/shell_triangulation.h"

#include <cmath>

#include "recast/buildings/building_files.h"
#include "recast/buildings/face_projection.h"
#include "recast/buildings/ring_corners.h"
#include "recast/buildings/triangulation/triangulator.h"
#include "recast/grid_lookups/checks.h"
#include "recast/larder/console.h"

namespace Recast {
namespace {

using Heron::PhysicalSpace;

/// Cuts faces into triangles; keeps its working memory from face to face.
class FaceCutter {
 public:
  explicit FaceCutter(SurfaceLists& surface) : surface_(surface) {}

  /// \param ring numbers of `vertices`; its last vertex stands where its first does. \param number
  /// of the face in its fragment, for messages.
  void cut(const std::vector<PhysicalSpace::point>& vertices, const IndexList& ring,
           std::size_t number) {
    const unsigned int first = surface_.vertices();
    face_.clear();
    for (std::size_t i = 0; i + 1 < ring.size(); ++i) {
      const auto& corner = vertices[ring[i]];
      if (!areApart(corner, vertices[ring[i + 1]])) continue;
      surface_.addVertex(corner.x(), corner.y(), corner.z());
      face_.push_back(corner);
    }
    if (face_.size() <= 2) return;
    const bool horizontal = checkIfHorizontal(face_);
    projectAlong(faceNormal(face_), face_);
    triangles_.clear();
    if (!triangulator_.triangulate(face_, triangles_))
      Larder::Console() << "-------> We have:  "
                        << "Error"
                        << " at line " << number;
    for (const auto& triangle : triangles_) {
      const unsigned int b = first + triangle[1];
      const unsigned int c = first + triangle[2];
      surface_.addTriangle(first + triangle[0], horizontal ? c : b, horizontal ? b : c);
    }
  }

 private:
  SurfaceLists& surface_;
  Triangulation::Triangulator triangulator_;
  std::vector<PhysicalSpace::point> face_;
  std::vector<Quilt::Triangle> triangles_;
};

/// The data of one fragment.
struct Shells {
  FragmentHandle fragment;
  Larder::StrongPtr<Larder::Chunk<PhysicalSpace::point>, Larder::ChunkBase> vertices;
  Larder::StrongPtr<Larder::Chunk<IndexList>, Larder::ChunkBase> faces;
  Larder::StrongPtr<Larder::Chunk<int>, Larder::ChunkBase> identifiers;  // null if it has none
};

void addFaces(const Shells& shells, const BuildingProgress& progress, FaceCutter& cutter,
              ShellSurface& surface) {
  const std::size_t count = shells.faces->size();
  if (shells.identifiers && shells.identifiers->size() < count)
    Larder::Console() << "The " << titleOf(shells.fragment)
                      << " has fewer building identifiers than lines; the other lines get none.";
  for (std::size_t k = 0; k < count; ++k) {
    if (progress && k % 16 == 15 &&
        !progress->reportProgress("Read line nr.:", static_cast<int>(k), static_cast<int>(count)))
      return;
    const IndexList& ring = (*shells.faces)[k];
    if (!allBelow(ring, shells.vertices->size())) {
      reportBadNumber(shells.fragment, "line");
      continue;
    }
    const std::size_t before = surface.lists.triangles();
    cutter.cut(*shells.vertices, ring, k);
    if (!shells.identifiers || k >= shells.identifiers->size()) continue;
    if (surface.lists.triangles() == before) continue;
    surface.identifiers->resize(before);
    surface.identifiers->resize(surface.lists.triangles(),
                                static_cast<unsigned int>((*shells.identifiers)[k]));
  }
}

}  // namespace

bool getFields(const Quilt::Grid& grid, Larder::StrongPtr<Quilt::Field>& vertices,
               Larder::StrongPtr<Quilt::Field>& lines,
               Larder::StrongPtr<Quilt::Field>& identifiers) {
  auto verticesSkeleton = grid.getSkeleton(Quilt::SkeletonID(3, 0));
  if (!verticesSkeleton) verticesSkeleton = grid.getSkeleton(Quilt::SkeletonID(1, 0));
  const auto linesSkeleton = grid.getSkeleton(Quilt::SkeletonID(1, 2));
  if (!check(verticesSkeleton, "VerticesSk") || !check(linesSkeleton, "LinesetSk")) return false;
  const auto inSpace = inChart(grid, verticesSkeleton);
  if (!check(inSpace, "VerticesRep")) return false;
  const auto onVertices = relativeTo(linesSkeleton, verticesSkeleton);
  if (!check(onVertices, "LinesetAsVerticesRep")) return false;
  vertices = inSpace->Positions();
  lines = onVertices->Positions();
  if (!check(vertices, "VerticesF") || !check(lines, "LinesF")) return false;
  const auto shapes = relativeTo(grid.getSkeleton(Quilt::SkeletonID(1, 3)), linesSkeleton);
  identifiers = shapes ? shapes->findField("GEBIDBY") : nullptr;
  return true;
}

bool checkIfHorizontal(std::vector<PhysicalSpace::point>& points) {
  if (points.empty()) return false;
  const auto& a = points.front();
  const auto& b = points[points.size() / 2];
  const auto& c = points.back();
  const PhysicalSpace::vector u(b.x() - a.x(), b.y() - a.y(), b.z() - a.z());
  const PhysicalSpace::vector v(c.x() - a.x(), c.y() - a.y(), c.z() - a.z());
  const double x = u.y() * v.z() - u.z() * v.y();
  const double y = u.z() * v.x() - u.x() * v.z();
  const double z = u.x() * v.y() - u.y() * v.x();
  constexpr double kWall = 0.25;
  return std::fabs(z / std::sqrt(x * x + y * y + z * z)) > kWall;
}

bool triangulateLOD2Grid(const Quilt::Grid& grid, const BuildingProgress& progress,
                         ShellSurface& surface) {
  Larder::StrongPtr<Quilt::Field> vertices;
  Larder::StrongPtr<Quilt::Field> lines;
  Larder::StrongPtr<Quilt::Field> identifiers;
  if (!getFields(grid, vertices, lines, identifiers)) return false;
  FaceCutter cutter(surface.lists);
  for (const auto& fragment : fragmentsOf(*vertices)) {
    Shells shells;
    shells.fragment = fragment;
    shells.vertices = readFragment<PhysicalSpace::point>(vertices, fragment, "No VerticesC");
    if (!shells.vertices) continue;
    shells.faces = readFragment<IndexList>(lines, fragment, "No LinesC");
    if (!shells.faces) continue;
    if (identifiers) shells.identifiers = readFragment<int>(identifiers, fragment, nullptr);
    addFaces(shells, progress, cutter, surface);
  }
  return true;
}

}  // namespace Recast
