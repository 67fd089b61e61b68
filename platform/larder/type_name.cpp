#include "recast/larder/type_name.h"

#include <cstdlib>
#include <memory>

#include <cxxabi.h>

namespace Larder {

std::string demangled(const char* mangled) {
  int status = 0;
  std::unique_ptr<char, decltype(&std::free)> text(
      abi::__cxa_demangle(mangled, nullptr, nullptr, &status), &std::free);
  return status == 0 && text ? std::string(text.get()) : std::string(mangled);
}

std::string Typename(const std::type_info& type) {
  return demangled(type.name());
}

void breakpoint() {}

}  // namespace Larder
