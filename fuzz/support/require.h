#pragma once

#include <string>

namespace FuzzSupport {

/// Ends the program, with `what` on the standard error stream, if `holds` is false: a finding.
void require(bool holds, const char* what);

/// Drops all that the library tells, on the console and the standard output stream.
void silence();

}  // namespace FuzzSupport
