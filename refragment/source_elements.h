#pragma once

#include <cstddef>
#include <future>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <typeinfo>
#include <vector>

#include "recast/meadow/creative_array.h"

namespace Recast {

/// The elements of one source fragment in one field, given in pieces. An array that lies in its
/// file as one stretch is read piece by piece, into memory that the processor's cache has; any
/// other one is read as a whole, in a thread of its own unless it is small. Safe in several threads
/// at once.
class SourceElements {
 public:
  /// What the fragment's data must be, and how errors call it.
  struct Description {
    std::string field;
    std::string fragment;
    const std::type_info* element = nullptr;
  };

  /// Begins to read. \param creator may be null, for data that doesn't exist.
  SourceElements(const Quilt::CreatorHandle& creator, const Description& description);

  /// The number of elements. \throw RunEnd if they can't be read or are of another type.
  std::uint64_t size() const;
  /// Ends the run: a point has no element. \throw RunEnd
  [[noreturn]] void tooFewFor(std::uint64_t points) const;
  /// Elements in the order of memory. \pre there are `first` + `count` of them
  /// \param room is filled with them unless they are in memory.
  /// \throw RunEnd if they can't be read.
  const std::byte* piece(std::uint64_t first, std::uint64_t count,
                         std::vector<std::byte>& room) const;

 private:
  struct Whole {
    Quilt::MemBaseHandle array;
    std::vector<std::byte> own;  // the elements, if they don't stand side by side in the array
    std::span<const std::byte> bytes;
  };

  static Whole readWhole(const Quilt::CreatorHandle& creator, const Description& description);

  Description description_;
  std::size_t elementSize_;
  std::unique_ptr<Quilt::PieceReader> pieces_;
  std::uint64_t inPieces_ = 0;  // the number of elements that `pieces_` reads
  std::shared_future<Whole> whole_;
};

/// The elements of several fragments that are asked for in a known order: while those of one are in
/// use, the next ones are read. Safe in several threads at once.
class ElementsAhead {
 public:
  using Handle = std::shared_ptr<const SourceElements>;

  struct Source {
    Quilt::CreatorHandle creator;
    SourceElements::Description description;
  };
  /// \param sources in the order in which they will be asked for.
  explicit ElementsAhead(std::vector<Source> sources);

  /// Gives the elements of a source, and begins to read those of the next one.
  Handle get(std::size_t place);
  /// Lets go of a source, for which nobody will ask again.
  void drop(std::size_t place);

 private:
  void begin(std::size_t place);

  std::mutex mutex_;
  std::vector<Source> sources_;  // without those that were begun
  std::vector<Handle> begun_;
};

}  // namespace Recast
