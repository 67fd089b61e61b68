#include "recast/columns/my_storage.h"

#include <algorithm>

#include "recast/perch/fixed_array.h"
#include "recast/trellis/representation.h"

namespace Recast {
namespace {

constexpr int kHighestLevel = 12;

bool holdsPoints(const Larder::StrongPtr<Larder::ChunkBase>& chunk) {
  if (!chunk) return false;
  const std::type_info& type = chunk->getType();
  return type == typeid(Heron::PhysicalSpace::point) ||
         type == typeid(Heron::Coordinates<Heron::Cartesian3D, float>::point);
}

}  // namespace

MyStorage::MyStorage(int level) {
  if (level < 0) return;
  singlePrecision = numericalShift = compression = true;
  if (level == 0)
    compressionMode = 0;
  else
    compressionLevel = std::min(level, kHighestLevel);
}

bool MyStorage::WriteAsSinglePrecision(const std::string& fieldName,
                                       const Larder::StrongPtr<Larder::ChunkBase>& chunk) const {
  return singlePrecision && fieldName == Quilt::Representation::kPositions && holdsPoints(chunk);
}

bool MyStorage::EnableNumericalShift(const std::string&,
                                     const Larder::StrongPtr<Larder::ChunkBase>& chunk) const {
  return numericalShift && holdsPoints(chunk);
}

bool MyStorage::isSaveableField(const Quilt::FieldID& fieldID, const Quilt::Field&,
                                const Larder::WeakPtrImpl<Quilt::Grid>&, const std::string&, double,
                                const std::string&, const Quilt::SkeletonID&) const {
  return !FieldsToSave || FieldsToSave->contains(fieldID.name());
}

}  // namespace Recast
