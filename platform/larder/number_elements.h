#pragma once

/// Calls `X(type)` for each element type that is a plain number.
#define RECAST_NUMBER_ELEMENTS(X) \
  X(float)                        \
  X(double)                       \
  X(long double)                  \
  X(unsigned char)                \
  X(unsigned short)               \
  X(int)                          \
  X(unsigned int)                 \
  X(unsigned long long)
