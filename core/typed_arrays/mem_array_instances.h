#pragma once

// The instances of the array family are compiled once, in this component; everyone else links them.

#include "recast/typed_arrays/mem_array.h"

#define RECAST_EXTERN(T)                                  \
  extern template class Quilt::ReferencingMemArray<1, T>; \
  extern template class Quilt::ReferencingMemArray<2, T>; \
  extern template class Quilt::ReferencingMemArray<3, T>; \
  extern template class Quilt::ReferencingMemArray<4, T>; \
  extern template class Quilt::MemArray<1, T>;            \
  extern template class Quilt::MemArray<2, T>;            \
  extern template class Quilt::MemArray<3, T>;            \
  extern template class Quilt::MemArray<4, T>;
RECAST_ALL_ELEMENTS(RECAST_EXTERN)
#undef RECAST_EXTERN
