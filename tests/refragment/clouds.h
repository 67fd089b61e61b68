#pragma once

#include <map>
#include <string>
#include <vector>

#include "support/bundles.h"
#include "support/console_capture.h"
#include "support/temp_folder.h"

#include "recast/refragment/refragmentation_plan.h"

/// Point clouds as input of a refragmentation, and what came out.
namespace RefragmentTest {

using Point = Heron::PhysicalSpace::point;
using TestSupport::ConsoleCapture;
using TestSupport::TempFolder;

inline constexpr const char* kGrid = "Cloud";

template <class T>
Larder::StrongPtr<Quilt::MemArray<1, T>, Larder::Cacheable> arrayOf(std::vector<T> values) {
  const Quilt::MultiIndex<1> size(values.size());
  return Larder::makeStrong<Quilt::MemArray<1, T>>(
      Larder::StrongPtr<Larder::ChunkBase>(new Larder::Chunk<T>(std::move(values))), size, nullptr);
}

/// A bundle file under construction with one grid of points.
class CloudFile {
 public:
  /// \param compression as of a refragmentation.
  explicit CloudFile(const std::string& path, const std::string& grid = kGrid, double time = 0.0,
                     int compression = -1)
      : bundle_(new Quilt::Bundle) {
    const Quilt::StorageHandle storage(new Quilt::StorageTransformations);
    storage->compressionMode = compression;
    if (bundle_->bindToNew(path, storage).number != 0)
      throw std::runtime_error("can't write " + path);
    grid_ = (*(*bundle_)[time])[grid];
    representation_ = grid_->makeCartesianRepresentation(3, "", 0);
  }

  Larder::StrongPtr<Quilt::Field> field(const std::string& name) const {
    return (*representation_)[name].field();
  }
  template <class T>
  void add(const std::string& fieldName, const std::string& fragment, std::vector<T> values) const {
    const auto target = field(fieldName);
    target->setPersistentData(arrayOf(std::move(values)), target->makeFragmentID(fragment),
                              Larder::Cache::MemCache(), "");
  }
  const Quilt::BundlePtr& bundle() const { return bundle_; }
  const Larder::StrongPtr<Quilt::Grid>& grid() const { return grid_; }

 private:
  Quilt::BundlePtr bundle_;
  Larder::StrongPtr<Quilt::Grid> grid_;
  Larder::StrongPtr<Quilt::Representation> representation_;
};

/// Plans and runs. \return the text of the first that failed.
inline std::string refragment(const Recast::RefragmentationParameters& parameters,
                              const Quilt::ProgressHandle& progress = nullptr) {
  Recast::RefragmentationPlan plan;
  const std::string failure = planRefragmentation(parameters, plan);
  return failure.empty() ? runRefragmentation(plan, progress) : failure;
}

inline Recast::RefragmentationParameters parametersFor(std::vector<std::string> files,
                                                       const std::string& output) {
  Recast::RefragmentationParameters parameters;
  parameters.files = TestSupport::stringList(std::move(files));
  parameters.outFile = output;
  return parameters;
}

/// Makes the lattice start at `lower` and end at or behind `upper`.
inline void fixBox(Recast::RefragmentationParameters& parameters, const Point& lower,
                   const Point& upper) {
  parameters.bbox = Larder::makeStrong<Heron::BoundingBox>(lower, upper);
  parameters.useBBoxMin = parameters.useBBoxMax = true;
}

/// The values of the fragments of a field that have data, by the fragments' names.
template <class T>
std::map<std::string, std::vector<T>> valuesOf(const Quilt::BundlePtr& bundle,
                                               const std::string& field) {
  std::map<std::string, std::vector<T>> values;
  const auto found = TestSupport::findField(*bundle, kGrid, field);
  if (!found) return values;
  for (const auto& fragment : found->getFragmentIDs())
    if (found->getCreator(fragment))
      values[fragment->name()] = TestSupport::fragmentValues<T>(found, fragment->name());
  return values;
}

}  // namespace RefragmentTest
