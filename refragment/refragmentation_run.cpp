#include <algorithm>
#include <chrono>
#include <future>
#include <numeric>

#include "recast/larder/console.h"
#include "recast/refragment/para_box.h"
#include "recast/refragment/parallel_loop.h"
#include "recast/refragment/point_assignment.h"
#include "recast/refragment/refragment_storage.h"
#include "recast/refragment/refragmentation_plan.h"
#include "recast/refragment/run_end.h"
#include "recast/refragment/source_arrays.h"
#include "recast/refragment/source_cloud.h"
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

/// Gives the positions of one source fragment after the other, and reads the next ones meanwhile.
class PositionsAhead {
 public:
  PositionsAhead(const ParaBox& box, const Quilt::Field& positions,
                 const PointAssignment& assignment)
      : box_(box), positions_(positions), assignment_(assignment) {
    readNext();
  }

  /// \return false behind the last fragment that has positions within reach of the lattice.
  bool next(std::uint32_t& source, Quilt::MemBaseHandle& array) {
    if (!reading_.valid()) return false;
    source = next_ - 1;
    array = reading_.get();
    readNext();
    return true;
  }

 private:
  void readNext() {
    while (next_ < box_.SourceFragments.size()) {
      const auto creator = positions_.getCreator(box_.SourceFragments[next_++]);
      if (!creator || !assignment_.mayReach(creator->extent())) continue;
      reading_ = std::async(std::launch::async, [creator] {
        const std::lock_guard lock(dataModelLock());
        return fetchData(creator);
      });
      return;
    }
  }

  const ParaBox& box_;
  const Quilt::Field& positions_;
  const PointAssignment& assignment_;
  std::uint32_t next_ = 0;
  std::future<Quilt::MemBaseHandle> reading_;
};

/// Adds the points of one source fragment to the lists of the running pass.
void assignFragment(ParaBox& box, const Quilt::MemBaseHandle& array, std::uint32_t source,
                    PointAssignment& assignment) {
  const auto& fragment = box.SourceFragments[source];
  std::vector<std::byte> own;
  const auto bytes = elementsOf(array, typeid(Heron::PhysicalSpace::point),
                                Quilt::Representation::kPositions, fragment->name(), own);
  box.SourcePoints[source] = array->nElements();
  assignment.assign({reinterpret_cast<const Heron::PhysicalSpace::point*>(bytes.data()),
                     static_cast<std::size_t>(array->nElements())},
                    source, box.IndexLists);
}

void assignPoints(ParaBox& box, const Quilt::Field& positions,
                  const std::vector<std::uint32_t>& rankOfSource) {
  PointAssignment assignment(box.lattice(), box.Overlap);
  box.IndexLists = IndexLists(box.share());
  std::uint32_t reported = 0;
  // A pass beyond the last fragment has nothing to look for.
  if (box.IndexLists.share().slots() > 0) {
    PositionsAhead ahead(box, positions, assignment);
    Quilt::MemBaseHandle array;
    for (std::uint32_t source = 0; ahead.next(source, array);) {
      for (; reported <= source; ++reported) box.reportSteps("IdxList", 1);
      assignFragment(box, array, source, assignment);
    }
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
    // The release of the bundle would do it too, and could tell nobody but the console.
    return output->complete().text;
  } catch (const RunEnd& end) {
    return end.what();
  } catch (const Quilt::StorageError& error) {
    return error.what();
  }
}

}  // namespace Recast
