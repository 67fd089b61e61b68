#pragma once

#include <array>
#include <cstdint>
#include <optional>
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

/// Where and in what form the data of a fragment lies: what it takes to read it.
struct DataPlace {
  static constexpr std::size_t kMostAxes = 4;

  std::uint64_t shape[kMostAxes] = {};
  std::uint64_t offset = 0;  ///< first element in "@packed"
  double shift[3] = {};      ///< to be added to the components
  std::uint8_t rank = 0;
  Lie lie = Lie::Absent;
  std::uint8_t shifted = 0;    ///< whether `shift` holds
  std::uint8_t checked = 0;    ///< whether `checksum` holds
  std::uint32_t checksum = 0;  ///< of the bytes in the file, without filters

  void setChecksum(std::uint32_t of) {
    checksum = of;
    checked = 1;
  }
  DynamicSize size() const;
  void setSize(const DynamicSize& size);
  void setShift(const std::optional<std::array<double, 3>>& from);
};

/// One row of a field's table "@fragments".
struct FragmentRow {
  static constexpr std::int64_t kUndivided = -1;

  std::int64_t number = kUndivided;  ///< of the fragment's identifier
  DataPlace data;
  double minimum[3] = {};
  double maximum[3] = {};
  double cellSize = 0.0;
  std::uint64_t location[3] = {};
  std::uint64_t lowerOverlap[3] = {};
  std::uint64_t upperOverlap[3] = {};
  DataExtent::Kind extent = DataExtent::Kind::None;
  std::uint8_t properties = 0;  ///< bits 0, 1, 2: location, lower and upper overlap are there
  std::uint8_t attributes = 0;  ///< bits, as below

  static constexpr std::uint8_t kAttributesOnObject = 1;  ///< the fragment's object carries more
  static constexpr std::uint8_t kCellSizeInTable = 2;  ///< `cellSize` is the attribute "CellSize"

  DataExtent dataExtent() const;
  void setExtent(const DataExtent& extent);
};

/// A column of a table in the file: a member of the row, of which the file may hold fewer numbers.
struct TableColumn {
  std::size_t rowOffset;   // in a FragmentRow
  std::size_t fileOffset;  // in a row of the table
  std::size_t bytes;
};

/// The table of a field as the file holds it, which is compact: a row takes its full form on
/// request.
class FragmentTable {
 public:
  struct Column;  // of the rows of any table
  std::size_t size() const { return rowBytes_ == 0 ? 0 : bytes_.size() / rowBytes_; }
  /// The number of row `i`'s fragment, and whether there is data: what most rows are asked for.
  std::int64_t number(std::size_t i) const;
  bool hasData(std::size_t i) const;
  bool isKnownKind(std::size_t i) const;
  /// Row `i`; its rank and kinds are within their limits, whatever the file says.
  FragmentRow row(std::size_t i) const;
  /// Whether the rows name their fragments; a lattice tells the names otherwise.
  bool named() const { return nameBytes_ > 0; }
  /// The link of row `i`'s fragment.
  std::string name(std::size_t i) const;

 private:
  friend FragmentTable readTable(Q8File& file, hid_t field);

  void place(const Column& column, std::size_t width);
  const char* bytesOf(std::size_t i) const { return bytes_.data() + i * rowBytes_; }

  std::vector<TableColumn> columns_;
  std::optional<std::size_t> numberAt_;  // where a row has its number, and its kind
  std::optional<std::size_t> kindAt_;
  std::size_t nameBytes_ = 0;  // at the start of a row
  std::size_t rowBytes_ = 0;
  std::vector<char> bytes_;
};

/// Writes `rows` as dataset "@fragments" of a field's group, in place of a former one. Columns that
/// say nothing in any row are left out.
/// \param names the links of the rows' fragments; empty if a lattice tells them.
/// \pre no lock is held. \throw StorageError
void writeTable(Q8File& file, hid_t field, const std::vector<FragmentRow>& rows,
                const std::vector<std::string>& names);

/// Reads the table of a field; empty if there is none. \pre no lock is held. \throw StorageError
FragmentTable readTable(Q8File& file, hid_t field);

}  // namespace Quilt::Storage
