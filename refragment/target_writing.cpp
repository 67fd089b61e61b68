#include "recast/refragment/target_writing.h"

#include "recast/fragmented_grids/regularly_fragmented_grid.h"
#include "recast/refragment/field_writer.h"

namespace Recast {
namespace {

using FieldHandle = Larder::StrongPtr<Quilt::Field>;

/// Carries the fields of the source over, one after the other.
class WriteFieldsToTarget : public Quilt::FieldIterator {
 public:
  WriteFieldsToTarget(const Larder::StrongPtr<Quilt::Representation>& target, ParaBox& box)
      : target_(target), box_(box) {}

  bool apply(const Larder::StrongPtr<Quilt::FieldID>& id, const FieldHandle& field) override {
    if (id->name() != Quilt::Representation::kPositions && box_.isWanted(id->name()))
      write(id->name(), field);
    return true;
  }

  void write(const std::string& name, const FieldHandle& source) {
    writeField(box_, name, source, targetField(name));
  }

 private:
  FieldHandle targetField(const std::string& name) {
    if (const FieldHandle present = target_->findField(target_->findFieldID(name))) {
      current_ = present;
      present->addInterface(box_.BBox);
      return present;
    }
    // All fields share the identifiers of the positions.
    const auto fresh = Quilt::RegularlyFragmentedField<3>::newField(box_.TargetFrags, current_, "");
    (*target_)[name] = fresh;
    return fresh;
  }

  const Larder::StrongPtr<Quilt::Representation>& target_;
  ParaBox& box_;
  FieldHandle current_;
};

}  // namespace

std::string writeTargetFrag(ParaBox& box, const Larder::StrongPtr<Quilt::Grid>& sourceGrid,
                            Quilt::BundlePtr& outputBundle, const std::string& gridName) {
  const auto slice = (*outputBundle)[box.Time];
  const auto grid = slice->newGrid(gridName);
  Quilt::RegularlyFragmentedGridWithCartesianVertices<3>::create(grid, box.TargetFrags, false);
  const auto target = grid->makeCartesianRepresentation(3, "", 0);
  const auto source = sourceGrid->getCartesianRepresentation("");
  const auto positionsID = source->findFieldID(Quilt::Representation::kPositions);
  if (!positionsID) return "broken PosiiontsID";
  const auto positions = source->Positions();
  if (!positions) return "broken PosiiontsFiled";
  WriteFieldsToTarget writer(target, box);
  writer.write(positionsID->name(), positions);
  source->iterate(writer);
  return {};
}

}  // namespace Recast
