#include "recast/swath/cell_size.h"

namespace Swath {

void setCellSizeAttribute(const Quilt::CreatorHandle& creator, double size) {
  if (!creator) return;
  creator->setAttribute("CellSize", Larder::singleValue(size));
  creator->renewAge();
}

}  // namespace Swath
