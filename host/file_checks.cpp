#include "file_checks.h"

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "outcome.h"
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "recast/recastbase/run_output.h"

namespace RecastHost {
namespace {

/// \return 0, or the system's number for why the file can't be read.
int readingError(const std::string& file) {
  struct stat status {};
  if (stat(file.c_str(), &status) != 0) return errno;
  if (S_ISDIR(status.st_mode)) return EISDIR;
  if (!S_ISREG(status.st_mode)) return access(file.c_str(), R_OK) == 0 ? 0 : errno;
  const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) return errno;
  close(descriptor);
  return 0;
}

/// Where an output is written until it is complete.
std::string partialOf(const std::string& output) {
  std::error_code error;
  const auto target = std::filesystem::weakly_canonical(output, error);
  return (error ? output : target.string()) + ".partial";
}

}  // namespace

void requireReadable(const std::vector<std::string>& files) {
  for (const std::string& file : files)
    if (const int error = readingError(file); error != 0)
      throw Failure(kNoInput, file + ": " + std::generic_category().message(error));
}

void refuseInputAsOutput(const std::vector<std::string>& outputs,
                         const std::vector<std::string>& inputs) {
  for (const std::string& output : outputs)
    for (const std::string& input : inputs)
      for (const std::string& written : {output, partialOf(output)})
        if (Recast::isSameFile(input, written))
          throw Failure(kUsage, written + ": it is to be written, but it is the input " + input);
}

}  // namespace RecastHost
