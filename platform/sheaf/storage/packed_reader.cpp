#include "recast/sheaf/storage/packed_reader.h"

#include <algorithm>
#include <cstring>

#include "recast/sheaf/storage/checksum.h"
#include "recast/sheaf/storage/dataset_io.h"
#include "recast/sheaf/storage/groups.h"

namespace Quilt::Storage {
namespace {

/// Bytes of a piece of a dataset that isn't chunked.
constexpr std::size_t kPieceBytes = std::size_t{1} << 20;
constexpr std::size_t kKeptPieces = 4;

}  // namespace

void PackedReader::requireElements(std::uint64_t first, std::uint64_t elements) {
  const std::lock_guard guard(mutex_);
  const Hdf5Lock lock(file_->state());
  // The file closes its datasets when it is put in place.
  const bool open = dataset_.valid() && isTrue(H5Iis_valid(dataset_), "read", path_);
  if (!open || first + elements > shape_.axes[0]) refresh();
  if (first > shape_.axes[0] || elements > shape_.axes[0] - first)
    throw StorageError(file_->state().shownName, "read " + path_,
                       "the table and the data don't agree");
}

void PackedReader::refresh() {
  dataset_ = Id();  // a failure leaves the reader as it was at first
  Id dataset = openDataset(file_->id(), path_);
  DatasetShape shape = numbersShapeOf(*file_, dataset, path_);
  const std::size_t rank = layout_.components > 1 ? 2 : 1;
  if (shape.axes.size() != rank || (rank == 2 && shape.axes[1] != layout_.components))
    throw StorageError(file_->state().shownName, "read " + path_, "it is laid out otherwise");
  type_ = own(H5Dget_type(dataset), "read", path_);
  form_ = formOf(dataset, layout_.memoryType);
  dataset_ = std::move(dataset);
  shape_ = std::move(shape);
}

std::uint32_t PackedReader::read(std::uint64_t first, std::uint64_t elements, std::byte* target) {
  const std::lock_guard guard(mutex_);
  std::uint32_t checksum = 0;
  while (elements > 0) {
    const Piece& piece = pieceWith(first);
    const std::uint64_t taken = std::min(elements, piece.end - first);
    const auto numbers =
        std::span(piece.numbers).subspan((first - piece.first) * fileBytes(), taken * fileBytes());
    checksum = checksumOf(numbers, checksum);
    toMemory(numbers, target);
    target += taken * memoryBytes();
    first += taken;
    elements -= taken;
  }
  return checksum;
}

void PackedReader::toMemory(std::span<const std::byte> numbers, std::byte* target) const {
  const std::size_t count = numbers.size() / shape_.numberSize;
  if (form_ != NumberForm::Other) {
    convert(form_, numbers.data(), count, layout_.componentSize, target);
    return;
  }
  std::vector<std::byte> buffer(count * std::max(shape_.numberSize, layout_.componentSize));
  std::memcpy(buffer.data(), numbers.data(), numbers.size());
  const Hdf5Lock lock(file_->state());
  checked(H5Tconvert(type_, layout_.memoryType, count, buffer.data(), nullptr, H5P_DEFAULT), "read",
          path_);
  std::memcpy(target, buffer.data(), count * layout_.componentSize);
}

const PackedReader::Piece& PackedReader::pieceWith(std::uint64_t element) {
  auto found = std::find_if(pieces_.begin(), pieces_.end(),
                            [element](const Piece& piece) { return piece.holds(element); });
  if (found == pieces_.end()) {
    if (pieces_.size() < kKeptPieces) pieces_.emplace_back();
    found = std::prev(pieces_.end());  // the one that was not used for longest
    const std::uint64_t perPiece = shape_.chunk.empty()
                                       ? std::max<std::uint64_t>(1, kPieceBytes / fileBytes())
                                       : shape_.chunk[0];
    load(*found, element / perPiece * perPiece, perPiece);
  }
  std::rotate(pieces_.begin(), found, std::next(found));
  return pieces_.front();
}

void PackedReader::load(Piece& piece, std::uint64_t first, std::uint64_t elements) {
  piece.first = piece.end = 0;
  // What stands behind the end is not kept: it may be written later.
  const std::uint64_t end = std::min(first + elements, std::uint64_t{shape_.axes[0]});
  std::vector<hsize_t> start = {first};
  std::vector<hsize_t> size = {end - first};
  if (layout_.components > 1) {
    start.push_back(0);
    size.push_back(layout_.components);
  }
  if (!readFiltered(piece, start, elements)) {
    piece.numbers.resize((end - first) * fileBytes());
    const Hdf5Lock lock(file_->state());
    readBox(dataset_, start, size, type_, piece.numbers.data());
  }
  piece.first = first;
  piece.end = end;
}

/// \return false if HDF5 must read the chunk.
bool PackedReader::readFiltered(Piece& piece, const std::vector<hsize_t>& start,
                                std::uint64_t chunkElements) {
  const bool wholeRows = layout_.components == 1 ||
                         (shape_.chunk.size() == 2 && shape_.chunk[1] == layout_.components);
  if (!shape_.shuffleDeflate || !wholeRows) return false;
  piece.numbers.resize(chunkElements * fileBytes());
  ChunkReader reader(*file_, dataset_, shape_, piece.numbers.size());
  return reader.read(start, piece.numbers);
}

}  // namespace Quilt::Storage
