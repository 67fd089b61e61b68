#pragma once

#include <stdexcept>
#include <string>

namespace Recast {

/// Ends a refragmentation; what it says is the run's result.
class RunEnd : public std::runtime_error {
 public:
  explicit RunEnd(const std::string& result) : RunEnd(result, result) {}
  /// \param reason of the failure, for results that don't name it.
  RunEnd(const std::string& result, std::string reason)
      : std::runtime_error(result), reason_(std::move(reason)) {}
  const std::string& reason() const { return reason_; }

 private:
  std::string reason_;
};

}  // namespace Recast
