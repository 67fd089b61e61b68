#pragma once

#include <mutex>
#include <span>
#include <string>
#include <vector>

#include "recast/sheaf/storage/chunk_reader.h"
#include "recast/sheaf/storage/dataset_shape.h"
#include "recast/sheaf/storage/element_layout.h"

namespace Quilt::Storage {

/// Reads the fragments that stand one behind the other in a dataset "@packed". Keeps the chunks
/// that were read last, since fragments are mostly read in the order in which they stand, and many
/// share a chunk.
///
/// Safe in several threads at once, also while the file grows: what is in it does not change.
class PackedReader {
 public:
  /// \param path of the dataset. \param layout of its elements.
  PackedReader(const FileHandle& file, std::string path, const ElementLayout& layout)
      : file_(file), path_(std::move(path)), layout_(layout) {}

  /// Finds out whether the dataset holds those elements; must come before `read`.
  /// \throw StorageError if it doesn't, or can't be read at all
  void requireElements(std::uint64_t first, std::uint64_t elements);
  /// Reads the numbers of `elements` elements from `first` on as the layout's memory type.
  /// \return the checksum of their bytes in the file's form. \throw StorageError
  std::uint32_t read(std::uint64_t first, std::uint64_t elements, std::byte* target);

 private:
  void refresh();
  /// Elements that are in memory as numbers of the file's form.
  struct Piece {
    std::uint64_t first = 0;
    std::uint64_t end = 0;
    std::vector<std::byte> numbers;

    bool holds(std::uint64_t element) const { return first <= element && element < end; }
  };

  const Piece& pieceWith(std::uint64_t element);
  void load(Piece& piece, std::uint64_t first, std::uint64_t elements);
  bool readFiltered(Piece& piece, const std::vector<hsize_t>& start, std::uint64_t chunkElements);
  void toMemory(std::span<const std::byte> numbers, std::byte* target) const;
  std::size_t fileBytes() const { return shape_.numberSize * layout_.components; }
  std::size_t memoryBytes() const { return layout_.componentSize * layout_.components; }

  FileHandle file_;
  std::string path_;
  ElementLayout layout_;

  std::mutex mutex_;  // guards the members below
  Id dataset_;
  Id type_;  // of the numbers in the file
  NumberForm form_ = NumberForm::Other;
  DatasetShape shape_;
  std::vector<Piece> pieces_;  // the one that was used last first
};

}  // namespace Quilt::Storage
