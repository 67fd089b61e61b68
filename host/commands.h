#pragma once

#include "command.h"

/// The subcommands.
namespace RecastHost {

Command rasterCommand();
Command terrainCommand();
Command importCityJsonCommand();
Command lod1Command();
Command lod2Command();
Command exportObjCommand();
Command columnsCommand();
Command refragmentCommand();
Command gridCommand();
Command contoursCommand();
Command exportGeojsonCommand();
Command infoCommand();
Command verifyCommand();

}  // namespace RecastHost
