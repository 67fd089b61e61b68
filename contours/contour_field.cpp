#include "recast/contours/contour_field.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <thread>

#include "recast/contours/contour_levels.h"
#include "recast/contours/fragment_tracer.h"
#include "recast/larder/console.h"
#include "recast/patchbase/bounding_boxes.h"
#include "recast/trelliskinds/grid_kinds.h"

namespace Recast {
namespace {

using FragmentHandle = Larder::StrongPtr<Quilt::FragmentID>;
using FloatRange = Larder::StrongPtr<Quilt::DataRange<float>>;

constexpr const char* kCellTypes = "CellType";

/// The fields of a run.
struct ContourFields {
  const Quilt::Field& contoured;
  const std::string& contouredName;
  Larder::StrongPtr<Quilt::Field> slice;
  Larder::StrongPtr<Quilt::Field> positions;
  Larder::StrongPtr<Quilt::Field> cellTypes;

  /// \return what is missing, as the text of an error; empty if nothing is.
  const char* find(const Quilt::Representation& representation, const std::string& sliceField) {
    slice = representation.findField(sliceField);
    if (!slice) return "No slice field";
    positions = representation.Positions();
    if (!positions) return "No positions field";
    cellTypes = representation.findField(kCellTypes);
    return cellTypes ? "" : "No celltye field";
  }
};

/// Ends the run: data that is there can't be read. What it says goes to `Errors`.
class Unreadable : public std::runtime_error {
 public:
  Unreadable(const std::string& field, const FragmentHandle& fragment)
      : std::runtime_error("the data of fragment \"" + (fragment ? fragment->name() : "") +
                           "\" of the field \"" + field + "\" can't be read") {}
};

/// One fragment's array in one field, if it has any. It leaves memory with the object unless it was
/// there before.
class LoanedArray {
 public:
  /// \throw Unreadable
  LoanedArray(const Quilt::Field& field, const std::string& fieldName, const FragmentHandle& f)
      : creator_(field.getCreator(f)) {
    if (!creator_) return;
    wasPresent_ = static_cast<bool>(creator_->present());
    array_ = creator_->create(false);
    if (!array_) throw Unreadable(fieldName, f);
  }
  ~LoanedArray() {
    if (array_ && !wasPresent_) Larder::Cache::MemCache().drop(*array_);
  }
  LoanedArray(const LoanedArray&) = delete;
  LoanedArray& operator=(const LoanedArray&) = delete;

  const Quilt::CreatorHandle& creator() const { return creator_; }
  /// Null if there is no data, or of another type.
  template <class Array>
  Larder::StrongPtr<Array> as() const {
    return array_.castTo<Array>();
  }

 private:
  Quilt::CreatorHandle creator_;
  bool wasPresent_ = false;
  Quilt::MemBaseHandle array_;
};

template <int Property>
Quilt::MultiIndex<3> overlapOf(const Quilt::FragmentID& fragment) {
  const auto overlap = fragment.findInterface<Quilt::FragmentLocation<3, Property>>();
  return overlap ? *overlap : Quilt::MultiIndex<3>();
}

std::size_t threadsOf(const CreateContourLinesFromUniform& converter) {
  const int wanted = converter.Threads;
  return wanted < 0 ? std::max(1U, std::thread::hardware_concurrency())
                    : static_cast<std::size_t>(std::max(wanted, 1));
}

/// Traces levels in parts, so that a step that makes very many needs no list of them all.
void traceLevels(const ContourFragment& fragment, const ContourLevels& levels, std::size_t threads,
                 ContourOutput& output) {
  constexpr std::size_t kAtOnce = 4096;
  if (levels.size() == 0) return;
  FragmentTracer tracer(fragment, threads);
  std::vector<float> part;
  for (std::size_t first = 0; first < levels.size(); first += part.size()) {
    part.resize(std::min(kAtOnce, levels.size() - first));
    for (std::size_t k = 0; k < part.size(); ++k) part[k] = levels[first + k];
    tracer.trace(part, output);
  }
}

void traceFragment(CreateContourLinesFromUniform& converter, const ContourFields& fields,
                   const FragmentHandle& f, ContourOutput& output) {
  const LoanedArray positions(*fields.positions, Quilt::Representation::kPositions, f);
  const auto vertices = positions.as<Quilt::UniformCartesianArray>();
  if (!vertices) return;
  const LoanedArray heights(fields.contoured, fields.contouredName, f);
  const LoanedArray cellTypes(*fields.cellTypes, kCellTypes, f);
  const LoanedArray slice(*fields.slice, converter.SliceField, f);
  ContourFragment fragment;
  fragment.heights = heights.as<Quilt::MemArray<3, float>>();
  fragment.cellTypes = cellTypes.as<Quilt::MemArray<3, unsigned char>>();
  fragment.sliceValues = slice.as<Quilt::MemArray<3, float>>();
  if (!fragment.heights || !fragment.cellTypes || !fragment.sliceValues) return;
  const auto box = Quilt::getFragmentBBox(f, heights.creator(), *fields.positions);
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
  traceLevels(fragment, levels->within(*local), threadsOf(converter), output);
}

/// Makes room for the points of all fragments, judged by the first ones: a list that has to grow
/// late is in memory twice meanwhile.
void reserveForAll(ContourOutput& output, std::size_t done, std::size_t fragments) {
  constexpr std::size_t kMostAtOnce = 8;
  if (done == 0 || output.Points.capacity() > output.Points.size() / done * fragments) return;
  const std::size_t foreseen = output.Points.size() / done * (fragments + 1);
  try {
    output.Points.reserve(std::min(foreseen, kMostAtOnce * output.Points.size()));
  } catch (const std::bad_alloc&) {  // it grows as it needs to
  }
}

/// Contours all fragments of the field. \throw Unreadable
void traceFragments(CreateContourLinesFromUniform& converter, const ContourFields& fields,
                    ContourOutput& output) {
  const auto fragments = fields.contoured.getFragmentIDs();
  std::size_t done = 0;
  for (const auto& fragment : fragments) {
    if (!fields.positions->hasData(fragment)) continue;
    if (converter.Progress)
      converter.Progress->reportProgress("Uniform2ContourLines # ", static_cast<int>(done),
                                         static_cast<int>(fragments.size()));
    reserveForAll(output, done++, fragments.size());
    traceFragment(converter, fields, fragment, output);
  }
}

void saveLines(CreateContourLinesFromUniform& converter, double time, ContourOutput& output) {
  // Room that was reserved in vain goes back, unless the copy would take more than that.
  if (output.Points.capacity() > 2 * output.Points.size()) output.Points.shrink_to_fit();
  const auto grid = (*converter.OutBundle)[time]->newGrid(kContourGrid);
  const Quilt::MemBaseHandle lines(new Quilt::MemArray<1, std::vector<unsigned int>>(
      output.LinesChunk, Quilt::MultiIndex<1>(output.Lines.size()), nullptr));
  const Quilt::MemBaseHandle points(new Quilt::MemArray<1, Heron::PhysicalSpace::point>(
      output.PointsChunk, Quilt::MultiIndex<1>(output.Points.size()), nullptr));
  const Quilt::LineSet lineSet(grid, points, lines, nullptr);
  converter.OutBundle.save(converter.OutputFile, nullptr, nullptr);
}

/// The range of the whole field. \throw Unreadable if some data can't be read, without which the
/// range would be too small.
FloatRange rangeOf(const Quilt::Field& field, const std::string& name) {
  const auto range =
      Quilt::getRange(field, std::string(), false, false).castTo<Quilt::DataRange<float>>();
  struct RequireReadable : Quilt::FragmentIterator {
    explicit RequireReadable(const std::string& nameOfField) : fieldName(nameOfField) {}
    bool apply(const FragmentHandle& fragment, const Quilt::CreatorHandle& creator) override {
      // Data whose extent is known was read, here or by whoever wrote it.
      if (creator->extent().kind == Quilt::DataExtent::Kind::None && !creator->create(false))
        throw Unreadable(fieldName, fragment);
      return true;
    }
    const std::string& fieldName;
  } requireReadable(name);
  field.iterate(requireReadable, nullptr);
  return range;
}

/// Prepares the run. \return what is missing, as the text of an error; empty if nothing is.
/// \throw Unreadable
const char* prepare(CreateContourLinesFromUniform& converter,
                    const Quilt::Representation& representation, ContourFields& fields) {
  if (const char* missing = fields.find(representation, converter.SliceField); *missing != '\0')
    return missing;
  if (fields.contoured.getFragmentIDs().empty()) return "Have no fragments";
  if (!converter.GlobalSlice) converter.GlobalSlice = rangeOf(*fields.slice, converter.SliceField);
  return converter.GlobalSlice ? "" : "Have no global range";
}

}  // namespace

bool contourField(CreateContourLinesFromUniform& converter,
                  const Quilt::Representation& representation, double time,
                  const Quilt::FieldID& fieldID, const Quilt::Field& field) {
  if (!converter.UseThisField(fieldID.name())) return true;
  if (converter.SliceField.empty()) converter.SliceField = fieldID.name();
  ContourFields fields{field, fieldID.name(), nullptr, nullptr, nullptr};
  ContourOutput output;
  try {
    if (const char* missing = prepare(converter, representation, fields); *missing != '\0') {
      converter.Errors.push_back(missing);
      return false;
    }
    traceFragments(converter, fields, output);
  } catch (const Unreadable& unreadable) {
    converter.Errors.push_back(unreadable.what());
    return false;
  }
  if (output.Lines.empty())
    Larder::Console() << "No countour lines are found.";
  else
    saveLines(converter, time, output);
  return false;
}

}  // namespace Recast
