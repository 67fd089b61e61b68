#include "recast/refragment/field_writer.h"

#include <cmath>
#include <mutex>
#include <type_traits>

#include "recast/refragment/parallel_loop.h"
#include "recast/refragment/source_arrays.h"
#include "recast/refragment/spares.h"
#include "recast/refragment/target_arrays.h"
#include "recast/swath/cell_size.h"

namespace Recast {
namespace {

constexpr const char* kWriteStep = "Write";
/// Fewer values than this are gathered before another thread has woken up.
constexpr std::uint64_t kWorthASecondThread = 1024;
/// Targets of fewer bytes on average are small.
constexpr std::uint64_t kSmallTargetBytes = 4096;

/// The one lock of the process that workers hold while they hand a filled array over.
std::mutex& dataModelLock() {
  static std::mutex mutex;
  return mutex;
}

/// Per source fragment whether the field has no data for it.
std::vector<bool> absentIn(const Quilt::Field& field, const ParaBox& box) {
  std::vector<bool> absent;
  absent.reserve(box.SourceFragments.size());
  for (const auto& fragment : box.SourceFragments) absent.push_back(!field.hasData(fragment));
  return absent;
}

/// One field in one pass.
///
/// The workers go through the source, segment by segment, so that every source array is read once
/// and only a few are in memory.
template <class T>
class FieldWriter {
 public:
  FieldWriter(ParaBox& box, const std::string& name, const Larder::StrongPtr<Quilt::Field>& source,
              const Larder::StrongPtr<Quilt::Field>& target)
      : box_(box),
        isPositions_(name == Quilt::Representation::kPositions),
        target_(target),
        absent_(absentIn(*source, box)),
        available_(box.IndexLists.layOut(absent_)),
        sources_(box, name, *source, typeid(T), absent_),
        sizes_(box.IndexLists.share().slots()) {}

  void write() {
    std::uint64_t written = 0;
    for (std::uint32_t slot = 0; slot < sizes_.size(); ++slot) {
      const auto size = static_cast<std::uint32_t>(box_.IndexLists.count(slot));
      if (size <= box_.FragLow) continue;
      sizes_[slot] = size;
      ++written;
    }
    box_.reportSteps(kWriteStep, box_.TargetFrags.product() - written);
    if (box_.IndexLists.points() * sizeof(T) < written * kSmallTargetBytes)
      writeTogether();
    else
      writeEach();
  }

 private:
  void writeEach() {
    TargetArrays<T> targets(sizes_, available_);
    distribute(targets);
    // What no source fragment has data for stays as it was made.
    for (std::uint32_t slot = 0; slot < sizes_.size(); ++slot)
      if (available_[slot] == 0 && targets.elements(slot) != nullptr)
        handOver(slot, targets.take(slot));
  }

  void writeTogether() {
    TargetBlock<T> targets(sizes_);
    distribute(targets);
    // One thread does it: two would wait for each other all the time.
    for (std::uint32_t slot = 0; slot < sizes_.size(); ++slot)
      if (sizes_[slot] > 0) handOver(slot, targets.take(slot));
  }

  template <class Targets>
  void distribute(Targets& targets) {
    const auto& segments = box_.IndexLists.segments();
    const int threads = box_.IndexLists.points() < kWorthASecondThread ? 1 : box_.Threads;
    forEachInParallel(threads, segments.size(), [&](std::uint64_t i) {
      distribute(segments[i], threads == 1 ? 0 : startFor(i, segments[i].numberOfRuns()), targets);
    });
  }

  /// The run that a segment begins with: threads that begin with the same target would make all
  /// targets hand in hand, each waiting for the other.
  static std::size_t startFor(std::uint64_t segment, std::size_t runs) {
    constexpr double kGoldenSection = 0.6180339887498949;
    const double turns = static_cast<double>(segment) * kGoldenSection;
    return static_cast<std::size_t>((turns - std::floor(turns)) * static_cast<double>(runs));
  }

  /// Goes through the runs of a segment from number `start` on, and then through those before.
  template <class Targets>
  void distribute(const IndexLists::Segment& segment, std::size_t start, Targets& targets) {
    if (absent_[segment.source]) return;
    const auto room = rooms_.borrow();
    const SourceArrays::Use use(sources_, segment, *room);
    const T* from = reinterpret_cast<const T*>(use.elements());
    const std::size_t runs = segment.numberOfRuns();
    for (std::size_t k = 0; k < runs; ++k) {
      const std::size_t i = k + start - (k + start < runs ? 0 : runs);
      if constexpr (std::is_same_v<Targets, TargetBlock<T>>) prefetchFor(segment, i, targets);
      const IndexLists::Run& run = segment.runs[i];
      T* to = targets.elements(run.slot);
      if (to == nullptr) continue;
      to += run.start;
      const auto indices = segment.indicesOf(i);
      use.require(indices);
      for (const std::uint16_t index : indices) *to++ = from[index];
      if (targets.came(run.slot, static_cast<std::uint32_t>(indices.size())))
        handOver(run.slot, targets.take(run.slot));
    }
  }

  /// With very many targets a run is short, and it is the way to its target that takes the time.
  static void prefetchFor(const IndexLists::Segment& segment, std::size_t run,
                          const TargetBlock<T>& targets) {
    constexpr std::size_t kTargetAhead = 16;
    constexpr std::size_t kElementsAhead = 8;
    if (run + kTargetAhead >= segment.numberOfRuns()) return;
    targets.prefetch(segment.runs[run + kTargetAhead].slot);
    const IndexLists::Run& near = segment.runs[run + kElementsAhead];
    targets.prefetch(near.slot, near.start);
  }

  void handOver(std::uint32_t slot, const Quilt::MemBaseHandle& array) {
    {
      const std::lock_guard lock(dataModelLock());
      const auto fragment = target_->getFragmentIDCollection()->findFragmentID(
          box_.IndexLists.share().fragmentOf(slot));
      const auto creator =
          target_->setPersistentData(array, fragment, Larder::Cache::MemCache(), "");
      if (isPositions_) Swath::setCellSizeAttribute(creator, -1.0);
      target_->letGo(fragment);  // nobody reads the output again
    }
    box_.reportSteps(kWriteStep, 1);
  }

  ParaBox& box_;
  bool isPositions_;
  Larder::StrongPtr<Quilt::Field> target_;
  std::vector<bool> absent_;
  const std::vector<std::uint32_t>& available_;
  SourceArrays sources_;
  Spares<std::vector<std::byte>> rooms_;  // for the elements of a segment
  std::vector<std::uint32_t> sizes_;      // by slot, 0 for a target that is not written
};

/// Writes the field if its elements are of type T.
template <class T>
bool writeAs(ParaBox& box, const std::string& name, const Larder::StrongPtr<Quilt::Field>& source,
             const Larder::StrongPtr<Quilt::Field>& target) {
  if (!source->getElementType()->isType(typeid(T))) return false;
  FieldWriter<T>(box, name, source, target).write();
  return true;
}

template <class... T>
bool writeAsOneOf(ParaBox& box, const std::string& name,
                  const Larder::StrongPtr<Quilt::Field>& source,
                  const Larder::StrongPtr<Quilt::Field>& target) {
  return source->getElementType() && (writeAs<T>(box, name, source, target) || ...);
}

}  // namespace

void writeField(ParaBox& box, const std::string& name,
                const Larder::StrongPtr<Quilt::Field>& source,
                const Larder::StrongPtr<Quilt::Field>& target) {
  const bool known =
      writeAsOneOf<float, double, long double, unsigned char, unsigned short, unsigned int,
                   unsigned long long, int, Heron::PhysicalSpace::point,
                   Heron::PhysicalSpace::vector, Heron::Colour>(box, name, source, target);
  if (!known) box.reportSteps(kWriteStep, box.TargetFrags.product());
}

}  // namespace Recast
