// The first byte of the input selects a ring or a shell of faces, and what coordinates are made of:
// bytes, whose corners often coincide and stand on lines, at several scales and places; or the bits
// of doubles.

#include <vector>

#include "buildings/building_grids.h"
#include "support/byte_source.h"
#include "support/literal_ear_clipping.h"
#include "support/require.h"

#include "recast/buildings/polygon_triangulation.h"

namespace {

using FuzzSupport::ByteSource;
using FuzzSupport::require;
using TestSupport::IndexList;
using TestSupport::Point;
using TestSupport::Surface;

constexpr std::size_t kMostCorners = 200;  // the literal walk is slow

class Coordinates {
 public:
  Coordinates(unsigned kind, ByteSource& source) : kind_(kind), source_(source) {}

  double next() {
    switch (kind_) {
      case 0: return source_.byte();
      case 1: return source_.byte() * 0.1;
      case 2: return source_.byte() * 0.7 + 5'400'000.3;  // where national grids have theirs
      default: return source_.bits();
    }
  }

 private:
  unsigned kind_;
  ByteSource& source_;
};

bool areDistinct(const Quilt::Triangle& triangle) {
  return triangle[0] != triangle[1] && triangle[1] != triangle[2] && triangle[2] != triangle[0];
}

bool areSame(const std::vector<Quilt::Triangle>& a, const std::vector<Quilt::Triangle>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& s, const auto& t) {
    return s[0] == t[0] && s[1] == t[1] && s[2] == t[2];
  });
}

void checkRing(Coordinates& coordinates, ByteSource& source) {
  std::vector<Point> ring;
  while (!source.empty() && ring.size() < kMostCorners) {
    const double x = coordinates.next();
    const double y = coordinates.next();
    ring.push_back({x, y, 0.0});
  }
  std::vector<Quilt::Triangle> triangles;
  const bool complete = Recast::polygonToTriangle(ring, triangles).empty();
  const std::size_t most = ring.size() < 3 ? 0 : ring.size() - 2;
  require(triangles.size() <= most, "a ring of n corners has at most n - 2 triangles");
  require(!complete || triangles.size() == most, "a ring cut to its end has n - 2 triangles");
  for (const auto& triangle : triangles) {
    require(triangle[0] < ring.size() && triangle[1] < ring.size() && triangle[2] < ring.size(),
            "the corners of triangles are those of the ring");
    require(areDistinct(triangle), "a triangle has three corners");
  }
  if (ring.size() < 4) return;
  std::vector<Quilt::Triangle> literal;
  require(LiteralEarClipping::triangulate(ring, literal) == complete && areSame(triangles, literal),
          "the triangles are those of the literal walk");
}

/// Faces over some vertices; a few numbers are those of no vertex.
void checkShell(Coordinates& coordinates, ByteSource& source) {
  std::vector<Point> vertices(source.below(40));
  for (auto& vertex : vertices) {
    const double x = coordinates.next();
    const double y = coordinates.next();
    vertex = {x, y, coordinates.next()};
  }
  std::vector<IndexList> faces;
  std::size_t most = 0;
  while (!source.empty() && faces.size() < 40) {
    IndexList& face = faces.emplace_back(source.below(12));
    for (unsigned& number : face) number = source.below(static_cast<unsigned>(vertices.size()) + 1);
    // The last number closes the ring.
    most += face.size() > 3 ? face.size() - 3 : 0;
  }
  const Quilt::BundlePtr bundle(new Quilt::Bundle);
  const TestSupport::BuildingGrid shells((*(*bundle)[0.0])["shells"]);
  TestSupport::put(shells.vertices, "Positions", vertices);
  TestSupport::put(shells.lines, "Positions", faces);
  const auto target = (*(*bundle)[0.0])["surface"];
  require(Recast::convertLOD2toTIN(*shells.grid, *target, nullptr) == 0, "shells are converted");
  const Surface surface(*target);
  require(surface.triangles.size() <= most, "a face of n corners has at most n - 2 triangles");
  for (const auto& triangle : surface.triangles)
    for (std::size_t corner = 0; corner < 3; ++corner)
      require(triangle[corner] < surface.vertices.size(), "a triangle's corners are vertices");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool once = (FuzzSupport::silence(), true);
  static_cast<void>(once);
  ByteSource source(data, size);
  const unsigned choice = source.byte();
  Coordinates coordinates(choice % 4, source);
  if (choice / 4 % 2 == 0)
    checkRing(coordinates, source);
  else
    checkShell(coordinates, source);
  return 0;
}
