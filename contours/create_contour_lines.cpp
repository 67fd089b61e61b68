#include "recast/contours/create_contour_lines.h"

#include <algorithm>

#include "recast/contours/contour_field.h"
#include "recast/recastbase/run_report.h"
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

int runOnce(CreateContourLinesFromUniform& converter) {
  if (!converter.Bundle) {
    converter.Errors.push_back("bundleptr is null");
    return 0;
  }
  if (!converter.OutBundle) {
    converter.Errors.push_back("the output bundle is null or not valid");
    return 1;
  }
  converter.printParameters();
  for (const auto& [time, slice] : *converter.Bundle) {
    if (!slice) continue;
    slice->accessSlice();
    if (!converter.UseThisTime(time)) continue;
    contourSlice(converter, *slice, time);
    break;
  }
  return 1;
}

}  // namespace

bool CreateContourLinesFromUniform::hasLines() const {
  if (!OutBundle) return false;
  return std::any_of(OutBundle->begin(), OutBundle->end(), [](const auto& entry) {
    return static_cast<bool>((*entry.second)(kContourGrid));
  });
}

int CreateContourLinesFromUniform::Run() {
  return reportingExceptions(OutputFile, [this] {
    const std::size_t errorsBefore = Errors.size();
    const int status = runOnce(*this);
    const bool made = hasLines();
    for (std::size_t n = errorsBefore; n < Errors.size(); ++n)
      made || n + 1 < Errors.size() ? reportNotice(Errors[n]) : reportFailure(Errors[n]);
    if (!made && Errors.size() == errorsBefore)
      reportFailure(OutputFile + ": no contour lines were found");
    return status;
  });
}

}  // namespace Recast
