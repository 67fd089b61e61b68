#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "recast/perch/fixed_array.h"

namespace RecastHost {

/// A ring of vertex numbers; not closed.
using CityRing = std::vector<unsigned int>;

/// The faces of one building, or of a part of one.
struct CityObject {
  std::string building;         ///< identifier of the building that it belongs to
  std::vector<CityRing> faces;  ///< outer rings, seen from outside counter-clockwise
  std::vector<CityRing> holes;  ///< inner rings of the faces
};

/// The buildings of a CityJSON document (1.0, 1.1 or 2.0) at one level of detail.
struct CityModel {
  std::vector<Heron::PhysicalSpace::point> vertices;  ///< in the document's coordinate system
  std::vector<CityObject> objects;
  std::size_t badFaces = 0;    ///< left out: too few vertices, or vertices that there are not
  std::size_t otherKinds = 0;  ///< geometries left out: templates and what has no faces
};

/// Reads the buildings, their parts and installations. Of several geometries of one object the one
/// of the highest level that begins with `lod` counts ("2.2" before "2"). \throw
/// std::runtime_error, nlohmann::json::exception if the document is none.
CityModel readCityJson(const nlohmann::json& document, int lod);

}  // namespace RecastHost
