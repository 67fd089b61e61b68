#pragma once

#include <stdexcept>

namespace Recast {

/// Ends a refragmentation; what it says is the run's result.
class RunEnd : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace Recast
