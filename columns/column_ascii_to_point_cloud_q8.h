#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <map>

#include "recast/columns/column.h"
#include "recast/larder/progress.h"
#include "recast/larder/string_list.h"
#include "recast/meadow/field.h"

namespace Recast {

/// Looks at a fragment's array before it is stored, and may put another in its place.
/// \param array the new array. \param name of the column; a change holds for the blocks that
/// follow. \param file the input file, as in the list of files. \return the array to store; a null
/// handle stores none, for which the console warns.
using ManipulateArray = std::function<Larder::StrongPtr<Quilt::MemBase, Larder::Cacheable>(
    Quilt::MemBase& array, std::string& name, Quilt::Field& field, std::string file)>;

/// Turns text files with a point a line into a point cloud.
///
///     Recast::ColumnAsciiToPointCloudQ8 converter;
///     converter.GridName = "Scan";
///     converter.addColumn("point", "Positions", {0, 1, 2});
///     converter.addColumn("float", "Intensity", {3});
///     const std::vector<std::string> names = {"scan.txt"};
///     const auto files = Larder::makeStrong<Larder::StringList>(names);
///     const int status = converter.convertASCIIToQ8(files, "scan.q8", -1, 31467, nullptr, {});
///
/// A line is split at `Delimiter` into tokens, the pieces that aren't empty; columns are positions
/// of tokens, counted from 0. Text behind a NUL byte is not seen. Empty lines count for nothing;
/// every other one behind the header lines must hold `MaxColumn` + 1 tokens at least.
///
/// The members are set before the run, which changes some of them: it is meant for one run. Two
/// objects may run in two threads at once.
class RECAST_API ColumnAsciiToPointCloudQ8 {
 public:
  /// The names of the column types, with their codes: "point" 0, "vector" 1, "double" 2, "float" 3,
  /// "int" 4, "uchar" 5, "ushort" 6, "uint" 7 and "rgb" 8.
  std::map<std::string, int> TypeCodes;

  std::vector<myColumn<Heron::Colour>> RGBColumns;
  std::vector<myColumn<unsigned int>> UIntColumns;
  std::vector<myColumn<unsigned short>> UShortColumns;
  std::vector<myColumn<unsigned char>> UCharColumns;
  std::vector<myColumn<int>> IntColumns;
  std::vector<myColumn<float>> FloatColumns;
  std::vector<myColumn<double>> DoubleColumns;
  std::vector<myColumn<Heron::PhysicalSpace::vector>> VectorColumns;
  std::vector<myColumn<Heron::PhysicalSpace::point>> PointColumns;

  char Delimiter = ' ';
  /// Lines are numbered from 0 over all files together, without header lines and empty ones; those
  /// from `StartReadingAt` to before `StopReadingAt` are read.
  std::uint64_t StopReadingAt = std::numeric_limits<std::uint64_t>::max();
  std::uint64_t StartReadingAt = 0;
  std::string GridName = "Points";
  std::string ParseString;  ///< the caller's own description of the columns, kept with the grid
  std::uint32_t HeaderLines = 0;  ///< passed over at the start of every file
  /// Adds the field "StripeInfoID", the number of the file that a point is from, and appends the
  /// files' names and numbers to "StripeInfoID.zrk" in the working directory.
  bool DoStripeList = false;
  std::uint32_t MaxColumn = 0;  ///< the highest position that a column names

  ColumnAsciiToPointCloudQ8();

  /// Adds a field. Of several point columns only the one named "Positions" places the points.
  /// \param type one of the names in `TypeCodes`. \return empty, or what is wrong.
  std::string addColumn(const std::string& type, const std::string& name,
                        const std::vector<unsigned int>& columns);
  /// The parameters of reading, a line each; goes to the grid as its attribute "AsciiToQ8".
  std::string createOutString() const;
  /// Gives every column a new chunk, see `myColumn::ini`.
  void initColumns();

  /// Reads `files` in turn and writes their columns as fields of one grid in the slice at time 0.
  ///
  /// Per file and block of at most 10,000,000 lines a field gets one fragment, named after the file
  /// and the number of the block. A point column whose name contains "positions" becomes
  /// "Positions".
  ///
  /// \param files must be valid; each is opened once, so that pipes will do. \param outFile the new
  /// `.q8` file; it is complete, in place of an existing one, before "Done" is printed.
  /// \param compression below 0 stores doubles plainly; from 0 (fast) to 12 (small) stores
  /// positions as floats with a shift, compressed; above 12 counts as 12. \param epsg the code of
  /// the coordinate system, the grid's attribute "EPSG". \param progress asked before every
  /// thousandth or so of the lines; ends the run by returning false. Gets the sentence that says
  /// why the run failed as a message. May be null. \param manipulate may be empty.
  ///
  /// \return a ColumnStatus. Those other than 0 end the run: the lines of the running block are
  /// dropped, unless reading them failed; what was saved before is in the file. If nothing was, or
  /// if `outFile` is one of `files`, the former file stays. `lastRunReport` has the reason. Columns
  /// of one name and different types give 5 before a file is read; of columns of one name and type
  /// the later one counts. \throw Quilt::StorageError if writing fails; std::bad_alloc; what
  /// `manipulate` throws.
  int convertASCIIToQ8(
      const Larder::StrongPtr<Larder::StringList, Larder::StringList>& files,
      const std::string& outFile, const int& compression, const int& epsg,
      const Larder::StrongPtr<Larder::LoaderProgress, Larder::InterfaceBase>& progress,
      const ManipulateArray& manipulate);
};

}  // namespace Recast
