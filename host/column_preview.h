#pragma once

#include <string>

namespace RecastHost {

/// Prints the first lines of a text file, each token with its position. \throw Failure
/// if reading fails
void previewColumns(const std::string& file, char delimiter, unsigned int headerLines);

}  // namespace RecastHost
