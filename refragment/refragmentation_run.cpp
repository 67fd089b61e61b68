#include <algorithm>
#include <chrono>
#include <numeric>

#include "recast/larder/console.h"
#include "recast/recastbase/run_output.h"
#include "recast/recastbase/run_report.h"
#include "recast/refragment/para_box.h"
#include "recast/refragment/point_assignment.h"
#include "recast/refragment/refragment_storage.h"
#include "recast/refragment/refragmentation_plan.h"
#include "recast/refragment/run_end.h"
#include "recast/refragment/source_cloud.h"
#include "recast/refragment/source_elements.h"
#include "recast/refragment/target_writing.h"

namespace Recast {
namespace {

using FieldHandle = Larder::StrongPtr<Quilt::Field>;
using GridHandle = Larder::StrongPtr<Quilt::Grid>;
using RepresentationHandle = Larder::StrongPtr<Quilt::Representation>;

constexpr double kMostSteps = 4000000000.0;

class Stopwatch {
 public:
  /// Seconds since it was made, as by "%f".
  std::string seconds() const {
    const std::chrono::nanoseconds elapsed = std::chrono::system_clock::now() - start_;
    return std::to_string(static_cast<double>(elapsed.count()) * 1e-09);
  }

 private:
  std::chrono::system_clock::time_point start_ = std::chrono::system_clock::now();
};

Quilt::BundlePtr openOutput(const ParaBox& box) {
  Quilt::BundlePtr output(new Quilt::Bundle);
  const Quilt::BindResult bound = output->bindToNew(box.OutFile, storageFor(box));
  if (!output) {
    Larder::Console() << bound.text;
    throw RunEnd("no bundle", bound.text);
  }
  return output;
}

/// Adds the points of one source fragment to the lists of the running pass.
void assignFragment(ParaBox& box, const SourceElements& positions, std::uint32_t source,
                    PointAssignment& assignment) {
  using Heron::PhysicalSpace;
  box.SourcePoints[source] = positions.size();
  assignment.assign(
      {positions.size(),
       [&](std::uint64_t first, std::size_t count, std::vector<std::byte>& room) {
         return reinterpret_cast<const PhysicalSpace::point*>(positions.piece(first, count, room));
       }},
      source, box.Threads, box.IndexLists);
}

void assignPoints(ParaBox& box, const Quilt::Field& positions,
                  const std::vector<std::uint32_t>& rankOfSource) {
  PointAssignment assignment(box.lattice(), box.Overlap);
  box.IndexLists = IndexLists(box.share());
  std::vector<std::uint32_t> sources;
  std::vector<ElementsAhead::Source> inOrder;
  // A pass beyond the last fragment has nothing to look for.
  const bool hasTargets = box.IndexLists.share().slots() > 0;
  for (std::uint32_t source = 0; hasTargets && source < box.SourceFragments.size(); ++source) {
    const auto& fragment = box.SourceFragments[source];
    const auto creator = positions.getCreator(fragment);
    if (!creator || !assignment.mayReach(creator->extent())) continue;
    sources.push_back(source);
    inOrder.push_back({creator,
                       {Quilt::Representation::kPositions, fragment->name(),
                        &typeid(Heron::PhysicalSpace::point)}});
  }
  ElementsAhead ahead(std::move(inOrder));
  std::uint32_t reported = 0;
  for (std::size_t i = 0; i < sources.size(); ++i) {
    for (; reported <= sources[i]; ++reported) box.reportSteps("IdxList", 1);
    assignFragment(box, *ahead.get(i), sources[i], assignment);
    ahead.drop(i);
  }
  for (; reported < box.SourceFragments.size(); ++reported) box.reportSteps("IdxList", 1);
  box.IndexLists.orderBy(rankOfSource);
  box.PointsThisPass = box.IndexLists.points();
}

void runPass(ParaBox& box, const Quilt::BundlePtr& source, const GridHandle& grid,
             Quilt::BundlePtr& output, const std::string& gridName,
             const std::vector<std::uint32_t>& rankOfSource) {
  const Stopwatch assigning;
  assignPoints(box, *grid->CartesianPositions(), rankOfSource);
  box.reportMessage("Number of points for current loop: " + std::to_string(box.PointsThisPass));
  box.reportMessage("      Time for IndexList [s]:   " + assigning.seconds());
  const Stopwatch writing;
  if (const std::string failure = writeTargetFrag(box, grid, output, gridName); !failure.empty())
    throw RunEnd(failure);
  box.reportMessage("      Time for writing data [s]:   " + writing.seconds());
  box.PointsTotal += box.PointsThisPass;
  source->sync();
  ++box.Pass;
  box.IndexLists = IndexLists(PassShare(0, 1, 0));
  box.PointsThisPass = 0;
}

/// The order in which source fragments fill the targets. Those that some field has no data for come
/// last, so that the values that there are stay in step with their points.
std::vector<std::uint32_t> ranks(const ParaBox& box, const Quilt::Representation& source) {
  const std::size_t fragments = box.SourceFragments.size();
  std::vector<std::uint32_t> fields(fragments, 0);
  source.iterate([&](const Quilt::FieldID& id, const Quilt::Field& field) {
    for (std::size_t i = 0; box.isWanted(id.name()) && i < fragments; ++i)
      fields[i] += field.hasData(box.SourceFragments[i]) ? 1 : 0;
    return true;
  });
  std::vector<std::uint32_t> order(fragments);
  std::iota(order.begin(), order.end(), 0U);
  std::stable_sort(order.begin(), order.end(),
                   [&](std::uint32_t a, std::uint32_t b) { return fields[a] > fields[b]; });
  std::vector<std::uint32_t> rank(fragments);
  for (std::uint32_t place = 0; place < fragments; ++place) rank[order[place]] = place;
  return rank;
}

double stepsOf(const ParaBox& box, const Quilt::Representation& source) {
  const std::uint64_t perPass =
      box.TargetFrags.product() * source.numberOfFields() + box.SourceFragments.size();
  return std::min(kMostSteps, static_cast<double>(perPass * box.LoopsOverFrags - 1));
}

/// The points that a run works on.
struct SourceCloud {
  GridHandle grid;
  FieldHandle positions;
  RepresentationHandle representation;
};

/// \throw RunEnd if the positions are computed, as those of a uniform grid are, and not a list.
void requireList(const Quilt::Field& positions) {
  for (const auto& fragment : positions.getFragmentIDs()) {
    const auto creator = positions.getCreator(fragment);
    if (!creator || creator->size().rank() == 1) continue;
    const SourceElements::Description description{
        Quilt::Representation::kPositions, fragment->name(), &typeid(Heron::PhysicalSpace::point)};
    static_cast<void>(SourceElements(creator, description).size());
    return;  // a grid's fragments are of one kind
  }
}

/// The chosen grid's points. Whatever is wrong with them and can be found without reading them all
/// ends the run here, before there is an output. \throw RunEnd
SourceCloud findCloud(const ParaBox& box, const RefragmentationPlan& plan) {
  if (!plan.source) throw RunEnd("no bundle", "the plan has no source");
  plan.lattice.requireUsable();
  const auto ids = plan.source->getGridIdentifiers();
  const auto id = std::find_if(ids.begin(), ids.end(),
                               [&](const auto& known) { return known->equal(plan.gridName); });
  if (id == ids.end()) throw RunEnd("Grid" + plan.gridName + " does not exist");
  SourceCloud cloud;
  cloud.grid = gridAt(*plan.source, box.Time, *id);
  cloud.positions = cloud.grid ? cloud.grid->CartesianPositions() : nullptr;
  if (!cloud.positions) throw RunEnd("No positions");
  if (cloud.positions->getFragmentIDs().empty()) throw RunEnd("no fragment data");
  cloud.representation = cloud.grid->getCartesianRepresentation("");
  if (!cloud.representation) throw RunEnd("no representation");
  requireList(*cloud.positions);
  return cloud;
}

void refragment(ParaBox& box, const Quilt::BundlePtr& source, const SourceCloud& cloud,
                Quilt::BundlePtr& output, const std::string& gridName) {
  box.SourceFragments = cloud.positions->getFragmentIDs();
  box.SourcePoints.assign(box.SourceFragments.size(), 0);
  box.Steps = stepsOf(box, *cloud.representation);
  const auto rankOfSource = ranks(box, *cloud.representation);
  while (box.Pass < box.LoopsOverFrags)
    runPass(box, source, cloud.grid, output, gridName, rankOfSource);
  Larder::Console() << "\n\nHave points refragmented: "
                    << static_cast<double>(box.PointsTotal) * 1e-06 << " [Mio].";
}

/// All files that the run reads, external files of the input included.
std::vector<std::string> inputsOf(const RefragmentationPlan& plan) {
  std::vector<std::string> inputs = plan.source->sourceFiles();
  if (const auto& files = plan.parameters.files)
    inputs.insert(inputs.end(), files->begin(), files->end());
  return inputs;
}

/// The output file or, if one of the external files is an input, that one.
std::string fileAtRisk(const RefragmentationPlan& plan, const std::vector<std::string>& inputs) {
  for (const std::string& external : externalFilesOf(plan))
    for (const std::string& input : inputs)
      if (isSameFile(input, external)) return external;
  return plan.parameters.outFile;
}

void carryOut(const RefragmentationPlan& plan,
              const Larder::StrongPtr<Larder::LoaderProgress>& progress) {
  ParaBox box(plan, progress);
  const SourceCloud cloud = findCloud(box, plan);
  const std::vector<std::string> inputs = inputsOf(plan);
  const std::string atRisk = fileAtRisk(plan, inputs);
  Quilt::BundlePtr output = openOutput(box);
  RunOutput outcome(output, atRisk, inputs);
  output->setAttribute("Refragmentation: ", Larder::singleValue(box.Summary));
  output->setAttribute("Version:", Larder::singleValue(std::string("0.99")));
  refragment(box, plan.source, cloud, output, plan.gridName);
  outcome.complete();
}

}  // namespace

std::string runRefragmentation(const RefragmentationPlan& plan,
                               const Larder::StrongPtr<Larder::LoaderProgress>& progress) {
  return reportingExceptions(plan.parameters.outFile, [&]() -> std::string {
    try {
      carryOut(plan, progress);
      return {};
    } catch (const RunEnd& end) {
      reportFailure(end.reason());
      return end.what();
    } catch (const Quilt::StorageError& error) {
      reportFailure(error.what());
      return error.what();
    }
  });
}

}  // namespace Recast
