#pragma once

#include <string>

namespace FuzzSupport {

/// Loads a .q8 file and reads all that it holds. If that works, it can be saved as the file `copy`
/// and comes out of that as the same. No file stays open.
void checkQ8File(const std::string& file, const std::string& copy);

}  // namespace FuzzSupport
