#include "cityjson.h"

#include <stdexcept>

namespace RecastHost {
namespace {

using Json = nlohmann::json;

std::vector<Heron::PhysicalSpace::point> readVertices(const Json& document) {
  double scale[3] = {1, 1, 1};
  double translate[3] = {0, 0, 0};
  if (const auto transform = document.find("transform"); transform != document.end())
    for (std::size_t i = 0; i < 3; ++i) {
      scale[i] = transform->at("scale").at(i).get<double>();
      translate[i] = transform->at("translate").at(i).get<double>();
    }
  std::vector<Heron::PhysicalSpace::point> vertices;
  for (const Json& vertex : document.at("vertices")) {
    Heron::PhysicalSpace::point point;
    for (std::size_t i = 0; i < 3; ++i)
      point[i] = vertex.at(i).get<double>() * scale[i] + translate[i];
    vertices.push_back(point);
  }
  return vertices;
}

/// The level of detail as text: "2" and "2.2" in newer documents, 2 and 2.2 in older ones.
std::string levelOf(const Json& geometry) {
  const auto lod = geometry.find("lod");
  if (lod == geometry.end()) return {};
  return lod->is_string() ? lod->get<std::string>() : lod->dump();
}

const Json* bestGeometry(const Json& object, int lod) {
  const Json* best = nullptr;
  std::string bestLevel;
  const auto geometries = object.find("geometry");
  if (geometries == object.end()) return nullptr;
  for (const Json& geometry : *geometries) {
    const std::string level = levelOf(geometry);
    if (level.empty() || level[0] != '0' + lod || (best != nullptr && level <= bestLevel)) continue;
    best = &geometry;
    bestLevel = level;
  }
  return best;
}

/// How many lists lie around a surface's list of rings; -1 for geometries that have no surfaces.
int nestingOf(const std::string& type) {
  if (type == "MultiSurface" || type == "CompositeSurface") return 1;
  if (type == "Solid") return 2;
  if (type == "MultiSolid" || type == "CompositeSolid") return 3;
  return -1;
}

class Reader {
 public:
  Reader(CityModel& model, CityObject& object) : model_(model), object_(object) {}

  void surfaces(const Json& boundaries, int nesting) {
    for (const Json& inner : boundaries)
      if (nesting > 1)
        surfaces(inner, nesting - 1);
      else
        surface(inner);
  }

 private:
  void surface(const Json& rings) {
    for (std::size_t i = 0; i < rings.size(); ++i) {
      CityRing ring = rings[i].get<CityRing>();
      bool good = ring.size() >= 3;
      for (const unsigned int vertex : ring) good &= vertex < model_.vertices.size();
      if (good)
        (i == 0 ? object_.faces : object_.holes).push_back(std::move(ring));
      else
        ++model_.badFaces;
    }
  }

  CityModel& model_;
  CityObject& object_;
};

bool isOfABuilding(const Json& object) {
  return object.at("type").get<std::string>().rfind("Building", 0) == 0;
}

/// The building that an object belongs to: its topmost parent, or itself.
std::string buildingOf(const Json& objects, std::string id) {
  for (int depth = 0; depth < 16; ++depth) {
    const auto object = objects.find(id);
    if (object == objects.end()) break;
    const auto parents = object->find("parents");
    if (parents == object->end() || parents->empty()) break;
    id = parents->at(0).get<std::string>();
  }
  return id;
}

}  // namespace

CityModel readCityJson(const Json& document, int lod) {
  if (!document.is_object() || document.value("type", "") != "CityJSON")
    throw std::runtime_error("this is no CityJSON document");
  CityModel model;
  model.vertices = readVertices(document);
  const Json& objects = document.at("CityObjects");
  for (const auto& [id, object] : objects.items()) {
    if (!isOfABuilding(object)) continue;
    const Json* geometry = bestGeometry(object, lod);
    if (geometry == nullptr) continue;
    const int nesting = nestingOf(geometry->at("type").get<std::string>());
    if (nesting < 0) {
      ++model.otherKinds;
      continue;
    }
    CityObject found;
    found.building = buildingOf(objects, id);
    Reader(model, found).surfaces(geometry->at("boundaries"), nesting);
    model.objects.push_back(std::move(found));
  }
  return model;
}

}  // namespace RecastHost
