#include "recast/sheaf/storage_transformations.h"

#include <algorithm>
#include <filesystem>

namespace Quilt {

bool StorageTransformations::SkipStorage(const std::string&) const {
  return false;
}

FilterSettings StorageTransformations::getFilterSettings(const std::string&) const {
  FilterSettings settings;
  if (!compression) return settings;
  if (compressionLevel > 0)
    settings.level = std::min(compressionLevel, 12);
  else if (compressionMode == 0)
    settings.level = 1;
  else if (compressionMode == 1)
    settings.level = 9;
  return settings;
}

FilterSettings StorageTransformations::getFilterSettings(
    const std::string& fieldName, const Larder::StrongPtr<Larder::ChunkBase>&) const {
  return getFilterSettings(fieldName);
}

bool StorageTransformations::isSaveableTime(double) const {
  return true;
}

bool StorageTransformations::WriteAsSinglePrecision(
    const std::string&, const Larder::StrongPtr<Larder::ChunkBase>&) const {
  return false;
}

bool StorageTransformations::EnableNumericalShift(
    const std::string&, const Larder::StrongPtr<Larder::ChunkBase>&) const {
  return false;
}

bool StorageTransformations::ComputeRangeAttributeOnWriting(const std::string&) const {
  return true;
}

std::pair<std::string, std::string> StorageTransformations::getExternalLocation(
    double, const std::string&, const SkeletonID&, const std::string&, const std::string&) const {
  return {};
}

std::string StorageTransformations::getExternalLocationPrefix() const {
  return {};
}

bool StorageTransformations::setFieldPacking(const std::string&, std::size_t fragments) const {
  return fragments > 10000;
}

std::string StorageTransformations::getExternalFileReference(
    const std::string& mainFile, const std::string& externalFile) const {
  const auto folder = std::filesystem::absolute(mainFile).parent_path();
  return std::filesystem::absolute(externalFile).lexically_relative(folder).string();
}

std::size_t StorageTransformations::computeChunkSize(const std::string&) const {
  return std::size_t{1} << 20;
}

bool StorageTransformations::isSaveableField(const FieldID&, const Field&,
                                             const Larder::WeakPtrImpl<Grid>&, const std::string&,
                                             double, const std::string&, const SkeletonID&) const {
  return true;
}

bool StorageTransformations::isSaveableFragment(const FieldID&, const FragmentID&) const {
  return true;
}

void StorageTransformations::isSaved(const FieldID&) const {}

}  // namespace Quilt
