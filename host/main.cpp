#include <exception>
#include <iostream>

#include "commands.h"

// Commands report their own failures; what is caught here is a full disk, or memory running out.
int main(int argc, char** argv) {
  constexpr int kUnexpected = 100;
  CLI::App program("Turns geodata files into self-describing .q8 bundles, and looks into them.");
  program.require_subcommand(1);
  RecastHost::Outcome outcome;
  RecastHost::addRasterCommand(program, outcome);
  RecastHost::addTerrainCommand(program, outcome);
  RecastHost::addImportCityJsonCommand(program, outcome);
  RecastHost::addLodCommands(program, outcome);
  RecastHost::addExportObjCommand(program, outcome);
  RecastHost::addColumnsCommand(program, outcome);
  RecastHost::addRefragmentCommand(program, outcome);
  RecastHost::addInfoCommand(program, outcome);
  try {
    CLI11_PARSE(program, argc, argv)
  } catch (const std::exception& error) {
    std::cerr << "recast: " << error.what() << "\n";
    return kUnexpected;
  }
  return outcome.code;
}
