#pragma once

#include <fstream>
#include <iterator>
#include <string>

namespace TestSupport {

/// All bytes of a file; empty if it can't be read.
inline std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace TestSupport
