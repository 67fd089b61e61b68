#pragma once

#include <string>

#include "recast/sheaf/bundle.h"

namespace RecastHost {

/// The bundle of a file; not valid if it can't be loaded, of which the console tells.
inline Quilt::BundlePtr loadBundle(const std::string& file) {
  const auto list = Larder::makeStrong<Larder::StringList>(std::vector<std::string>{file});
  bool ok = false;
  Quilt::BundlePtr bundle(
      Quilt::Bundle::load(ok, Larder::makeStrong<Larder::LoaderParameters>(list, false), nullptr));
  return ok ? bundle : Quilt::BundlePtr();
}

}  // namespace RecastHost
