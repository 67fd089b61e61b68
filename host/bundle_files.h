#pragma once

#include <string>

#include "outcome.h"

#include "recast/sheaf/bundle.h"

namespace RecastHost {

/// The bundle of a file. \throw Failure if it can't be loaded; the console has the reason then
inline Quilt::BundlePtr loadBundle(const std::string& file) {
  const auto list = Larder::makeStrong<Larder::StringList>(std::vector<std::string>{file});
  bool ok = false;
  const Quilt::BundlePtr bundle(
      Quilt::Bundle::load(ok, Larder::makeStrong<Larder::LoaderParameters>(list, false), nullptr));
  if (!ok || !bundle) throw Failure(kBadInput, file + ": it can't be loaded");
  return bundle;
}

}  // namespace RecastHost
