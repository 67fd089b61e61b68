#include "bundle_description.h"

#include "recast/larder/chunk.h"
#include "recast/perch/fixed_array.h"

namespace RecastHost {
namespace {

using Json = nlohmann::ordered_json;

/// The elements of a chunk, if they are of type T.
template <class T>
bool take(const Larder::StrongPtr<Larder::ChunkBase>& chunk, Json& values) {
  const auto typed = chunk.castTo<Larder::Chunk<T>>();
  if (!typed) return false;
  values = Json::array();
  for (const T& value : typed->base_vector()) values.push_back(value);
  return true;
}

Json valuesOf(const Larder::StrongPtr<Larder::ChunkBase>& chunk) {
  Json values;
  if (!take<std::string>(chunk, values) && !take<double>(chunk, values) &&
      !take<int>(chunk, values) && !take<float>(chunk, values) &&
      !take<unsigned int>(chunk, values) && !take<unsigned long long>(chunk, values) &&
      !take<unsigned short>(chunk, values) && !take<unsigned char>(chunk, values))
    return std::to_string(chunk->elements()) + " elements of another type";
  return values.size() == 1 ? values[0] : values;
}

void addAttributes(Json& target, const Larder::Attributes& attributes) {
  for (const auto& [name, chunk] : attributes.attributes())
    target["attributes"][name] = valuesOf(chunk);
}

void addExtent(Json& target, const Quilt::DataExtent& extent) {
  using Kind = Quilt::DataExtent::Kind;
  if (extent.kind == Kind::Range)
    target["range"] = {extent.minimum[0], extent.maximum[0]};
  else if (extent.kind == Kind::Box)
    target["box"] = {{extent.minimum[0], extent.minimum[1], extent.minimum[2]},
                     {extent.maximum[0], extent.maximum[1], extent.maximum[2]}};
}

template <int Property>
void addTriple(Json& target, const char* name, const Quilt::FragmentID& fragment) {
  if (const auto triple = fragment.findInterface<Quilt::FragmentLocation<3, Property>>())
    target[name] = {(*triple)[0], (*triple)[1], (*triple)[2]};
}

Json describeFragment(const Larder::StrongPtr<Quilt::FragmentID>& fragment,
                      const Quilt::CreatorHandle& creator) {
  Json result;
  if (fragment) result["name"] = fragment->name();
  const Quilt::DynamicSize size = creator->size();
  result["shape"] = size.extents();
  std::uint64_t elements = 0;
  result["elements"] = size.product(1, elements) ? elements : 0;
  addExtent(result, creator->extent());
  if (fragment) {
    addTriple<Quilt::PlaceInGrid>(result, "location", *fragment);
    addTriple<Quilt::LowerOverlap>(result, "lowerOverlap", *fragment);
    addTriple<Quilt::UpperOverlap>(result, "upperOverlap", *fragment);
  }
  addAttributes(result, *creator);
  return result;
}

Json describeField(const Quilt::FieldID& id, const Quilt::Field& field) {
  struct Collect : Quilt::FragmentIterator {
    bool apply(const Larder::StrongPtr<Quilt::FragmentID>& fragment,
               const Quilt::CreatorHandle& creator) override {
      if (fragment)
        fragments.push_back(describeFragment(fragment, creator));
      else
        undivided = describeFragment(nullptr, creator);
      return true;
    }
    Json fragments = Json::array();
    Json undivided;
  } collect;
  field.iterate(collect, nullptr);
  Json result;
  result["name"] = id.name();
  const auto type = field.getElementType();
  result["type"] = type ? type->TypeName : "";
  const auto identifiers = field.getFragmentIDCollection();
  result["identifiers"] = identifiers ? identifiers->NumberOfFragmentIDs() : 0;
  if (identifiers && identifiers->latticeSize().rank() > 0)
    result["lattice"] = identifiers->latticeSize().extents();
  addAttributes(result, field);
  result["fragments"] = std::move(collect.fragments);
  if (!collect.undivided.is_null()) result["undivided"] = std::move(collect.undivided);
  return result;
}

Json describeRepresentation(const Quilt::Skeleton& skeleton,
                            const Quilt::Representation& representation) {
  Json result;
  result["skeleton"] = skeleton.id().name();
  result["name"] = representation.name();
  addAttributes(result, representation);
  result["fields"] = Json::array();
  representation.iterate([&result](const Quilt::FieldID& id, const Quilt::Field& field) {
    result["fields"].push_back(describeField(id, field));
    return true;
  });
  return result;
}

Json describeGrid(const Quilt::Grid& grid) {
  Json result;
  result["name"] = grid.name();
  addAttributes(result, grid);
  result["representations"] = Json::array();
  for (const auto& [id, skeleton] : grid.skeletons())
    for (const auto& representation : skeleton->representations())
      result["representations"].push_back(describeRepresentation(*skeleton, *representation));
  return result;
}

}  // namespace

nlohmann::ordered_json describe(const Quilt::Bundle& bundle) {
  Json result;
  addAttributes(result, bundle);
  result["slices"] = Json::array();
  for (const auto& [time, slice] : bundle) {
    Json entry;
    entry["time"] = time;
    addAttributes(entry, *slice);
    entry["grids"] = Json::array();
    for (const auto& [id, grid] : *slice) entry["grids"].push_back(describeGrid(*grid));
    result["slices"].push_back(std::move(entry));
  }
  return result;
}

}  // namespace RecastHost
