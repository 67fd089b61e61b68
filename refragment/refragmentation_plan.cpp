#include "recast/refragment/refragmentation_plan.h"

#include <cmath>
#include <thread>

#include "recast/recastbase/run_report.h"
#include "recast/refragment/run_end.h"
#include "recast/refragment/source_cloud.h"

namespace Recast {
namespace {

/// The data's box, widened to whole numbers and one unit more.
Heron::PhysicalSpace::AABB widened(const Heron::PhysicalSpace::AABB& box,
                                   const Heron::PhysicalSpace::vector& lowerMargin) {
  Heron::PhysicalSpace::AABB wide{};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    wide.minimum[axis] = std::floor(box.minimum[axis]) - 1 - lowerMargin[axis];
    wide.maximum[axis] = std::ceil(box.maximum[axis]) + 1;
  }
  return wide;
}

void applyGivenBox(const RefragmentationParameters& parameters, Heron::PhysicalSpace::AABB& box) {
  if (!parameters.useBBoxMin && !parameters.useBBoxMax) return;
  if (!parameters.bbox) throw RunEnd("a given box is to be used, and there is none");
  if (parameters.useBBoxMin) box.minimum = parameters.bbox->minimum();
  if (parameters.useBBoxMax) box.maximum = parameters.bbox->maximum();
}

int workersFor(int threads) {
  return threads < 0 ? static_cast<int>(std::thread::hardware_concurrency()) : threads;
}

}  // namespace

std::vector<std::string> RefragmentationPlan::description() const {
  std::vector<std::string> lines;
  lines.push_back("Final BBox:          " + to_string(lattice.lower) + " " +
                  to_string(lattice.upper));
  for (const std::string& name : fieldNames) lines.push_back("Do this field:       " + name);
  lines.push_back("Number of threads:   " + std::to_string(threads));
  lines.push_back("Number of fragments: " + to_string(lattice.counts));
  lines.push_back("Fragment length:     " + to_string(lattice.length));
  lines.push_back("Normalized overlap:  " + std::to_string(parameters.overlap));
  lines.push_back("Loops:  " + std::to_string(parameters.loopsOverFrags) + "\n\n");
  return lines;
}

namespace {

RefragmentationPlan planFor(const RefragmentationParameters& parameters) {
  RefragmentationPlan plan;
  plan.parameters = parameters;
  plan.source = loadSource(parameters.files);
  plan.gridName = chooseGrid(*plan.source, parameters.gridName);
  Heron::PhysicalSpace::AABB box =
      widened(boxOfPositions(plan.source, plan.gridName, parameters.time), parameters.lowerMargin);
  applyGivenBox(parameters, box);
  plan.fieldNames.insert(parameters.fieldNames.begin(), parameters.fieldNames.end());
  plan.threads = workersFor(parameters.threads);
  plan.lattice = FragmentLattice::over(box.minimum, box.maximum, parameters.fragLength);
  return plan;
}

}  // namespace

std::string planRefragmentation(const RefragmentationParameters& parameters,
                                RefragmentationPlan& plan) {
  return reportingExceptions(parameters.outFile, [&] {
    RefragmentationPlan made;
    std::string failure;
    try {
      made = planFor(parameters);
    } catch (const RunEnd& end) {
      failure = end.what();
      reportFailure(end.reason());
    }
    plan = std::move(made);
    return failure;
  });
}

}  // namespace Recast
