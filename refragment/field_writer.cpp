#include "recast/refragment/field_writer.h"

#include <array>
#include <atomic>
#include <mutex>

#include "recast/refragment/parallel_loop.h"
#include "recast/refragment/source_arrays.h"
#include "recast/swath/cell_size.h"
#include "recast/typed_arrays/mem_array.h"

namespace Recast {
namespace {

constexpr const char* kWriteStep = "Write";
/// Fewer values than this are gathered before another thread has woken up.
constexpr std::uint64_t kWorthASecondThread = 1024;

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
/// and only a few are in memory. A target array comes into being with its first points and leaves
/// with its last ones: a cloud whose source fragments are compact has few of them in memory at
/// once, and none has more than those of the pass.
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
        sources_(box, name, source, typeid(T), absent_),
        arrays_(box.IndexLists.share().slots()) {}

  void write() {
    std::uint64_t written = 0;
    for (std::uint32_t slot = 0; slot < arrays_.size(); ++slot) {
      arrays_[slot].missing = available_[slot];
      if (isWritten(slot)) ++written;
    }
    box_.reportSteps(kWriteStep, box_.TargetFrags.product() - written);
    const auto& segments = box_.IndexLists.segments();
    const int threads = box_.IndexLists.points() < kWorthASecondThread ? 1 : box_.Threads;
    forEachInParallel(threads, segments.size(), [&](std::uint64_t i) { distribute(segments[i]); });
    // What no source fragment has data for stays as it was made.
    for (std::uint32_t slot = 0; slot < arrays_.size(); ++slot)
      if (isWritten(slot) && available_[slot] == 0) {
        elements(slot);
        handOver(slot);
      }
  }

 private:
  using Array = Quilt::MemArray<1, T>;
  struct TargetArray {
    std::atomic<T*> elements{nullptr};
    std::atomic<std::uint32_t> missing{0};  // values still to come
    Larder::StrongPtr<Array, Larder::Cacheable> array;
  };

  bool isWritten(std::uint32_t slot) const { return box_.IndexLists.count(slot) > box_.FragLow; }

  void distribute(const IndexLists::Segment& segment) {
    if (absent_[segment.source]) return;
    const SourceArrays::Use use(sources_, segment.source);
    const T* from = reinterpret_cast<const T*>(use.elements()) + segment.firstPoint;
    for (std::size_t i = 0; i < segment.numberOfRuns(); ++i) {
      const IndexLists::Run& run = segment.runs[i];
      if (!isWritten(run.slot)) continue;
      const auto indices = segment.indicesOf(i);
      T* to = elements(run.slot) + run.start;
      for (const std::uint16_t index : indices) *to++ = from[index];
      const auto size = static_cast<std::uint32_t>(indices.size());
      if (arrays_[run.slot].missing.fetch_sub(size) == size) handOver(run.slot);
    }
  }

  /// The elements of a target's array, which is made at the first request.
  T* elements(std::uint32_t slot) {
    TargetArray& target = arrays_[slot];
    if (T* present = target.elements.load()) return present;
    const std::lock_guard lock(making_[slot % making_.size()]);
    if (T* present = target.elements.load()) return present;
    target.array =
        Larder::makeStrong<Array>(Quilt::MultiIndex<1>(box_.IndexLists.count(slot)), nullptr);
    target.elements = target.array->data;
    return target.array->data;
  }

  void handOver(std::uint32_t slot) {
    const auto array = std::move(arrays_[slot].array);
    auto& cache = Larder::Cache::MemCache();
    {
      const std::lock_guard lock(dataModelLock());
      const auto fragment = target_->getFragmentIDCollection()->findFragmentID(
          box_.IndexLists.share().fragmentOf(slot));
      const auto creator = target_->setPersistentData(array, fragment, cache, "");
      if (isPositions_) Swath::setCellSizeAttribute(creator, -1.0);
      // Nobody reads the output again: the cache is for what is read.
      creator->enableCaching(false);
      cache.drop(*array);
    }
    box_.reportSteps(kWriteStep, 1);
  }

  ParaBox& box_;
  bool isPositions_;
  Larder::StrongPtr<Quilt::Field> target_;
  std::vector<bool> absent_;
  const std::vector<std::uint32_t>& available_;
  SourceArrays sources_;
  std::vector<TargetArray> arrays_;  // by slot
  std::array<std::mutex, 64> making_;
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
