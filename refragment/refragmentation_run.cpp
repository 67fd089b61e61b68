#include <algorithm>
#include <chrono>
#include <numeric>

#include "recast/larder/console.h"
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
  output->bindToNew(box.OutFile, storageFor(box));
  if (!output) throw RunEnd("no bundle");
  output->setAttribute("Refragmentation: ", Larder::singleValue(box.Summary));
  output->setAttribute("Version:", Larder::singleValue(std::string("0.99")));
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

void refragment(ParaBox& box, const Quilt::BundlePtr& source, const GridHandle& grid,
                Quilt::BundlePtr& output, const std::string& gridName) {
  const FieldHandle positions = grid ? grid->CartesianPositions() : nullptr;
  if (!positions) throw RunEnd("No positions");
  box.SourceFragments = positions->getFragmentIDs();
  box.SourcePoints.assign(box.SourceFragments.size(), 0);
  if (box.SourceFragments.empty()) throw RunEnd("no fragment data");
  const RepresentationHandle representation = grid->getCartesianRepresentation("");
  if (!representation) throw RunEnd("no representation");
  box.Steps = stepsOf(box, *representation);
  const auto rankOfSource = ranks(box, *representation);
  while (box.Pass < box.LoopsOverFrags) runPass(box, source, grid, output, gridName, rankOfSource);
  Larder::Console() << "\n\nHave points refragmented: "
                    << static_cast<double>(box.PointsTotal) * 1e-06 << " [Mio].";
}

}  // namespace

std::string runRefragmentation(const RefragmentationPlan& plan,
                               const Larder::StrongPtr<Larder::LoaderProgress>& progress) {
  try {
    ParaBox box(plan, progress);
    Quilt::BundlePtr output = openOutput(box);
    for (const auto& id : plan.source->getGridIdentifiers())
      if (id->equal(plan.gridName))
        refragment(box, plan.source, gridAt(*plan.source, box.Time, id), output, plan.gridName);
    output->complete();
    return {};
  } catch (const RunEnd& end) {
    return end.what();
  } catch (const Quilt::StorageError& error) {
    return error.what();
  }
}

}  // namespace Recast
