#include "recast/perch/fixed_array.h"

namespace Larder {

template class Chunk<Heron::FixedArray<double, 3>>;
template class Chunk<Heron::PhysicalSpace::point>;
template class Chunk<Heron::PhysicalSpace::vector>;
template class Chunk<Heron::PhysicalSpace::bivector>;
template class Chunk<Heron::Colour>;

}  // namespace Larder
