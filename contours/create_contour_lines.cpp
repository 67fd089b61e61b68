#include "recast/contours/create_contour_lines.h"

#include "recast/contours/contour_field.h"
#include "recast/trelliskinds/grid_kinds.h"

namespace Recast {

CreateContourLinesFromUniform::CreateContourLinesFromUniform() : OutBundle(new Quilt::Bundle) {}

std::string CreateContourLinesFromUniform::printSecondary() {
  const auto number = [](float value) { return std::to_string(static_cast<double>(value)); };
  std::string text = "\nStep: " + number(Step) + " ";
  text += UseSliceField ? "\nSlice Field: " + SliceField + " " : "\nSlice Field is not used ";
  text += GlobalSlice ? "\nGlobalSlice(s) From: " + number(GlobalSlice->minimum()) +
                            " to: " + number(GlobalSlice->maximum())
                      : "\nGlobalSlice(s) taken from input file ";
  if (OnlyBorderLine) text += "\nOnly extract border line .";
  return text;
}

namespace {

/// Contours the first grid of the slice that is selected and of the right kind.
void contourSlice(CreateContourLinesFromUniform& converter, const Quilt::Slice& slice,
                  double time) {
  slice.accessSlice();
  for (const auto& [id, grid] : slice) {
    if (!id || !grid || !converter.UseThisGrid(id->name())) continue;
    if (!Quilt::isFragmentedUniformCartesianGrid().checkGrid(*grid)) {
      converter.Errors.push_back("This is not a fragmented uniform cartesian grid");
      continue;
    }
    const auto representation = grid->getCartesianRepresentation("");
    if (representation)
      representation->iterate([&](const Quilt::FieldID& fieldID, const Quilt::Field& field) {
        return contourField(converter, *representation, time, fieldID, field);
      });
    else
      converter.Errors.push_back("No representation");
    return;
  }
}

}  // namespace

int CreateContourLinesFromUniform::Run() {
  if (!Bundle) {
    Errors.push_back("bundleptr is null");
    return 0;
  }
  if (!OutBundle) {
    Errors.push_back("the output bundle is null or not valid");
    return 1;
  }
  printParameters();
  for (const auto& [time, slice] : *Bundle) {
    if (!slice) continue;
    slice->accessSlice();
    if (!UseThisTime(time)) continue;
    contourSlice(*this, *slice, time);
    break;
  }
  return 1;
}

}  // namespace Recast
