#pragma once

#include <CLI/CLI.hpp>

/// The subcommands. Each adds itself to the program and notes its exit code when it runs.
namespace RecastHost {

/// The exit code of the command that ran; 0 is success.
struct Outcome {
  int code = 0;
};

void addRasterCommand(CLI::App& program, Outcome& outcome);
void addTerrainCommand(CLI::App& program, Outcome& outcome);
void addLodCommands(CLI::App& program, Outcome& outcome);
void addImportCityJsonCommand(CLI::App& program, Outcome& outcome);
void addExportObjCommand(CLI::App& program, Outcome& outcome);
void addColumnsCommand(CLI::App& program, Outcome& outcome);
void addRefragmentCommand(CLI::App& program, Outcome& outcome);
void addInfoCommand(CLI::App& program, Outcome& outcome);

}  // namespace RecastHost
