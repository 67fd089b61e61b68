// Writes the text file that columns are measured with:  bench_columns_make_scan FILE LINES

#include <cstdlib>
#include <iostream>

#include "columns/scan_file.h"

int main(int count, char** arguments) try {
  if (count != 3) throw std::runtime_error("usage: bench_columns_make_scan FILE LINES");
  writeScan(arguments[1], std::strtoull(arguments[2], nullptr, 10));
  return 0;
} catch (const std::exception& error) {
  std::cerr << error.what() << "\n";
  return 1;
}
