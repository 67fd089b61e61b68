#pragma once

#include <nlohmann/json.hpp>

#include "recast/sheaf/bundle.h"

namespace RecastHost {

/// What a bundle holds, as a document: slices, grids, skeletons, representations, fields and
/// fragments with their types, shapes, boxes, ranges and attributes. Reads no arrays.
nlohmann::ordered_json describe(const Quilt::Bundle& bundle);

/// A description as an indented tree for people.
std::string asText(const nlohmann::ordered_json& description);

}  // namespace RecastHost
