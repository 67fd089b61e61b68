#include "recast/sheaf/storage/fragment_table.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "recast/sheaf/storage/dataset_io.h"
#include "recast/sheaf/storage/format_names.h"
#include "recast/sheaf/storage/groups.h"

namespace Quilt::Storage {

/// One column: a member of the row.
struct FragmentTable::Column {
  enum class Number { U8, U32, I64, U64, F64 };

  const char* name;
  std::size_t offset;
  Number number;
  std::size_t width;    // numbers of an array column, of which the file may hold fewer; 0 for one
  bool always = false;  // also when it says nothing
};

namespace {

using Column = FragmentTable::Column;
using Number = Column::Number;

std::size_t sizeOf(Number number) {
  return number == Number::U8 ? 1 : number == Number::U32 ? 4 : 8;
}

/// The caller holds the lock.
hid_t typeOf(Number number) {
  switch (number) {
    case Number::U8: return H5T_NATIVE_UINT8;
    case Number::U32: return H5T_NATIVE_UINT32;
    case Number::I64: return H5T_NATIVE_INT64;
    case Number::U64: return H5T_NATIVE_UINT64;
    case Number::F64: break;
  }
  return H5T_NATIVE_DOUBLE;
}

constexpr const char* kName = "name";

std::vector<Column> allColumns() {
  return {{"number", offsetof(FragmentRow, number), Number::I64, 0, true},
          {"kind", offsetof(FragmentRow, data.lie), Number::U8, 0, true},
          {"rank", offsetof(FragmentRow, data.rank), Number::U8, 0, true},
          {"shape", offsetof(FragmentRow, data.shape), Number::U64, DataPlace::kMostAxes},
          {"offset", offsetof(FragmentRow, data.offset), Number::U64, 0},
          {"extent", offsetof(FragmentRow, extent), Number::U8, 0},
          {"minimum", offsetof(FragmentRow, minimum), Number::F64, 3},
          {"maximum", offsetof(FragmentRow, maximum), Number::F64, 3},
          {"shifted", offsetof(FragmentRow, data.shifted), Number::U8, 0},
          {"shift", offsetof(FragmentRow, data.shift), Number::F64, 3},
          {"checked", offsetof(FragmentRow, data.checked), Number::U8, 0},
          {"checksum", offsetof(FragmentRow, data.checksum), Number::U32, 0},
          {"properties", offsetof(FragmentRow, properties), Number::U8, 0},
          {"location", offsetof(FragmentRow, location), Number::U64, 3},
          {"lower_overlap", offsetof(FragmentRow, lowerOverlap), Number::U64, 3},
          {"upper_overlap", offsetof(FragmentRow, upperOverlap), Number::U64, 3},
          {"cell_size", offsetof(FragmentRow, cellSize), Number::F64, 0},
          {"attributes", offsetof(FragmentRow, attributes), Number::U8, 0}};
}

Id columnType(const Column& column, std::size_t width) {
  if (column.width == 0) return own(H5Tcopy(typeOf(column.number)), "lay out table");
  const hsize_t extent = width;
  return own(H5Tarray_create2(typeOf(column.number), 1, &extent), "lay out table");
}

std::size_t columnBytes(const Column& column, std::size_t width) {
  return sizeOf(column.number) * std::max<std::size_t>(1, width);
}

/// How many numbers of an array column say anything, over all rows; 0 leaves the column out.
std::size_t usedWidth(const Column& column, const std::vector<FragmentRow>& rows) {
  const std::size_t size = sizeOf(column.number);
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

std::int64_t FragmentTable::number(std::size_t i) const {
  std::int64_t number = FragmentRow::kUndivided;
  if (numberAt_) std::memcpy(&number, bytesOf(i) + *numberAt_, sizeof number);
  return number;
}

bool FragmentTable::hasData(std::size_t i) const {
  const Lie lie = kindAt_ ? static_cast<Lie>(bytesOf(i)[*kindAt_]) : Lie::Absent;
  return lie != Lie::Absent && lie <= Lie::Uniform;
}

bool FragmentTable::isKnownKind(std::size_t i) const {
  return !kindAt_ || static_cast<Lie>(bytesOf(i)[*kindAt_]) <= Lie::Uniform;
}

FragmentRow FragmentTable::row(std::size_t i) const {
  FragmentRow row;
  auto* out = reinterpret_cast<char*>(&row);
  for (const TableColumn& column : columns_)
    std::memcpy(out + column.rowOffset, bytesOf(i) + column.fileOffset, column.bytes);
  row.data.rank = std::min<std::uint8_t>(row.data.rank, DataPlace::kMostAxes);
  if (row.data.lie > Lie::Uniform) row.data.lie = Lie::Absent;
  if (row.extent > DataExtent::Kind::Range) row.extent = DataExtent::Kind::None;
  return row;
}

std::string FragmentTable::name(std::size_t i) const {
  return {bytesOf(i), strnlen(bytesOf(i), nameBytes_)};
}

void FragmentTable::place(const Column& column, std::size_t width) {
  const std::size_t bytes = columnBytes(column, width);
  columns_.push_back({column.offset, rowBytes_, bytes});
  if (column.offset == offsetof(FragmentRow, number)) numberAt_ = rowBytes_;
  if (column.offset == offsetof(FragmentRow, data.lie)) kindAt_ = rowBytes_;
  rowBytes_ += bytes;
}

void writeTable(Q8File& file, hid_t field, const std::vector<FragmentRow>& rows,
                const std::vector<std::string>& names) {
  constexpr std::size_t kWorthFiltering = 4096;
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
  std::vector<std::byte> bytes(rows.size() * size);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    std::byte* out = bytes.data() + i * size;
    if (nameLength > 0) std::memcpy(out, names[i].data(), names[i].size());
    const char* row = reinterpret_cast<const char*>(&rows[i]);
    for (const PlacedColumn& placed : columns)
      std::memcpy(out + placed.fileOffset, row + placed.column.offset,
                  columnBytes(placed.column, placed.width));
  }
  Id type;
  {
    const Hdf5Lock lock(file.state());
    if (hasLink(field, kTableDataset)) removeLink(field, kTableDataset);
    type = rowType(columns, nameLength > 0 ? nameType(nameLength) : Id(), size);
  }
  FilterSettings filter;
  filter.level = bytes.size() > kWorthFiltering ? 1 : 0;
  writeColumn(file, field, kTableDataset, type, bytes, filter, Fletcher::Yes);
}

namespace {

[[noreturn]] void refuse(Q8File& file) {
  throw StorageError(file.state().shownName, "read a table of fragments",
                     "it is laid out otherwise");
}

/// The type of a column; not valid if there is none of that name.
Id columnIn(hid_t row, const char* name) {
  const int index = H5Tget_member_index(row, name);
  if (index < 0) return {};
  return own(H5Tget_member_type(row, static_cast<unsigned>(index)), "read table");
}

/// The type of the column of names; not valid if there is none.
Id nameTypeIn(Q8File& file, hid_t row) {
  Id name = columnIn(row, kName);
  if (name.valid() && (checked(H5Tget_class(name), "read table") != H5T_STRING ||
                       isTrue(H5Tis_variable_str(name), "read table")))
    refuse(file);
  return name;
}

/// How many numbers a column has in a table of the file, 0 for one alone; nothing if it isn't
/// there.
std::optional<std::size_t> widthIn(Q8File& file, hid_t row, const Column& column) {
  const Id member = columnIn(row, column.name);
  if (!member.valid()) return std::nullopt;
  const bool isArray = checked(H5Tget_class(member), "read table") == H5T_ARRAY;
  if (isArray != (column.width > 0)) refuse(file);
  hsize_t width = 0;
  Id number;
  if (isArray) {
    if (checked(H5Tget_array_ndims(member), "read table") != 1) refuse(file);
    checked(H5Tget_array_dims2(member, &width), "read table");
    number = own(H5Tget_super(member), "read table");
  }
  if (!isStandardNumber(isArray ? number : member) || width > column.width) refuse(file);
  return width;
}

}  // namespace

FragmentTable readTable(Q8File& file, hid_t field) {
  FragmentTable table;
  Id dataset;
  Id type;
  DatasetShape shape;
  {
    const Hdf5Lock lock(file.state());
    if (!hasLink(field, kTableDataset)) return table;
    dataset = openDataset(field, kTableDataset);
    const Id fileRow = own(H5Dget_type(dataset), "read table");
    shape = shapeOf(file, dataset, kTableDataset);
    if (checked(H5Tget_class(fileRow), "read table") != H5T_COMPOUND || shape.axes.size() != 1)
      refuse(file);
    const Id name = nameTypeIn(file, fileRow);
    table.nameBytes_ = table.rowBytes_ =
        name.valid() ? checkedSize(H5Tget_size(name), "read table") : 0;
    std::vector<PlacedColumn> columns;
    for (const Column& column : allColumns()) {
      const auto width = widthIn(file, fileRow, column);
      if (!width) continue;
      columns.push_back({column, *width, table.rowBytes_});
      table.place(column, *width);
    }
    // A file's row may be padded, but not made of nothing: few bytes could claim many rows then.
    if (columns.empty() || table.rowBytes_ > 16 * shape.numberSize) refuse(file);
    type = rowType(columns, name, table.rowBytes_);
  }
  table.bytes_.resize(shape.numbers * table.rowBytes_);
  readNumbers(file, dataset, shape, type, table.rowBytes_,
              reinterpret_cast<std::byte*>(table.bytes_.data()));
  return table;
}

}  // namespace Quilt::Storage
