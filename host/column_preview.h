#pragma once

#include <string>

namespace RecastHost {

/// Prints the first lines of a text file, each token with its position. \return an exit code.
int previewColumns(const std::string& file, char delimiter, unsigned int headerLines);

}  // namespace RecastHost
