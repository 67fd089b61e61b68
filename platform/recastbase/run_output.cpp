#include "recast/recastbase/run_output.h"

#include <algorithm>
#include <filesystem>

#include "recast/recastbase/run_report.h"

namespace Recast {

bool isSameFile(const std::string& a, const std::string& b) {
  std::error_code missing;
  return std::filesystem::equivalent(a, b, missing);
}

RunOutput::RunOutput(const Quilt::BundlePtr& bundle, const std::string& target,
                     const std::vector<std::string>& inputs)
    : bundle_(bundle),
      target_(target),
      targetIsInput_(std::any_of(inputs.begin(), inputs.end(), [&](const std::string& input) {
        return isSameFile(input, target);
      })) {}

RunOutput::~RunOutput() {
  if (isEnded_) return;
  if (targetIsInput_ || bundle_->storedFragments() == 0) {
    bundle_->abandon();
    return;
  }
  try {
    bundle_->complete();
  } catch (const std::exception& error) {
    reportNotice(target_ + ": what was stored could not be kept: " + error.what());
  }
}

void RunOutput::complete() {
  isEnded_ = true;
  bundle_->complete();
}

void RunOutput::abandon() {
  isEnded_ = true;
  bundle_->abandon();
}

}  // namespace Recast
