#include "recast/recastbase/run_output.h"

#include <algorithm>
#include <filesystem>

#include "recast/larder/console.h"

namespace Recast {

bool isSameFile(const std::string& a, const std::string& b) {
  std::error_code missing;
  return std::filesystem::equivalent(a, b, missing);
}

RunOutput::RunOutput(const Quilt::BundlePtr& bundle, const std::string& target,
                     const std::vector<std::string>& inputs)
    : bundle_(bundle),
      targetIsInput_(std::any_of(inputs.begin(), inputs.end(), [&](const std::string& input) {
        return isSameFile(input, target);
      })) {}

RunOutput::~RunOutput() {
  if (completed_) return;
  if (targetIsInput_ || bundle_->storedFragments() == 0) {
    bundle_->abandon();
    return;
  }
  try {
    bundle_->complete();
  } catch (const std::exception& error) {
    Larder::Console() << error.what() << "; the file was not completed.";
  }
}

void RunOutput::complete() {
  completed_ = true;
  bundle_->complete();
}

}  // namespace Recast
