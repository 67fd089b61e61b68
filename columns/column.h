#pragma once

#include <string>
#include <vector>

#include "recast/typed_arrays/mem_array.h"

namespace Recast {

/// The most lines of a block, which becomes one fragment of each field.
inline constexpr std::size_t kColumnBlockLines = 10'000'000;

/// One field of a point cloud and the columns of a text that it is read from.
///
/// T is a point, a vector, a colour, or one of the numbers double, float, int, unsigned char,
/// unsigned short and unsigned int.
template <class T>
struct RECAST_API myColumn {
  /// Positions in a line, counted from 0. A number takes the first; a point, vector or colour takes
  /// one to three for its components, of which those without a position are 0.
  std::vector<unsigned int> Columns;
  std::string Name;  ///< the field's name in the grid
  /// The values of the running block. In a run the chunk grows with the lines that are read.
  Larder::StrongPtr<Larder::Chunk<T>, Larder::ChunkBase> Data;
  bool Constant = false;  ///< not read from the text: every element has `Value`
  T Value{};

  /// Gives the column a new chunk of `kColumnBlockLines` elements, which are zero or `Value`.
  /// \throw std::bad_alloc
  void ini() {
    Data = Larder::makeStrong<Larder::Chunk<T>>(kColumnBlockLines);
    if (Constant) Data->assign(kColumnBlockLines, Value);
  }
};

}  // namespace Recast
