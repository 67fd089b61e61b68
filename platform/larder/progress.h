#pragma once

#include <string>

#include "recast/larder/interfaces.h"

namespace Larder {

/// How a run tells its host how far it is; the host derives from it.
class RECAST_API LoaderProgress : public Interface<LoaderProgress> {
 public:
  /// \param current steps done, of `total`.
  /// \return false to ask the run to stop; not every run honours it.
  virtual bool reportProgress(const std::string& text, int current, int total) = 0;
  virtual void reportMessage(const std::string& text) = 0;
};

}  // namespace Larder
