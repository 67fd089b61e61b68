#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "recast/meadow/creative_array.h"
#include "recast/sheaf/storage/q8_file.h"

namespace Quilt::Storage {

/// How the data of a fragment lies in the file; the numbers stand in the files.
enum class Lie : std::uint8_t {
  Absent = 0,   ///< no data in this field
  Dataset = 1,  ///< a dataset of its own, named after the fragment
  Packed = 2,   ///< a piece of the field's dataset "@packed"
  Lists = 3,    ///< a group named after the fragment with "offsets" and "values"
  Uniform = 4,  ///< a group named after the fragment, with the parameters of a uniform grid
};

/// One row of a field's table "@fragments".
struct FragmentRow {
  static constexpr std::int64_t kUndivided = -1;
  static constexpr std::size_t kMostAxes = 4;

  std::int64_t number = kUndivided;  ///< of the fragment's identifier
  std::uint64_t shape[kMostAxes] = {};
  std::uint64_t offset = 0;          ///< first element in "@packed"
  double minimum[3] = {};
  double maximum[3] = {};
  double shift[3] = {};
  double cellSize = 0.0;
  std::uint64_t location[3] = {};
  std::uint64_t lowerOverlap[3] = {};
  std::uint64_t upperOverlap[3] = {};
  std::uint8_t rank = 0;
  Lie lie = Lie::Absent;
  DataExtent::Kind extent = DataExtent::Kind::None;
  std::uint8_t shifted = 0;
  std::uint8_t properties = 0;       ///< bits 0, 1, 2: location, lower and upper overlap are there
  std::uint8_t attributes = 0;       ///< bit 0: the fragment's object carries attributes; bit 1:
                                     ///< `cellSize` holds the attribute "CellSize"

  DynamicSize size() const;
  DataExtent dataExtent() const;
  void setSize(const DynamicSize& size);
  void setExtent(const DataExtent& extent);
};

/// The rows of a table with the names of their fragments, as links; names may be left out where a
/// lattice tells them.
struct FragmentTable {
  std::vector<FragmentRow> rows;
  std::vector<std::string> names;  ///< empty, or one per row
};

/// Writes the table as dataset "@fragments" of a field's group, in place of a former one. Columns that
/// say the same in all rows, nothing, are left out. The caller holds the lock. \throw StorageError
void writeTable(hid_t field, const FragmentTable& table);

/// Reads the table of a field; empty if there is none. Takes no row for granted: ranks, kinds and
/// shapes are within their limits afterwards. The caller holds the lock. \throw StorageError
FragmentTable readTable(Q8File& file, hid_t field);

}  // namespace Quilt::Storage
