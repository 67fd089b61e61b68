#include "recast/buildings/building_files.h"

#include "recast/larder/console.h"
#include "recast/recastbase/run_report.h"
#include "recast/sheaf/storage_error.h"

namespace Recast {

Quilt::BundlePtr loadBuildings(const std::string& file, const BuildingProgress& progress) {
  const auto list = Larder::makeStrong<Larder::StringList>(std::vector<std::string>{file});
  const auto parameters = Larder::makeStrong<Larder::LoaderParameters>(list, false);
  if (progress) parameters->addInterface(progress);
  bool ok = false;
  Quilt::BundlePtr bundle(Quilt::Bundle::load(ok, parameters, nullptr));
  if (ok) return bundle;
  reportFailure(file + ": it can't be loaded");
  return {};
}

int workThroughGrids(const Quilt::Bundle& bundle, const std::string& file, const char* complaint,
                     const std::function<bool(const Quilt::Grid& grid)>& work) try {
  int status = kBuildingsDone;
  for (const auto& [time, slice] : bundle) {
    if (!slice) continue;
    for (const auto& [id, grid] : *slice) {
      if (!grid || work(*grid)) continue;
      Larder::Console() << complaint;
      reportFailure(file + ": the grid \"" + id->name() + "\" doesn't have the shape of buildings");
      status = kGridLacksPart;
      break;
    }
  }
  return status;
} catch (const UnreadableFragment& error) {
  return endUnreadable(file, error);
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

void saveSurface(const Quilt::BundlePtr& output, const std::string& file) try {
  output.save(file, nullptr, nullptr);
} catch (const Quilt::StorageError& error) {
  reportFailure(error.what());
  throw;
}

int endUnreadable(const std::string& source, const UnreadableFragment& error) {
  const std::string sentence = source + ": " + error.what();
  Larder::Console() << sentence << "; nothing is written.";
  reportFailure(sentence);
  return kFileNotLoaded;
}

}  // namespace Recast
