#pragma once

#include <string>
#include <utility>
#include <vector>

#include "recast/larder/chunk.h"

namespace Larder {

/// Named values of an object, each a chunk. Kept with the object in the `.q8` file. Not
/// synchronised.
class RECAST_API Attributes {
 public:
  /// Names and values, sorted by name. A list, since most objects carry none or one.
  using Map = std::vector<std::pair<std::string, StrongPtr<ChunkBase>>>;

  /// Stores `value` under `name`, in place of a former value. A null handle removes the name.
  void setAttribute(const std::string& name, const StrongPtr<ChunkBase>& value);
  /// The value of that name, or null.
  StrongPtr<ChunkBase> getAttribute(const std::string& name) const;
  /// All of them, in the order of their names.
  const Map& attributes() const { return attributes_; }

 protected:
  Attributes() = default;
  Attributes(const Attributes&) = default;
  Attributes(Attributes&&) noexcept = default;
  Attributes& operator=(const Attributes&) = default;
  Attributes& operator=(Attributes&&) noexcept = default;
  ~Attributes() = default;

 private:
  Map attributes_;
};

/// A chunk of one element: the usual form of an attribute.
template <class T>
StrongPtr<ChunkBase> singleValue(T value) {
  auto chunk = makeStrong<Chunk<T>>(std::size_t{1});
  (*chunk)[0] = std::move(value);
  return chunk;
}

}  // namespace Larder
