#include "recast/buildings/building_files.h"

#include "recast/larder/console.h"

namespace Recast {

Quilt::BundlePtr loadBuildings(const std::string& file, const BuildingProgress& progress) {
  const auto list = Larder::makeStrong<Larder::StringList>(std::vector<std::string>{file});
  const auto parameters = Larder::makeStrong<Larder::LoaderParameters>(list, false);
  if (progress) parameters->addInterface(progress);
  bool ok = false;
  Quilt::BundlePtr bundle(Quilt::Bundle::load(ok, parameters, nullptr));
  return ok ? bundle : Quilt::BundlePtr();
}

bool workThroughGrids(const Quilt::Bundle& bundle, const char* complaint,
                      const std::function<bool(const Quilt::Grid& grid)>& work) {
  bool worked = true;
  for (const auto& [time, slice] : bundle) {
    if (!slice) continue;
    for (const auto& [id, grid] : *slice) {
      if (!grid || work(*grid)) continue;
      Larder::Console() << complaint;
      worked = false;
      break;
    }
  }
  return worked;
}

Larder::StrongPtr<Quilt::Representation> relativeTo(
    const Larder::StrongPtr<Quilt::Skeleton>& skeleton,
    const Larder::StrongPtr<Quilt::Skeleton>& base) {
  return skeleton && base ? (*skeleton)(*base) : nullptr;
}

Larder::StrongPtr<Quilt::Representation> inChart(
    const Quilt::Grid& grid, const Larder::StrongPtr<Quilt::Skeleton>& skeleton) {
  const auto chart = grid.findCartesianChart("");
  return skeleton && chart ? (*skeleton)(*chart) : nullptr;
}

bool tellOfBadNumber(const std::string& fragment, const char* list) {
  Larder::Console() << "The fragment \"" << fragment << "\" has a " << list
                    << " that refers to what isn't there; it is passed over.";
  return false;
}

}  // namespace Recast
