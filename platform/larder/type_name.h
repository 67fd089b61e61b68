#pragma once

#include <string>
#include <typeinfo>

#include "recast/larder/export.h"

namespace Larder {

/// The name of a type as one writes it in C++, such as "Heron::PhysicalSpace::point".
RECAST_API std::string Typename(const std::type_info& type);

/// The readable form of a name that `std::type_info::name` gave.
RECAST_API std::string demangled(const char* mangled);

/// Does nothing; a debugger can stop here when an array without memory is asked for an element.
RECAST_API void breakpoint();

}  // namespace Larder
