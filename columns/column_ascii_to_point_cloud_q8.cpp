#include "recast/columns/column_ascii_to_point_cloud_q8.h"

#include <algorithm>
#include <chrono>
#include <typeinfo>

#include "recast/columns/column_run.h"
#include "recast/columns/column_status.h"
#include "recast/columns/column_types.h"
#include "recast/columns/my_storage.h"
#include "recast/larder/console.h"
#include "recast/recastbase/basic_converter_defs.h"
#include "recast/recastbase/run_output.h"
#include "recast/recastbase/run_report.h"

namespace Recast {
namespace {

enum TypeCode { kPoint, kVector, kDouble, kFloat, kInt, kUChar, kUShort, kUInt, kRGB };

template <class T>
void addTo(std::vector<myColumn<T>>& list, const std::string& name,
           const std::vector<unsigned int>& columns) {
  myColumn<T>& column = list.emplace_back();
  column.Name = name;
  column.Columns = columns;
}

Larder::StrongPtr<Quilt::Representation> makePointCloud(Quilt::Bundle& bundle,
                                                        const ColumnAsciiToPointCloudQ8& converter,
                                                        int epsg) {
  const auto slice = bundle[0.0];
  const auto grid = (*slice)[converter.GridName];
  grid->setAttribute("EPSG", Larder::singleValue(epsg));
  grid->renewAge();
  const auto cloud = grid->makeCartesianRepresentation(3, "", 0);
  BasicConverterDefs::addInfoToGrid(converter.createOutString(), *grid, "AsciiToQ8", nullptr, 0, 1);
  return cloud;
}

void namePositions(std::vector<myColumn<Heron::PhysicalSpace::point>>& columns) {
  for (auto& column : columns)
    if (column.Name.find("positions") != std::string::npos)
      column.Name = Quilt::Representation::kPositions;
}

void addStripeColumn(std::vector<myColumn<unsigned short>>& columns) {
  addTo(columns, ColumnRun::kStripeField, {});
  columns.back().Constant = true;
}

/// Columns of one name share a field: of different types they can't be stored, of one type the
/// later one's values are kept.
RunOutcome checkNames(const ColumnAsciiToPointCloudQ8& converter, const std::string& outFile) {
  std::map<std::string, const std::type_info*> types;
  RunOutcome outcome;
  allColumns(converter, [&](const auto& column) {
    const auto [known, isNew] = types.emplace(column.Name, &typeid(column.Value));
    const std::string text = outFile + ": two columns are named \"" + column.Name + "\"";
    if (*known->second != typeid(column.Value))
      outcome = {kNotBoundOrSaved, text + " and have different types"};
    else if (!isNew && column.Name != ColumnRun::kStripeField)
      reportNotice(text + "; the values of the later one are kept");
    return outcome.isDone();
  });
  return outcome;
}

RunOutcome readFiles(ColumnAsciiToPointCloudQ8& converter, Quilt::Bundle& bundle,
                     Quilt::Representation& cloud, const Larder::StringList& files,
                     const Quilt::ProgressHandle& progress, const ManipulateArray& manipulate) {
  ColumnRun run(converter, bundle, cloud, files.size(), progress, manipulate);
  for (const std::string& file : files)
    if (RunOutcome outcome = run.readFile(file); !outcome.isDone()) return outcome;
  return {};
}

}  // namespace

ColumnAsciiToPointCloudQ8::ColumnAsciiToPointCloudQ8()
    : TypeCodes{{"point", kPoint},   {"vector", kVector}, {"double", kDouble},
                {"float", kFloat},   {"int", kInt},       {"uchar", kUChar},
                {"ushort", kUShort}, {"uint", kUInt},     {"rgb", kRGB}} {}

std::string ColumnAsciiToPointCloudQ8::addColumn(const std::string& type, const std::string& name,
                                                 const std::vector<unsigned int>& columns) {
  const auto found = TypeCodes.find(type);
  switch (found == TypeCodes.end() ? -1 : found->second) {
    case kPoint: addTo(PointColumns, name, columns); break;
    case kVector: addTo(VectorColumns, name, columns); break;
    case kDouble: addTo(DoubleColumns, name, columns); break;
    case kFloat: addTo(FloatColumns, name, columns); break;
    case kInt: addTo(IntColumns, name, columns); break;
    case kUChar: addTo(UCharColumns, name, columns); break;
    case kUShort: addTo(UShortColumns, name, columns); break;
    case kUInt: addTo(UIntColumns, name, columns); break;
    case kRGB: addTo(RGBColumns, name, columns); break;
    default: return "type not supported: " + type;
  }
  for (const unsigned int position : columns) MaxColumn = std::max(MaxColumn, position);
  return {};
}

std::string ColumnAsciiToPointCloudQ8::createOutString() const {
  std::string text = "Parse string: " + ParseString + "\n";
  text += "Header lines: " + std::to_string(HeaderLines) + "\n";
  text += std::string("Delimiter: ") + Delimiter + "\n";
  text += "StopReadingAt: " + std::to_string(StopReadingAt) + "\n";
  text += "StartReadingAt: " + std::to_string(StartReadingAt) + "\n";
  if (DoStripeList) text += "DoStripeList \n";
  return text;
}

void ColumnAsciiToPointCloudQ8::initColumns() {
  forEachColumn(*this, [](auto& column) { column.ini(); });
}

int ColumnAsciiToPointCloudQ8::convertASCIIToQ8(
    const Larder::StrongPtr<Larder::StringList, Larder::StringList>& files,
    const std::string& outFile, const int& compression, const int& epsg,
    const Larder::StrongPtr<Larder::LoaderProgress, Larder::InterfaceBase>& progress,
    const ManipulateArray& manipulate) {
  const auto start = std::chrono::system_clock::now();
  const int status = reportedRun(outFile, [&]() -> RunOutcome {
    const Quilt::BundlePtr bundle(new Quilt::Bundle);
    const auto bound = bundle->bindToNew(outFile, Larder::makeStrong<MyStorage>(compression));
    if (bound.number != 0 || !bound.text.empty()) {
      Larder::Console() << "!!!!!!!! ColumnAsciiToPointCloudQ8:: cannot bindtonew: " << bound.text;
      return {kNotBoundOrSaved, bound.text};
    }
    RunOutput output(bundle, outFile, {files->begin(), files->end()});
    const auto cloud = makePointCloud(*bundle, *this, epsg);
    namePositions(PointColumns);
    if (DoStripeList) addStripeColumn(UShortColumns);
    RunOutcome outcome = checkNames(*this, outFile);
    if (outcome.isDone()) outcome = readFiles(*this, *bundle, *cloud, *files, progress, manipulate);
    if (outcome.isDone())
      output.complete();
    else if (outcome.status != kColumnsStopped && progress)
      progress->reportMessage(outcome.failure);
    return outcome;
  });
  if (status != kColumnsDone) return status;
  const auto elapsed =
      std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now() - start);
  Larder::Console() << "Done ASCIItoQ8: Elapsed time: " << elapsed.count() << "s\n";
  return kColumnsDone;
}

}  // namespace Recast
