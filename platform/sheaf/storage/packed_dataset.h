#pragma once

#include <deque>
#include <future>
#include <string>
#include <vector>

#include "recast/sheaf/storage/dataset_io.h"
#include "recast/sheaf/storage/element_layout.h"

namespace Quilt::Storage {

/// The dataset "@packed" of a field with very many fragments: one extendible dataset in which their
/// elements stand one behind the other, written a whole chunk at a time. Used by one thread at a
/// time.
class PackedDataset {
 public:
  /// Opens the dataset below the group of that path, or makes it.
  /// \param single stores the doubles of the field as floats.
  /// \param pool filters the chunks.
  PackedDataset(Q8File& file, const std::string& group, const ElementLayout& layout,
                const FilterSettings& filter, std::size_t chunkBytes, bool single, WorkPool& pool);

  /// Whether numbers of that precision can be added. All of a dataset has one, and one that another
  /// program laid out may take none.
  bool takes(bool single) const { return usable_ && single_ == single; }
  /// Elements so far.
  std::uint64_t elements() const { return elements_; }
  /// Elements that are in the file; those behind are still held here.
  std::uint64_t elementsInFile() const { return inFile_; }
  /// Adds elements, as numbers of the dataset's precision. \throw StorageError
  void append(std::span<const std::byte> bytes);
  /// Writes what is held back. \throw StorageError
  void flush();

 private:
  bool openPresent(const std::string& path);
  void readUnfinishedChunk(const std::string& path);
  void create(const std::string& group);
  void finishChunk(std::uint64_t index);
  void writeFiltered(std::size_t mostWaiting);
  void writeChunk(std::uint64_t index, const FilteredBlock& block);

  Q8File& file_;
  ElementLayout layout_;
  FilterSettings filter_;
  bool single_;
  WorkPool& pool_;
  bool usable_ = true;
  std::size_t numberBytes_;
  std::size_t elementBytes_;
  std::size_t chunkElements_;
  std::uint64_t elements_ = 0;
  std::uint64_t inFile_ = 0;
  std::vector<std::byte> pending_;  // the elements of the last, unfinished chunk
  struct Filtered {
    std::uint64_t index;
    std::future<FilteredBlock> block;
  };
  std::deque<Filtered> filtered_;  // full chunks, as the pool filters them
  Id dataset_;
};

}  // namespace Quilt::Storage
