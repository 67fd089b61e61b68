#include "recast/sheaf/storage/fragment_table.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "recast/sheaf/storage/dataset_io.h"
#include "recast/sheaf/storage/format_names.h"
#include "recast/sheaf/storage/groups.h"

namespace Quilt::Storage {
namespace {

constexpr const char* kName = "name";

/// One column: a member of the row.
struct Column {
  const char* name;
  std::size_t offset;
  hid_t type;
  std::size_t width;    // numbers of an array column, of which the file may hold fewer; 0 for one
  bool always = false;  // also when it says nothing
};

std::vector<Column> allColumns() {
  return {{"number", offsetof(FragmentRow, number), H5T_NATIVE_INT64, 0, true},
          {"kind", offsetof(FragmentRow, data.lie), H5T_NATIVE_UINT8, 0, true},
          {"rank", offsetof(FragmentRow, data.rank), H5T_NATIVE_UINT8, 0, true},
          {"shape", offsetof(FragmentRow, data.shape), H5T_NATIVE_UINT64, DataPlace::kMostAxes},
          {"offset", offsetof(FragmentRow, data.offset), H5T_NATIVE_UINT64, 0},
          {"extent", offsetof(FragmentRow, extent), H5T_NATIVE_UINT8, 0},
          {"minimum", offsetof(FragmentRow, minimum), H5T_NATIVE_DOUBLE, 3},
          {"maximum", offsetof(FragmentRow, maximum), H5T_NATIVE_DOUBLE, 3},
          {"shifted", offsetof(FragmentRow, data.shifted), H5T_NATIVE_UINT8, 0},
          {"shift", offsetof(FragmentRow, data.shift), H5T_NATIVE_DOUBLE, 3},
          {"properties", offsetof(FragmentRow, properties), H5T_NATIVE_UINT8, 0},
          {"location", offsetof(FragmentRow, location), H5T_NATIVE_UINT64, 3},
          {"lower_overlap", offsetof(FragmentRow, lowerOverlap), H5T_NATIVE_UINT64, 3},
          {"upper_overlap", offsetof(FragmentRow, upperOverlap), H5T_NATIVE_UINT64, 3},
          {"cell_size", offsetof(FragmentRow, cellSize), H5T_NATIVE_DOUBLE, 0},
          {"attributes", offsetof(FragmentRow, attributes), H5T_NATIVE_UINT8, 0}};
}

Id columnType(const Column& column, std::size_t width) {
  if (column.width == 0) return own(H5Tcopy(column.type), "lay out table");
  const hsize_t extent = width;
  return own(H5Tarray_create2(column.type, 1, &extent), "lay out table");
}

std::size_t columnBytes(const Column& column, std::size_t width) {
  return H5Tget_size(column.type) * std::max<std::size_t>(1, width);
}

/// How many numbers of an array column say anything, over all rows; 0 leaves the column out.
std::size_t usedWidth(const Column& column, const std::vector<FragmentRow>& rows) {
  const std::size_t size = H5Tget_size(column.type);
  std::size_t used = 0;
  for (const FragmentRow& row : rows) {
    const char* start = reinterpret_cast<const char*>(&row) + column.offset;
    for (std::size_t i = std::max<std::size_t>(1, column.width); i-- > used;)
      if (std::any_of(start + i * size, start + (i + 1) * size, [](char c) { return c != 0; })) {
        used = i + 1;
        break;
      }
  }
  return used;
}

struct PlacedColumn {
  Column column;
  std::size_t width;       // numbers in the file's rows
  std::size_t fileOffset;  // in the rows as they are read or written
};

Id nameType(std::size_t length) {
  Id name = own(H5Tcopy(H5T_C_S1), "lay out table");
  checked(H5Tset_size(name, length), "lay out table");
  checked(H5Tset_strpad(name, H5T_STR_NULLPAD), "lay out table");
  checked(H5Tset_cset(name, H5T_CSET_UTF8), "lay out table");
  return name;
}

/// A compound type of the placed columns, with the name first if there is one.
Id rowType(const std::vector<PlacedColumn>& columns, const Id& name, std::size_t size) {
  Id type = own(H5Tcreate(H5T_COMPOUND, size), "lay out table");
  if (name.valid()) checked(H5Tinsert(type, kName, 0, name), "lay out table");
  for (const PlacedColumn& placed : columns) {
    const Id member = columnType(placed.column, placed.width);
    checked(H5Tinsert(type, placed.column.name, placed.fileOffset, member), "lay out table");
  }
  return type;
}

/// The width of a column in a table of the file; false if it isn't there or is none of ours.
bool widthInFile(hid_t table, const Column& column, std::size_t& width) {
  const int index = H5Tget_member_index(table, column.name);
  if (index < 0) return false;
  const Id member(H5Tget_member_type(table, static_cast<unsigned>(index)));
  width = 0;
  hid_t number = member;
  Id base;
  if (H5Tget_class(member) == H5T_ARRAY) {
    hsize_t extent = 0;
    if (H5Tget_array_ndims(member) != 1 || H5Tget_array_dims2(member, &extent) < 0) return false;
    width = extent;
    base = Id(H5Tget_super(member));
    number = base;
  }
  return isStandardNumber(number) && (width > 0) == (column.width > 0) && width <= column.width;
}

std::size_t longest(const std::vector<std::string>& names) {
  std::size_t length = 0;
  for (const std::string& name : names) length = std::max(length, name.size());
  return length;
}

}  // namespace

DynamicSize DataPlace::size() const {
  return DynamicSize(std::vector<std::uint64_t>(shape, shape + rank));
}

DataExtent FragmentRow::dataExtent() const {
  DataExtent result;
  result.kind = extent;
  std::copy(minimum, minimum + 3, result.minimum);
  std::copy(maximum, maximum + 3, result.maximum);
  return result;
}

void DataPlace::setSize(const DynamicSize& size) {
  rank = static_cast<std::uint8_t>(std::min(size.rank(), kMostAxes));
  std::copy_n(size.extents().begin(), rank, shape);
}

void DataPlace::setShift(const std::optional<std::array<double, 3>>& from) {
  shifted = from ? 1 : 0;
  if (from) std::copy(from->begin(), from->end(), shift);
}

void FragmentRow::setExtent(const DataExtent& from) {
  extent = from.kind;
  std::copy(from.minimum, from.minimum + 3, minimum);
  std::copy(from.maximum, from.maximum + 3, maximum);
}

FragmentRow FragmentTable::row(std::size_t i) const {
  FragmentRow row;
  const char* in = bytes_.data() + i * rowBytes_;
  auto* out = reinterpret_cast<char*>(&row);
  for (const TableColumn& column : columns_)
    std::memcpy(out + column.rowOffset, in + column.fileOffset, column.bytes);
  row.data.rank = std::min<std::uint8_t>(row.data.rank, DataPlace::kMostAxes);
  if (row.data.lie > Lie::Uniform) row.data.lie = Lie::Absent;
  if (row.extent > DataExtent::Kind::Range) row.extent = DataExtent::Kind::None;
  return row;
}

std::string FragmentTable::name(std::size_t i) const {
  const char* start = bytes_.data() + i * rowBytes_;
  return {start, strnlen(start, nameBytes_)};
}

void writeTable(hid_t field, const std::vector<FragmentRow>& rows,
                const std::vector<std::string>& names) {
  const std::size_t nameLength = longest(names);
  std::vector<PlacedColumn> columns;
  std::size_t size = nameLength;
  for (const Column& column : allColumns()) {
    std::size_t width = usedWidth(column, rows);
    if (width == 0 && !column.always) continue;
    if (column.width == 0) width = 0;
    columns.push_back({column, width, size});
    size += columnBytes(column, width);
  }
  std::vector<char> bytes(rows.size() * size);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    char* out = bytes.data() + i * size;
    if (nameLength > 0) std::memcpy(out, names[i].data(), names[i].size());
    const char* row = reinterpret_cast<const char*>(&rows[i]);
    for (const PlacedColumn& placed : columns)
      std::memcpy(out + placed.fileOffset, row + placed.column.offset,
                  columnBytes(placed.column, placed.width));
  }
  if (hasLink(field, kTableDataset)) removeLink(field, kTableDataset);
  const Id name = nameLength > 0 ? nameType(nameLength) : Id();
  writeList(field, kTableDataset, rowType(columns, name, size), bytes.data(), rows.size(), true);
}

FragmentTable readTable(Q8File& file, hid_t field) {
  FragmentTable table;
  if (!hasLink(field, kTableDataset)) return table;
  const Id dataset = openDataset(field, kTableDataset);
  const Id fileRow = own(H5Dget_type(dataset), "read table");
  const DatasetShape shape = shapeOf(file, dataset, kTableDataset);
  const auto refuse = [&file] {
    throw StorageError(file.state().shownName, "read a table of fragments",
                       "it is laid out otherwise");
  };
  if (H5Tget_class(fileRow) != H5T_COMPOUND || shape.axes.size() != 1) refuse();
  Id name;
  if (const int index = H5Tget_member_index(fileRow, kName); index >= 0) {
    name = Id(H5Tget_member_type(fileRow, static_cast<unsigned>(index)));
    if (H5Tget_class(name) != H5T_STRING || H5Tis_variable_str(name) > 0) refuse();
    table.nameBytes_ = H5Tget_size(name);
  }
  std::vector<PlacedColumn> columns;
  table.rowBytes_ = table.nameBytes_;
  for (const Column& column : allColumns()) {
    std::size_t width = 0;
    if (!widthInFile(fileRow, column, width)) continue;
    columns.push_back({column, width, table.rowBytes_});
    table.columns_.push_back({column.offset, table.rowBytes_, columnBytes(column, width)});
    table.rowBytes_ += columnBytes(column, width);
  }
  // A file's row may be padded, but not made of nothing: that would let few bytes claim many rows.
  if (columns.empty() || table.rowBytes_ > 16 * shape.numberSize) refuse();
  const Id type = rowType(columns, name, table.rowBytes_);
  table.bytes_.resize(shape.numbers * table.rowBytes_);
  if (shape.numbers > 0)
    checked(H5Dread(dataset, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, table.bytes_.data()),
            "read table");
  return table;
}

}  // namespace Quilt::Storage
