#include "recast/columns/column_fields.h"

#include "recast/grid_lookups/string_util.h"
#include "recast/larder/console.h"
#include "recast/patchbase/bounding_boxes.h"
#include "recast/swath/cell_size.h"

namespace Recast {
namespace {

constexpr double kUnknownCellSize = -1.0;

/// What is to be stored for `array`; null for nothing.
Quilt::MemBaseHandle manipulated(const Quilt::MemBaseHandle& array, std::string& name,
                                 Quilt::Field& field, const std::string& fileName,
                                 const ManipulateArray& manipulate) {
  if (!manipulate) return array;
  Quilt::MemBaseHandle result = manipulate(*array, name, field, fileName);
  if (!result)
    Larder::Console() << "convertASCIItoQ8: Warning! Can not save FieldName within "
                         "manipulate-lambdafunc: "
                      << name;
  return result;
}

}  // namespace

template <class T>
bool saveColumnFragment(Larder::StrongPtr<Larder::Chunk<T>, Larder::ChunkBase>& chunk,
                        std::string& name, Quilt::Representation& representation,
                        unsigned int fragmentNumber, std::string& fileName,
                        const ManipulateArray& manipulate) {
  const Larder::StrongPtr<Quilt::Field> field = representation[name];
  if (!field || !chunk) return false;
  const auto fragment = field->makeFragmentID(Larder::StringUtil::basename(fileName) + "_" +
                                              std::to_string(fragmentNumber));
  const Quilt::MemBaseHandle array(
      new Quilt::MemArray<1, T>(chunk, Quilt::MultiIndex<1>(chunk->size()), nullptr));
  if (!array || array->nElements() == 0) return false;
  if (const auto stored = manipulated(array, name, *field, fileName, manipulate))
    field->setPersistentData(stored, fragment, Larder::Cache::MemCache(), "");
  if constexpr (std::is_same_v<T, Heron::PhysicalSpace::point>) {
    if (const auto creator = field->getCreator(fragment)) {
      Swath::setCellSizeAttribute(creator, kUnknownCellSize);
      Quilt::ExpandBBox(nullptr, creator, Quilt::CreateIfMissing);
    }
  }
  return true;
}

#define RECAST_INSTANCE(T)                                                                  \
  template bool saveColumnFragment(Larder::StrongPtr<Larder::Chunk<T>, Larder::ChunkBase>&, \
                                   std::string&, Quilt::Representation&, unsigned int,      \
                                   std::string&, const ManipulateArray&);
RECAST_INSTANCE(Heron::PhysicalSpace::point)
RECAST_INSTANCE(Heron::PhysicalSpace::vector)
RECAST_INSTANCE(double)
RECAST_INSTANCE(float)
RECAST_INSTANCE(int)
RECAST_INSTANCE(unsigned char)
RECAST_INSTANCE(unsigned short)
RECAST_INSTANCE(unsigned int)
RECAST_INSTANCE(Heron::Colour)
#undef RECAST_INSTANCE

}  // namespace Recast
