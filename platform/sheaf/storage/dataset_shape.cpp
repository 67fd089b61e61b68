#include "recast/sheaf/storage/dataset_shape.h"

#include <algorithm>

#include "recast/sheaf/storage/number_types.h"

namespace Quilt::Storage {
namespace {

/// Deflate can't shrink by more than this.
constexpr std::uint64_t kMostInflation = 1100;

[[noreturn]] void refuse(Q8File& file, const std::string& name, const char* reason) {
  throw StorageError(file.state().shownName, "read dataset " + name, reason);
}

/// The product of the extents and `factor`. \return false if it does not fit.
bool product(const std::vector<hsize_t>& extents, std::uint64_t factor, std::uint64_t& result) {
  result = factor;
  for (const hsize_t extent : extents)
    if (__builtin_mul_overflow(result, extent, &result)) return false;
  return true;
}

std::vector<H5Z_filter_t> filtersOf(hid_t properties) {
  std::vector<H5Z_filter_t> filters;
  const int count = checked(H5Pget_nfilters(properties), "read dataset");
  for (int i = 0; i < count; ++i) {
    unsigned flags = 0;
    std::size_t values = 0;
    filters.push_back(checked(H5Pget_filter2(properties, static_cast<unsigned>(i), &flags, &values,
                                             nullptr, 0, nullptr, nullptr),
                              "read dataset"));
  }
  return filters;
}

bool isKnownFilter(H5Z_filter_t filter) {
  return filter == H5Z_FILTER_SHUFFLE || filter == H5Z_FILTER_DEFLATE ||
         filter == H5Z_FILTER_FLETCHER32;
}

/// Bytes of the dataset in the file that holds it.
std::uint64_t storedBytes(hid_t dataset, const std::string& name) {
  // Not the bundle's file itself: the dataset may lie behind a link to another one.
  const Id holder = own(H5Iget_file_id(dataset), "read dataset", name);
  hsize_t fileBytes = 0;
  checked(H5Fget_filesize(holder, &fileBytes), "read dataset", name);
  return std::min<std::uint64_t>(H5Dget_storage_size(dataset), fileBytes);
}

}  // namespace

DatasetShape shapeOf(Q8File& file, hid_t dataset, const std::string& name) {
  const Id space = own(H5Dget_space(dataset), "read dataset", name);
  const Id type = own(H5Dget_type(dataset), "read dataset", name);
  const Id properties = own(H5Dget_create_plist(dataset), "read dataset", name);
  const auto rank =
      static_cast<std::size_t>(checked(H5Sget_simple_extent_ndims(space), "read dataset", name));
  if (rank == 0) refuse(file, name, "it has no axes");
  DatasetShape shape;
  shape.axes.resize(rank);
  checked(H5Sget_simple_extent_dims(space, shape.axes.data(), nullptr), "read dataset", name);
  shape.numberSize = checkedSize(H5Tget_size(type), "read dataset", name);
  const std::vector<H5Z_filter_t> filters = filtersOf(properties);
  const H5D_layout_t layout = checked(H5Pget_layout(properties), "read dataset", name);
  if (layout == H5D_CHUNKED) {
    shape.chunk.resize(rank);
    checked(H5Pget_chunk(properties, static_cast<int>(rank), shape.chunk.data()), "read dataset",
            name);
  }
  const std::vector<H5Z_filter_t> ours = {H5Z_FILTER_SHUFFLE, H5Z_FILTER_DEFLATE,
                                          H5Z_FILTER_FLETCHER32};
  shape.fletcher = filters == ours;
  shape.shuffleDeflate = shape.fletcher || filters == std::vector(ours.begin(), ours.end() - 1);
  if ((layout != H5D_CHUNKED && layout != H5D_CONTIGUOUS && layout != H5D_COMPACT) ||
      checked(H5Pget_external_count(properties), "read dataset", name) > 0)
    refuse(file, name, "its data lies in other files");
  if (!std::all_of(filters.begin(), filters.end(), isKnownFilter))
    refuse(file, name, "it went through a filter that is not known");
  std::uint64_t bytes = 0;
  std::uint64_t chunkBytes = 0;
  if (!product(shape.axes, 1, shape.numbers) || !product(shape.axes, shape.numberSize, bytes) ||
      !product(shape.chunk, layout == H5D_CHUNKED ? shape.numberSize : 0, chunkBytes))
    refuse(file, name, "it claims more data than any file can hold");
  if (bytes > 0 && std::max(bytes, chunkBytes) / (filters.empty() ? 1 : kMostInflation) >
                       storedBytes(dataset, name))
    refuse(file, name, "it claims more data than the file holds");
  return shape;
}

DatasetShape numbersShapeOf(Q8File& file, hid_t dataset, const std::string& name) {
  const Id type = own(H5Dget_type(dataset), "read dataset", name);
  if (!isStandardNumber(type)) refuse(file, name, "its elements are not plain numbers");
  return shapeOf(file, dataset, name);
}

}  // namespace Quilt::Storage
