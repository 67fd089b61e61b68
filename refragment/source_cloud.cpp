#include "recast/refragment/source_cloud.h"

#include <algorithm>
#include <cmath>

#include "recast/larder/console.h"
#include "recast/patchbase/bounding_boxes.h"
#include "recast/refragment/run_end.h"

namespace Recast {
namespace {

constexpr double kBoxStart = 10000000.0;

Larder::StrongPtr<Larder::LoaderParameters> parametersFor(const std::string& file) {
  const auto list = Larder::makeStrong<Larder::StringList>();
  list->append(file);
  return Larder::makeStrong<Larder::LoaderParameters>(list, true);
}

Quilt::BoxHandle boxOf(const Quilt::Field& positions) {
  Quilt::BoxHandle box;
  if (!Quilt::expandBoundingBox(positions, box)) throw RunEnd("no bbox for: ");
  if (!box) throw RunEnd("no sbbox for ");
  return box;
}

void widen(Heron::PhysicalSpace::AABB& box, const Heron::BoundingBox& by) {
  for (std::size_t axis = 0; axis < 3; ++axis) {
    box.minimum[axis] = std::min(box.minimum[axis], by.minimum()[axis]);
    box.maximum[axis] = std::max(box.maximum[axis], by.maximum()[axis]);
  }
}

}  // namespace

Quilt::BundlePtr loadSource(const Larder::StrongPtr<Larder::StringList>& files) {
  if (!files || files->size() == 0) throw RunEnd("Q8efragment--> no file(s): ");
  Quilt::BundlePtr bundle(new Quilt::Bundle);
  for (const std::string& file : *files) {
    bool ok = false;
    const auto loaded = Quilt::Bundle::load(ok, parametersFor(file), bundle);
    if (!ok) throw RunEnd("Refragment--> no bundle", file + ": it can't be loaded");
    if (!(loaded == bundle)) bundle = Quilt::BundlePtr(loaded);
  }
  return bundle;
}

std::string chooseGrid(const Quilt::Bundle& bundle, const std::string& name) {
  const auto ids = bundle.getGridIdentifiers();
  if (!name.empty()) {
    for (const auto& id : ids)
      if (id->equal(name)) return id->name();
    throw RunEnd("Grid" + name + " does not exist");
  }
  const auto list = bundle.getGridList();
  if (list && list->getNumberOfGrids() == 1) return ids.front()->name();
  for (const auto& id : ids) Larder::Console() << "Have grids: " << id->name();
  throw RunEnd("need to have a grid name. There is more than one grid available");
}

Larder::StrongPtr<Quilt::Grid> gridAt(const Quilt::Bundle& bundle, double time,
                                      const Larder::StrongPtr<Quilt::GridID>& id) {
  // No slice has a time that isn't a number, and no ordered look-up knows what to do with one.
  return std::isnan(time) ? nullptr : bundle(time, id);
}

Heron::PhysicalSpace::AABB boxOfPositions(const Quilt::BundlePtr& bundle,
                                          const std::string& gridName, double time) {
  if (!bundle) throw RunEnd("no bundle");
  Heron::PhysicalSpace::AABB box{{kBoxStart, kBoxStart, kBoxStart},
                                 {-kBoxStart, -kBoxStart, -kBoxStart}};
  for (const auto& id : bundle->getGridIdentifiers()) {
    if (!id->equal(gridName)) continue;
    const auto grid = gridAt(*bundle, time, id);
    const auto positions = grid ? grid->CartesianPositions() : nullptr;
    if (!positions) throw RunEnd("no positions");
    widen(box, *boxOf(*positions));
  }
  return box;
}

}  // namespace Recast
