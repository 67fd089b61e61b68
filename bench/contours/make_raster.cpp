// Writes a rough terrain as an Esri ASCII raster to the standard output stream:
//   bench_make_raster <vertices each way>
#include <cstdio>
#include <cstdlib>

#include "terrain.h"

int main(int argc, char** argv) {
  const std::size_t side = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 5000;
  const Recast::ContourFragment fragment = terrain::make(side);
  std::printf("ncols %zu\nnrows %zu\nxllcorner 3500000\nyllcorner 5400000\ncellsize 1\n", side,
              side);
  std::printf("NODATA_value -9999\n");
  for (std::size_t row = side; row-- > 0;) {
    for (std::size_t column = 0; column < side; ++column)
      std::printf("%.3f ", static_cast<double>(fragment.heights->data[row * side + column]));
    std::printf("\n");
  }
  return std::fflush(stdout) == 0 ? 0 : 1;
}
