#include "support/require.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "recast/larder/console.h"

namespace FuzzSupport {

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

void silence() {
  Larder::Console::setSink([](const std::string&) {});
  std::cout.rdbuf(nullptr);
}

}  // namespace FuzzSupport
