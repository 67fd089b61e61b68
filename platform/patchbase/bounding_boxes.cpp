#include "recast/patchbase/bounding_boxes.h"

namespace Quilt {
namespace {

/// The extent that the creator knows, or that its array shows.
DataExtent knownExtent(CreativeArrayBase& creator, int mode) {
  DataExtent extent = creator.extent();
  if (extent.kind != DataExtent::Kind::None) return extent;
  const MemBaseHandle array = creator.create(mode == OnlyIfKnown);
  if (!array) return extent;
  extent = extentOf(*array);
  creator.setExtent(extent);
  return extent;
}

BoxHandle attachedBox(CreativeArrayBase& creator, int mode) {
  if (auto present = creator.findInterface<Heron::BoundingBox>()) return present;
  const DataExtent extent = knownExtent(creator, mode);
  if (extent.kind != DataExtent::Kind::Box) return nullptr;
  const auto& low = extent.minimum;
  const auto& high = extent.maximum;
  const BoxHandle box(
      new Heron::BoundingBox({low[0], low[1], low[2]}, {high[0], high[1], high[2]}));
  creator.addInterface(box);
  return box;
}

}  // namespace

BoxHandle ExpandBBox(const BoxHandle& box, const CreatorHandle& creator, int mode) {
  const BoxHandle own = creator ? attachedBox(*creator, mode) : nullptr;
  if (!own) return box;
  const BoxHandle wide = box ? box : BoxHandle(new Heron::BoundingBox);
  wide->expand(*own);
  return wide;
}

BoxHandle getFragmentBBox(const Larder::StrongPtr<FragmentID>& fragment,
                          const CreatorHandle& creator, const Field& positions) {
  if (creator)
    if (auto attached = creator->findInterface<Heron::BoundingBox>()) return attached;
  return ExpandBBox(nullptr, positions.getCompatibleCreator(fragment), CreateIfMissing);
}

bool expandBoundingBox(const Field& field, BoxHandle& box) {
  struct Widen : FragmentIterator {
    explicit Widen(BoxHandle& target) : box(target) {}
    bool apply(const Larder::StrongPtr<FragmentID>&, const CreatorHandle& creator) override {
      const BoxHandle own = attachedBox(*creator, CreateIfMissing);
      if (!own) {
        // A fragment without points, or of NaN alone, has nothing to add.
        const MemBaseHandle array = creator->get();
        return array && array->getType() == typeid(Heron::PhysicalSpace::point);
      }
      if (!box) box = BoxHandle(new Heron::BoundingBox);
      box->expand(*own);
      return true;
    }
    BoxHandle& box;
  } widen(box);
  return field.iterate(widen, nullptr);
}

}  // namespace Quilt
