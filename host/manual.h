#pragma once

#include <vector>

#include "command.h"

/// Hidden commands that the build runs: they print what is installed beside the program.
namespace RecastHost {

/// A man page of all commands and options, in groff.
Command manPageCommand(std::vector<Command> documented);
/// A completion for bash of commands, options, values and file names.
Command completionCommand(std::vector<Command> documented);

}  // namespace RecastHost
