#include "recast/contours/contour_field.h"

#include "recast/contours/contour_levels.h"
#include "recast/contours/fragment_tracer.h"
#include "recast/larder/console.h"
#include "recast/patchbase/bounding_boxes.h"
#include "recast/trelliskinds/grid_kinds.h"

namespace Recast {
namespace {

using FragmentHandle = Larder::StrongPtr<Quilt::FragmentID>;
using FloatRange = Larder::StrongPtr<Quilt::DataRange<float>>;

/// The fields of a run.
struct ContourFields {
  const Quilt::Field& contoured;
  Larder::StrongPtr<Quilt::Field> slice;
  Larder::StrongPtr<Quilt::Field> positions;
  Larder::StrongPtr<Quilt::Field> cellTypes;

  /// \return what is missing, as the text of an error; empty if nothing is.
  const char* find(const Quilt::Representation& representation, const std::string& sliceField) {
    slice = representation.findField(sliceField);
    if (!slice) return "No slice field";
    positions = representation.Positions();
    if (!positions) return "No positions field";
    cellTypes = representation.findField("CellType");
    return cellTypes ? "" : "No celltye field";
  }
};

/// The creators of one fragment's data; memory lets go of the data when the fragment is done.
struct FragmentData {
  Quilt::CreatorHandle heights;
  Quilt::CreatorHandle cellTypes;
  Quilt::CreatorHandle slice;

  FragmentData(const ContourFields& fields, const FragmentHandle& f)
      : heights(fields.contoured.getCreator(f)),
        cellTypes(fields.cellTypes->getCreator(f)),
        slice(fields.slice->getCreator(f)) {}
  ~FragmentData() {
    for (const auto& creator : {heights, cellTypes, slice})
      if (creator) creator->letGo();
  }
  FragmentData(const FragmentData&) = delete;
  FragmentData& operator=(const FragmentData&) = delete;

  /// \return false if data is missing or of another type.
  bool create(ContourFragment& fragment) const {
    if (!heights || !cellTypes || !slice) return false;
    fragment.heights = heights->create(false).castTo<Quilt::MemArray<3, float>>();
    fragment.cellTypes = cellTypes->create(false).castTo<Quilt::MemArray<3, unsigned char>>();
    fragment.sliceValues = slice->create(false).castTo<Quilt::MemArray<3, float>>();
    return fragment.heights && fragment.cellTypes && fragment.sliceValues;
  }
};

template <int Property>
Quilt::MultiIndex<3> overlapOf(const Quilt::FragmentID& fragment) {
  const auto overlap = fragment.findInterface<Quilt::FragmentLocation<3, Property>>();
  return overlap ? *overlap : Quilt::MultiIndex<3>();
}

void traceFragment(CreateContourLinesFromUniform& converter, const ContourFields& fields,
                   const FragmentHandle& f, const Quilt::CreatorHandle& positions,
                   ContourOutput& output) {
  const auto vertices = positions->get().castTo<Quilt::UniformCartesianArray>();
  if (!vertices) return;
  const FragmentData data(fields, f);
  ContourFragment fragment;
  if (!data.create(fragment)) return;
  const auto box = Quilt::getFragmentBBox(f, data.heights, *fields.positions);
  if (!box) return;
  const auto local =
      Quilt::getRange(*fields.slice, f, false, false).castTo<Quilt::DataRange<float>>();
  if (!local) {
    converter.Errors.push_back("No local range");
    return;
  }
  const auto levels = ContourLevels::over(*converter.GlobalSlice, converter.Step);
  if (!levels) {
    converter.Errors.push_back("Slice steps are zero ");
    return;
  }
  fragment.lowerOverlap = overlapOf<Quilt::LowerOverlap>(*f);
  fragment.upperOverlap = overlapOf<Quilt::UpperOverlap>(*f);
  fragment.onlyBorderLine = converter.OnlyBorderLine;
  fragment.useSliceField = converter.UseSliceField;
  fragment.origin = box->minimum();
  fragment.spacing = vertices->spacing();
  const std::vector<float> wanted = levels->within(*local);
  if (!wanted.empty()) FragmentTracer(fragment).trace(wanted, output);
}

void saveLines(CreateContourLinesFromUniform& converter, double time, const ContourOutput& output) {
  const auto grid = (*converter.OutBundle)[time]->newGrid("ZRK_ContourLines");
  const Quilt::MemBaseHandle lines(new Quilt::MemArray<1, std::vector<unsigned int>>(
      output.LinesChunk, Quilt::MultiIndex<1>(output.Lines.size()), nullptr));
  const Quilt::MemBaseHandle points(new Quilt::MemArray<1, Heron::PhysicalSpace::point>(
      output.PointsChunk, Quilt::MultiIndex<1>(output.Points.size()), nullptr));
  const Quilt::LineSet lineSet(grid, points, lines, nullptr);
  converter.OutBundle.save(converter.OutputFile, nullptr, nullptr);
}

/// Prepares the run. \return what is missing, as the text of an error; empty if nothing is.
const char* prepare(CreateContourLinesFromUniform& converter,
                    const Quilt::Representation& representation, ContourFields& fields) {
  if (const char* missing = fields.find(representation, converter.SliceField); *missing != '\0')
    return missing;
  if (fields.contoured.getFragmentIDs().empty()) return "Have no fragments";
  if (!converter.GlobalSlice)
    converter.GlobalSlice = Quilt::getRange(*fields.slice, std::string(), false, false)
                                .castTo<Quilt::DataRange<float>>();
  return converter.GlobalSlice ? "" : "Have no global range";
}

}  // namespace

bool contourField(CreateContourLinesFromUniform& converter,
                  const Quilt::Representation& representation, double time,
                  const Quilt::FieldID& fieldID, const Quilt::Field& field) {
  if (!converter.UseThisField(fieldID.name())) return true;
  if (converter.SliceField.empty()) converter.SliceField = fieldID.name();
  ContourFields fields{field, nullptr, nullptr, nullptr};
  if (const char* missing = prepare(converter, representation, fields); *missing != '\0') {
    converter.Errors.push_back(missing);
    return false;
  }
  ContourOutput output;
  const auto fragments = field.getFragmentIDs();
  int done = 0;
  for (const auto& fragment : fragments) {
    const auto positions = fields.positions->getCreator(fragment);
    if (!positions) continue;
    if (converter.Progress)
      converter.Progress->reportProgress("Uniform2ContourLines # ", done++,
                                         static_cast<int>(fragments.size()));
    traceFragment(converter, fields, fragment, positions, output);
  }
  if (output.Lines.empty())
    Larder::Console() << "No countour lines are found.";
  else
    saveLines(converter, time, output);
  return false;
}

}  // namespace Recast
