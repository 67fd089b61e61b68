#pragma once

#include <string>
#include <vector>

namespace RecastHost {

/// \throw Failure, with the file's name and the system's reason, for the first file that can't be
/// read. Opens nothing that opening would change, such as a named pipe.
void requireReadable(const std::vector<std::string>& files);

/// \throw Failure if an output, or the file beside it that holds it until it is complete, is one of
/// the inputs under any name.
void refuseInputAsOutput(const std::vector<std::string>& outputs,
                         const std::vector<std::string>& inputs);

}  // namespace RecastHost
