#include "building_bundle.h"

#include <algorithm>
#include <map>

#include "recast/typed_arrays/mem_array.h"

namespace RecastHost {
namespace {

using Heron::PhysicalSpace;

template <class T>
void store(const Larder::StrongPtr<Quilt::Representation>& representation, const char* field,
           const std::string& fragment, std::vector<T> values) {
  const auto chunk = Larder::makeStrong<Larder::Chunk<T>>(std::move(values));
  const Quilt::MemBaseHandle array(
      new Quilt::MemArray<1, T>(chunk, Quilt::MultiIndex<1>(chunk->size()), nullptr));
  (*representation)[field].field()->createCreator(array, fragment, Quilt::OnExistingData::Replace,
                                                  Larder::Cache::MemCache());
}

/// The representations that building models are made of.
struct Representations {
  Larder::StrongPtr<Quilt::Representation> vertices;
  Larder::StrongPtr<Quilt::Representation> lines;
  Larder::StrongPtr<Quilt::Representation> shapes;

  explicit Representations(Quilt::Grid& grid) {
    vertices = grid.makeCartesianRepresentation(3, "", 0);
    const auto lineSkeleton = grid[Quilt::SkeletonID(1, 2)];
    lines = (*lineSkeleton)[*grid.makeVertices(3)];
    shapes = (*grid[Quilt::SkeletonID(1, 3)])[*lineSkeleton];
  }
};

CityRing closed(CityRing ring) {
  ring.push_back(ring.front());
  return ring;
}

struct Heights {
  double low;
  double high;
};

Heights heightsOf(const CityModel& model, const CityRing& ring) {
  Heights heights{model.vertices[ring[0]].z(), model.vertices[ring[0]].z()};
  for (const unsigned int vertex : ring) {
    heights.low = std::min(heights.low, model.vertices[vertex].z());
    heights.high = std::max(heights.high, model.vertices[vertex].z());
  }
  return heights;
}

Heights heightsOf(const CityModel& model, const CityObject& object) {
  Heights heights = heightsOf(model, object.faces.front());
  for (const CityRing& ring : object.faces) {
    const Heights other = heightsOf(model, ring);
    heights.low = std::min(heights.low, other.low);
    heights.high = std::max(heights.high, other.high);
  }
  return heights;
}

/// Whether a ring lies level at the ground of its object.
bool isAtGround(const CityModel& model, const CityRing& ring, double ground) {
  constexpr double kLevel = 0.01;
  const Heights heights = heightsOf(model, ring);
  return heights.high - ground <= kLevel;
}

std::vector<CityRing> groundRings(const CityModel& model, const CityObject& object, double ground,
                                  std::size_t& holes) {
  std::vector<CityRing> rings;
  for (const CityRing& ring : object.faces)
    if (isAtGround(model, ring, ground)) rings.push_back(closed(ring));
  for (const CityRing& ring : object.holes)
    if (isAtGround(model, ring, ground)) {
      rings.push_back(closed(ring));
      ++holes;
    }
  return rings;
}

/// Numbers buildings from 1, going on behind those that the grid lists.
class BuildingNumbers {
 public:
  explicit BuildingNumbers(Quilt::Grid& grid) : grid_(grid) {
    const auto listed = grid.getAttribute(kList).castTo<Larder::Chunk<std::string>>();
    if (!listed) return;
    for (const std::string& name : *listed) of(name);
  }
  ~BuildingNumbers() {
    grid_.setAttribute(kList, Larder::makeStrong<Larder::Chunk<std::string>>(names_));
  }
  BuildingNumbers(const BuildingNumbers&) = delete;
  BuildingNumbers& operator=(const BuildingNumbers&) = delete;

  int of(const std::string& name) {
    const auto [entry, isNew] = numbers_.try_emplace(name, static_cast<int>(names_.size()) + 1);
    if (isNew) names_.push_back(name);
    return entry->second;
  }

 private:
  static constexpr const char* kList = "Buildings";

  Quilt::Grid& grid_;
  std::vector<std::string> names_;
  std::map<std::string, int> numbers_;
};

}  // namespace

BuildingCount addFootprints(Quilt::Grid& grid, const std::string& fragment,
                            const CityModel& model) {
  BuildingCount count;
  std::vector<CityRing> lines;
  std::vector<CityRing> shapes;
  std::vector<double> grounds;
  std::vector<double> heights;
  for (const CityObject& object : model.objects) {
    if (object.faces.empty()) continue;
    const Heights range = heightsOf(model, object);
    auto rings = groundRings(model, object, range.low, count.holes);
    if (rings.empty()) {
      ++count.withoutBase;
      continue;
    }
    ++count.buildings;
    CityRing numbers;
    for (CityRing& ring : rings) {
      numbers.push_back(static_cast<unsigned int>(lines.size()));
      lines.push_back(std::move(ring));
    }
    shapes.push_back(std::move(numbers));
    grounds.push_back(range.low);
    heights.push_back(range.high - range.low);
  }
  count.rings = lines.size();
  const Representations representations(grid);
  store(representations.vertices, "Positions", fragment, model.vertices);
  store(representations.lines, "Positions", fragment, std::move(lines));
  store(representations.shapes, "Positions", fragment, std::move(shapes));
  store(representations.shapes, "HOEHEGRUND", fragment, std::move(grounds));
  store(representations.shapes, "HOEHEGEB", fragment, std::move(heights));
  return count;
}

BuildingCount addShells(Quilt::Grid& grid, const std::string& fragment, const CityModel& model) {
  BuildingCount count;
  BuildingNumbers numbers(grid);
  std::vector<CityRing> lines;
  std::vector<int> identifiers;
  for (const CityObject& object : model.objects) {
    ++count.buildings;
    count.holes += object.holes.size();
    for (const auto* rings : {&object.faces, &object.holes})
      for (const CityRing& ring : *rings) {
        lines.push_back(closed(ring));
        identifiers.push_back(numbers.of(object.building));
      }
  }
  count.rings = lines.size();
  const Representations representations(grid);
  store(representations.vertices, "Positions", fragment, model.vertices);
  store(representations.lines, "Positions", fragment, std::move(lines));
  store(representations.shapes, "GEBIDBY", fragment, std::move(identifiers));
  return count;
}

}  // namespace RecastHost
