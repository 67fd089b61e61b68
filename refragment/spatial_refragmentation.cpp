#include "recast/refragment/spatial_refragmentation.h"

#include "recast/recastbase/run_report.h"
#include "recast/refragment/refragmentation_plan.h"

namespace Recast {

std::string spatialRefragmentation(const Larder::StrongPtr<Larder::StringList>& files,
                                   const std::vector<std::string>& fieldNames,
                                   const std::string& gridName, const double& time, int threads,
                                   const Heron::PhysicalSpace::vector& lowerMargin,
                                   const Larder::StrongPtr<Heron::BoundingBox>& bbox,
                                   bool useBBoxMin, bool useBBoxMax, const std::string& outFile,
                                   Heron::PhysicalSpace::vector fragLength, const double& overlap,
                                   const int& compression, const std::string& extLink,
                                   const unsigned int& loopsOverFrags, const unsigned int& fragLow,
                                   const Larder::StrongPtr<Larder::LoaderProgress>& progress) {
  const RunReportScope report;
  RefragmentationPlan plan;
  const std::string failure = planRefragmentation(
      {files, fieldNames, gridName, time, threads, lowerMargin, bbox, useBBoxMin, useBBoxMax,
       outFile, fragLength, overlap, compression, extLink, loopsOverFrags, fragLow},
      plan);
  if (!failure.empty()) return failure;
  if (progress)
    for (const std::string& line : plan.description()) progress->reportMessage(line);
  return runRefragmentation(plan, progress);
}

}  // namespace Recast
