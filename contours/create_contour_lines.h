#pragma once

#include <string>

#include "recast/patchops/data_range.h"
#include "recast/recastbase/basic_converter_defs.h"

namespace Recast {

/// Turns one field of a fragmented uniform Cartesian grid into contour lines: the grid
/// "ZRK_ContourLines", a set of lines, in a bundle of its own that is saved as `OutputFile`.
///
///     CreateContourLinesFromUniform contours;
///     contours.InputFiles = {"terrain.q8"};
///     contours.FieldNames = {"Elevation"};
///     contours.Step = 10.0F;
///     contours.OutputFile = "lines.q8";
///     contours.loadFilesIntoBundle(Recast::myReadType::Replace);
///     contours.Run();
///
/// The grid's positions are cut into fragments, each uniform and Cartesian; beside the contoured
/// field (32-bit floats) it has the field "CellType" (bytes): no line passes next to a vertex of
/// the types 1 to 3. The first slice that is selected, its first such grid that is selected and the
/// first field that is selected are worked on. All numbers are in the unit of the input. An object
/// serves one run at a time.
class RECAST_API CreateContourLinesFromUniform : public BasicConverterDefs {
 public:
  CreateContourLinesFromUniform();

  /// The parameters as lines of text.
  std::string printSecondary() override;
  /// Traces and saves the lines, on the calling thread unless `Threads` asks for more. Messages are
  /// sent by the calling thread. If a fragment can't be read nothing is saved, and `Errors` names
  /// it; one that has no data is passed over. What the run reads of the input does not stay in
  /// memory.
  /// \return 0 without an input bundle, else 1. `Errors` and the console report whether lines were
  /// made. \throw Quilt::StorageError if the lines can't be saved; `OutputFile` is unchanged then.
  /// std::bad_alloc
  int Run() override;

  /// Whether `OutBundle` holds contour lines.
  bool hasLines() const;

  /// The field whose values are cut into levels; empty for the contoured field, whose name it then
  /// gets.
  std::string SliceField;
  /// The range that the levels span, from its minimum up and below its maximum; null for that of
  /// the whole slice field, which it then gets.
  Larder::StrongPtr<Quilt::DataRange<float>> GlobalSlice;
  float Step = 1.0F;            ///< distance of two levels, in the unit of the slice field
  bool OnlyBorderLine = false;  ///< only lines between vertices of types 1 to 3 and others
  bool UseSliceField =
      false;  ///< a line's heights come from the contoured field, not from its level
  Quilt::BundlePtr OutBundle;  ///< receives the lines; must be valid
  /// Threads that trace at most, the calling one included; negative for as many as the machine has.
  /// The lines and their order don't depend on it.
  int Threads = 1;
};

}  // namespace Recast
