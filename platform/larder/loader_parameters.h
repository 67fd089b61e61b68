#pragma once

#include "recast/larder/interfaces.h"
#include "recast/larder/string_list.h"

namespace Larder {

/// What `Quilt::Bundle::load` reads. A `LoaderProgress` attached as an interface is reported to.
class RECAST_API LoaderParameters : public ReferenceBase<LoaderParameters>, public Intercube {
 public:
  /// \param files the list holds one file name.
  /// \param merge with true, what is loaded joins what the bundle holds already.
  LoaderParameters(const StrongPtr<StringList>& files, bool merge) : files_(files), merge_(merge) {}

  const StrongPtr<StringList>& files() const { return files_; }
  bool merge() const { return merge_; }

 private:
  StrongPtr<StringList> files_;
  bool merge_;
};

}  // namespace Larder
