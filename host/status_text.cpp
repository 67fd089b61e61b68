#include "status_text.h"

namespace RecastHost {

std::string rasterStatusText(int status) {
  switch (status) {
    case 1: return "the file can't be opened";
    case 3: return "a value of the header is no number, or out of range";
    case 4: return "the file ends inside the header";
    case 5: return "\"ncols\" or \"nrows\" is missing";
    case 6: return "the x or the y of the lower-left cell is missing";
    case 7: return "\"cellsize\" is missing";
    case 8: return "it can't be written; is its folder there, and may you write to it?";
    case 9: return "there is not enough memory for the raster";
    case 10: return "a data line holds fewer numbers than \"ncols\" says";
    case 11: return "a data line holds something that is no number";
    case 12: return "the field \"Positions\" isn't available";
    case 13: return "the field of normals isn't available";
    default: return "status " + std::to_string(status);
  }
}

std::string terrainStatusText(int status) {
  switch (status) {
    case 7: return "it can't be opened, or its first two lines tell no spacing";
    case 8: return "it is no .q8 file of exactly one grid";
    case 14: return "the uniform grid isn't there";
    case 15: return "the uniform grid's field \"Elevation\" is of another kind";
    case 16: return "it holds no point cloud";
    case 17: return "its positions are no points";
    case 18: return "the tile has no data";
    case 19: return "a line isn't three numbers";
    case 20: return "a sample lies beside the raster of the others";
    default: return rasterStatusText(status);
  }
}

std::string columnStatusText(int status) {
  switch (status) {
    case 1: return "an input file can't be opened";
    case 3: return "ten million lines can't be saved";
    case 4: return "a value doesn't convert to the type of its column";
    case 5: return "it can't be written; is its folder there, and may you write to it?";
    case 6: return "a line has too few columns";
    case 7: return "the run was stopped";
    default: return "status " + std::to_string(status);
  }
}

std::string buildingStatusText(int status) {
  switch (status) {
    case 2: return "a file can't be loaded";
    case 3: return "a grid doesn't have the shape of a building model";
    default: return "status " + std::to_string(status);
  }
}

}  // namespace RecastHost
