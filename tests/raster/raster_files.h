#pragma once

#include <string>

#include "support/bundles.h"
#include "support/console_capture.h"
#include "support/temp_folder.h"

#include "recast/raster/esri_raster_to_q8.h"
#include "recast/recastbase/run_report.h"

namespace TestSupport {

/// Converts one raster text to `out.q8` in a folder of its own and loads what came out.
struct ConvertedRaster {
  TempFolder folder;
  ConsoleCapture console;
  int status;
  Recast::RunReport report;
  Quilt::BundlePtr bundle;

  explicit ConvertedRaster(const std::string& text) {
    const std::string input = folder.write("in.asc", text);
    status = Recast::converterEsriRasterToQ8(stringList({input}), folder / "out.q8", nullptr,
                                             "heights", "points");
    report = Recast::lastRunReport();
    if (std::filesystem::exists(folder / "out.q8")) bundle = loadBundle(folder / "out.q8");
  }

  Larder::StrongPtr<Quilt::Field> elevation() const {
    return findField(*bundle, "heights", "Elevation");
  }
  /// The name of the one fragment of the heights.
  std::string fragmentName() const {
    const auto ids =
        bundle ? elevation()->getFragmentIDs() : decltype(elevation()->getFragmentIDs()){};
    return ids.size() == 1 ? ids[0]->name() : "not one fragment";
  }
  Larder::StrongPtr<Quilt::MemArray<3, float>> heights() const {
    return fragmentArray<3, float>(elevation(), fragmentName());
  }
  std::vector<Heron::PhysicalSpace::point> points() const {
    return fragmentValues<Heron::PhysicalSpace::point>(findField(*bundle, "points", "Positions"),
                                                       fragmentName());
  }
  std::vector<Heron::PhysicalSpace::bivector> normals() const {
    return fragmentValues<Heron::PhysicalSpace::bivector>(findField(*bundle, "points", "Normals"),
                                                          fragmentName());
  }
};

}  // namespace TestSupport
