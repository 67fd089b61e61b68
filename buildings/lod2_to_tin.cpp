#include "recast/buildings/building_files.h"
#include "recast/buildings/building_surfaces.h"
#include "recast/buildings/shell_triangulation.h"
#include "recast/larder/console.h"
#include "recast/recastbase/run_report.h"
#include "recast/sheaf/bundle.h"
#include "recast/trelliskinds/grid_kinds.h"

namespace Recast {
namespace {

constexpr const char* kComplaint = "LOD2 Error: ";

void addIdentifiers(Quilt::Grid& grid, const ShellSurface& surface) {
  const auto triangles = (*grid[Quilt::SkeletonID(2, 1)])[*grid.makeVertices(2)];
  const auto id = triangles->makeFieldID("TriangleID");
  const Larder::StrongPtr<Quilt::Field> field = triangles->makeField(id, nullptr, nullptr);
  field->setPersistentData(
      Quilt::MemBaseHandle(new Quilt::MemArray<1, unsigned int>(
          surface.identifiers, Quilt::MultiIndex<1>(surface.identifiers->size()), nullptr)),
      nullptr, Larder::Cache::MemCache(), "");
}

}  // namespace

int convertLOD2toTIN(const Larder::StrongPtr<Larder::StringList>& files, const std::string& outFile,
                     const BuildingProgress& progress, const std::string& gridName) {
  return reportingExceptions(outFile, [&] {
    const Quilt::BundlePtr output(new Quilt::Bundle);
    ShellSurface surface;
    for (const std::string& file : *files) {
      const Quilt::BundlePtr bundle = loadBuildings(file, progress);
      if (!bundle) return kFileNotLoaded;
      Larder::Console() << "This is file: " << file;
      const int status = workThroughGrids(*bundle, file, kComplaint, [&](const Quilt::Grid& grid) {
        return triangulateLOD2Grid(grid, progress, surface);
      });
      if (status != kBuildingsDone) return status;
      Larder::Console() << "LOD2-> File: " << file
                        << " processed with tris: " << surface.lists.triangles();
    }
    const auto grid = (*output)[0.0]->newGrid(gridName);
    surface.lists.shape(grid);
    surface.alignIdentifiers();
    if (!surface.identifiers->empty()) addIdentifiers(*grid, surface);
    saveSurface(output, outFile);
    return kBuildingsDone;
  });
}

int convertLOD2toTIN(const Quilt::Grid& source, Quilt::Grid& target,
                     const BuildingProgress& progress) {
  return reportingExceptions("the source grid", [&] {
    try {
      ShellSurface surface;
      if (!triangulateLOD2Grid(source, progress, surface)) {
        Larder::Console() << kComplaint;
        reportFailure("the source grid doesn't have the shape of buildings");
        return kGridLacksPart;
      }
      surface.lists.shape(Larder::StrongPtr<Quilt::Grid>(&target));
      return kBuildingsDone;
    } catch (const UnreadableFragment& error) {
      return endUnreadable("the source grid", error);
    }
  });
}

}  // namespace Recast
