#pragma once

#include <array>
#include <map>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "recast/larder/attributes.h"
#include "recast/meadow/multi_index.h"
#include "recast/meadow/skeleton_id.h"
#include "recast/sheaf/storage/fragment_table.h"
#include "recast/sheaf/storage/groups.h"

/// What a file tells of its bundle, checked and in the file's order, before any of it is in a
/// bundle.
namespace Quilt::Storage {

struct AttributeContent : Larder::Attributes {
  /// What `target` has of the same names comes first.
  void giveTo(Larder::Attributes& target) const {
    for (const auto& [name, value] : attributes())
      if (!target.getAttribute(name)) target.setAttribute(name, value);
  }
};

/// The fragment identifiers that a field tells, by their numbers in the file.
struct IdentifierContent {
  std::size_t count = 0;
  std::optional<MultiIndex<3>> lattice;  ///< tells the names, with `prefix`; else `names` does
  std::string prefix;
  std::vector<std::string> names;

  /// The name of the fragment of that number in the file, which is below `count`.
  std::string nameOf(std::size_t number) const {
    if (!lattice) return names[number];
    const MultiIndex<3>& n = *lattice;
    return prefix +
           to_string(MultiIndex<3>(number % n[0], number / n[0] % n[1], number / n[0] / n[1]));
  }
};

/// What stands in a file but is not read, by its path from the file's root: the reason. It must not
/// be overwritten.
using LeftOut = std::map<std::string, std::string>;

struct FieldContent {
  FileHandle file;         ///< in which the field's group lies, maybe behind an external link
  LinkPath path;           ///< of the group in that file
  std::string bundlePath;  ///< "/a/b" of the group, or the link to it, in the bundle's file
  std::string name;
  std::string typeName;
  std::string donor;              ///< the field that tells the identifiers; empty for this one
  IdentifierContent identifiers;  ///< of a field without donor
  FragmentTable table;            ///< its numbers are below the identifiers' count
  std::optional<std::array<double, 6>> box;
  AttributeContent attributes;
};

static_assert(std::is_nothrow_move_constructible_v<FieldContent>, "tables of millions of rows");

struct RepresentationContent {
  std::string name;
  std::vector<FieldContent> fields;
  AttributeContent attributes;
};

struct SkeletonContent {
  SkeletonID id{0, 0};
  std::vector<RepresentationContent> representations;
  AttributeContent attributes;
};

struct GridContent {
  std::string name;
  std::vector<SkeletonContent> skeletons;
  AttributeContent attributes;
};

struct SliceContent {
  double time = 0.0;
  std::vector<GridContent> grids;
  AttributeContent attributes;
};

struct FileContent {
  std::vector<SliceContent> slices;
  AttributeContent attributes;
  LeftOut leftOut;
};

}  // namespace Quilt::Storage
