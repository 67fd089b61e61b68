#pragma once

#include <vector>

#include "command.h"

namespace RecastHost {

/// What the program's help says about it.
inline constexpr const char* kProgramText =
    "Turns geodata files into self-describing .q8 bundles, and looks into them.";

/// Runs the command that the words name, with the options that they hold. \return the exit code.
int runCommandLine(const std::vector<Command>& commands, int argc, const char* const* argv);

}  // namespace RecastHost
