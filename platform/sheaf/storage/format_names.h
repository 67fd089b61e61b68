#pragma once

/// The names that the file format gives to what is not the user's. Told in docs/q8-format.md.
namespace Quilt::Storage {

inline constexpr const char* kFormatName = "recast q8";
inline constexpr unsigned long long kFormatVersion = 1;

inline constexpr const char* kFormatAttribute = "@format";    // root: kFormatName
inline constexpr const char* kVersionAttribute = "@version";  // root
inline constexpr const char* kTimeAttribute = "@time";        // slice: the exact time
inline constexpr const char* kIndexAttribute = "@index";      // place in the order of siblings
inline constexpr const char* kTypeAttribute = "@type";        // field: element type
inline constexpr const char* kIdentifiersAttribute = "@identifiers";  // field: whose it shares
inline constexpr const char* kLatticeAttribute = "@lattice";          // field: fragment counts
inline constexpr const char* kPrefixAttribute = "@prefix";  // field: before a lattice place
inline constexpr const char* kBoxAttribute = "@box";        // field: minimum, maximum
inline constexpr const char* kShiftAttribute = "@shift";    // fragment: to be added
inline constexpr const char* kTableDataset = "@fragments";
inline constexpr const char* kPackedDataset = "@packed";
inline constexpr const char* kUndividedLink = "@data";
inline constexpr const char* kAttributesGroup = "@attributes";  // of packed fragments, by link

// Of a uniform Cartesian array: vertices along x, y, z, the first vertex, the steps.
inline constexpr const char* kSizeAttribute = "@size";
inline constexpr const char* kOriginAttribute = "@origin";
inline constexpr const char* kSpacingAttribute = "@spacing";

// Of lists: where each begins in the values, with the end of the last one; the values.
inline constexpr const char* kListOffsets = "offsets";
inline constexpr const char* kListValues = "values";

/// The attribute of a fragment that its table holds.
inline constexpr const char* kCellSize = "CellSize";

}  // namespace Quilt::Storage
