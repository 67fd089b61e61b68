#pragma once

#include <string>
#include <vector>

namespace FuzzSupport {

/// Writes small .q8 files to a folder, which is made if missing. \return their paths, always in the
/// same order.
std::vector<std::string> writeQ8Samples(const std::string& folder);

}  // namespace FuzzSupport
