#include "recast/meadow/simplex_cell.h"

namespace Larder {

template class Chunk<Quilt::Edge>;
template class Chunk<Quilt::Triangle>;

}  // namespace Larder
