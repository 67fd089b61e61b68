#pragma once

#include <mutex>
#include <string>

#include "recast/meadow/creative_array.h"
#include "recast/meadow/fragment_id.h"
#include "recast/meadow/skeleton_id.h"

namespace Quilt {

class Field;
class Grid;
class Placement;

/// Where the arrays of a bound bundle go. Implemented by the storage.
class RECAST_API FragmentSink : public Larder::ReferenceBase<FragmentSink> {
 public:
  /// Takes the array of `creator` to be written under `place`. Quick: what takes long goes on in
  /// the background. `fragment` is null for a field's undivided data. \throw StorageError if an
  /// earlier write has failed.
  virtual void store(const Placement& place, const Field& field,
                     const Larder::StrongPtr<FragmentID>& fragment, const CreatorHandle& creator,
                     const MemBaseHandle& array, Larder::Cache& cache) = 0;
  /// Keeps in place of a fragment's creator what it takes to make it again, and sees to it that the
  /// field's source does so. \return false if that can't be had; the creator must stay then.
  virtual bool takeOver(const Placement&, Field&, std::uint32_t /*number*/, const CreatorHandle&) {
    return false;
  }
};

/// What all parts of a bundle have in common: the sink, if the bundle is bound to a file. Shared by
/// the parts, so that one that outlives its bundle finds no sink and no dangling pointer.
class RECAST_API BundleAnchor : public Larder::ReferenceBase<BundleAnchor> {
 public:
  void setSink(const Larder::StrongPtr<FragmentSink>& sink) {
    const std::lock_guard lock(mutex_);
    sink_ = sink;
  }
  Larder::StrongPtr<FragmentSink> sink() const {
    const std::lock_guard lock(mutex_);
    return sink_;
  }

 private:
  mutable std::mutex mutex_;
  Larder::StrongPtr<FragmentSink> sink_;
};

/// Where a field hangs in its bundle; never changed once made.
class RECAST_API Placement : public Larder::ReferenceBase<Placement> {
 public:
  Larder::StrongPtr<BundleAnchor> Anchor;
  Larder::WeakPtrImpl<Grid, Grid> GridHandle;
  double Time = 0.0;
  std::string GridName;
  SkeletonID Skeleton{0, 0};
  std::string RepresentationName;
  std::string FieldName;
};

/// Something that can be given a place in a bundle.
class RECAST_API OwnerBase {
 public:
  virtual ~OwnerBase() = default;
  /// Called when the object enters a bundle; what it holds goes to the bundle's file, if bound.
  virtual void processOwnership(const Larder::StrongPtr<Placement>& place) = 0;
};

}  // namespace Quilt
