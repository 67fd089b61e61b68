#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include "recast/larder/chunk.h"
#include "recast/larder/interfaces.h"
#include "recast/meadow/multi_index.h"

namespace Quilt {

class FragmentIDCollection;

/// Names one fragment of the fields that share a collection. Its place in a grid and its overlaps
/// can be attached as interfaces, see `FragmentLocation`.
class RECAST_API FragmentID : public Larder::ReferenceBase<FragmentID>, public Larder::Intercube {
 public:
  /// \param number the running number in the collection, from 0.
  FragmentID(std::string name, std::uint32_t number,
             const Larder::WeakPtrImpl<FragmentIDCollection, FragmentIDCollection>& collection);

  const std::string& name() const { return name_; }
  std::uint32_t number() const { return number_; }
  /// The collection that it was made for, null if that is gone.
  Larder::StrongPtr<FragmentIDCollection, FragmentIDCollection> collection() const {
    return collection_.lock();
  }
  /// True if `collection` holds this identifier now, under its number.
  bool belongsTo(const FragmentIDCollection& collection) const;

 private:
  std::string name_;
  std::uint32_t number_;
  Larder::WeakPtrImpl<FragmentIDCollection, FragmentIDCollection> collection_;
};

/// The fragment identifiers that one or several fields share, by running number and by name.
///
/// Not synchronised against changes; looking up is safe in several threads at once.
class RECAST_API FragmentIDCollection : public Larder::ReferenceBase<FragmentIDCollection> {
 public:
  using Handle = Larder::StrongPtr<FragmentID, FragmentID>;
  using Identifiers = Larder::Chunk<Handle>;

  FragmentIDCollection();

  /// The identifier of that name, made with the next number if there is none.
  /// \throw std::length_error beyond 2^32 - 1 identifiers
  Handle makeFragmentID(const std::string& name);
  Handle findFragmentID(std::uint32_t number) const;
  Handle findFragmentIDByName(const std::string& name) const;
  std::size_t NumberOfFragmentIDs() const { return identifiers_->size(); }
  /// All identifiers, by running number.
  const Identifiers& identifiers() const { return *identifiers_; }

  /// Fragment counts along the axes of a regular lattice; without extents there is no lattice.
  const DynamicSize& latticeSize() const { return latticeSize_; }
  void setLatticeSize(const DynamicSize& size) { latticeSize_ = size; }
  /// The text before the place in the names of a lattice's fragments.
  const std::string& latticePrefix() const { return latticePrefix_; }

  /// Makes the identifiers of a lattice of `counts` fragments, in place of all former ones: the one
  /// at (x, y, z) is called `prefix` + "[xxyxz]" and has the number (z * Ny + y) * Nx + x. Fields
  /// that share the collection must not hold data yet.
  /// \throw std::length_error, and nothing changed, beyond 2^32 - 1 identifiers
  template <int N>
  void setFragmentNames(const MultiIndex<N>& counts, const std::string& prefix);

 private:
  using Names = std::unordered_map<std::string_view, std::uint32_t>;

  Larder::StrongPtr<Identifiers> identifiers_;
  Names names_;  // refers to the identifiers' own texts
  DynamicSize latticeSize_;
  std::string latticePrefix_;
};

extern template void FragmentIDCollection::setFragmentNames<3>(const MultiIndex<3>&,
                                                               const std::string&);

/// What a `FragmentLocation` says of its fragment.
enum FragmentProperty {
  PlaceInGrid = 1,   ///< the first vertex of the fragment, in vertices of the grid
  LowerOverlap = 2,  ///< vertices shared with the neighbours at the lower side
  UpperOverlap = 3,  ///< vertices shared with the neighbours at the upper side
};

/// One index triple about a fragment, carried by its identifier.
template <int N, int Property>
class RECAST_API FragmentLocation : public Larder::Interface<FragmentLocation<N, Property>>,
                                    public MultiIndex<N> {
 public:
  /// The fragment's triple, to be read or written; made as (0, 0, 0) if there is none.
  static MultiIndex<N>& make(FragmentID& fragment) {
    if (auto present = fragment.findInterface<FragmentLocation>()) return *present;
    auto fresh = Larder::makeStrong<FragmentLocation>();
    fragment.addInterface(fresh);
    return *fresh;
  }
};

extern template class FragmentLocation<3, PlaceInGrid>;
extern template class FragmentLocation<3, LowerOverlap>;
extern template class FragmentLocation<3, UpperOverlap>;

}  // namespace Quilt

extern template class Larder::Chunk<Quilt::FragmentIDCollection::Handle>;
