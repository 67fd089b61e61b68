#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>

/// Writes a scan of that many lines `x y z intensity r g b`, the same one in every run: coordinates
/// with three decimals, about 48 bytes a line.
inline void writeScan(const std::string& path, std::uint64_t lines) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "wb"),
                                                             std::fclose);
  if (!file) throw std::runtime_error("can't write " + path);
  std::mt19937 random(7);
  const auto below = [&random](unsigned limit) { return static_cast<double>(random() % limit); };
  for (std::uint64_t i = 0; i < lines; ++i) {
    const double x = 3512000 + below(1000000) / 1000;
    const double y = 5401000 + below(1000000) / 1000;
    const double z = 300 + below(90000) / 1000;
    std::fprintf(file.get(), "%.3f %.3f %.3f %.0f %.0f %.0f %.0f\n", x, y, z, below(4096),
                 below(256), below(256), below(256));
  }
}
