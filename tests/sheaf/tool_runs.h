#pragma once

#include <cstdio>
#include <string>

#include "support/temp_folder.h"

namespace TestSupport {

/// What a program wrote to its standard output and error streams, and how it ended.
struct ToolRun {
  int status = -1;
  std::string output;
};

/// Runs a command line to its end. \param command without quotes of its own around paths with
/// blanks.
inline ToolRun run(const std::string& command) {
  ToolRun result;
  FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) return result;
  char buffer[4096];
  while (const std::size_t got = fread(buffer, 1, sizeof buffer, pipe))
    result.output.append(buffer, got);
  result.status = pclose(pipe);
  return result;
}

/// Whether there is a Python with h5py.
inline bool hasH5py() {
  return !std::string(RECAST_H5PY).empty();
}

/// Runs a Python script in a folder, which has h5py and numpy imported already.
inline ToolRun runPython(const TempFolder& folder, const std::string& script) {
  folder.write("script.py", "import h5py\nimport numpy as np\n" + script);
  return run("cd " + folder.path().string() + " && " RECAST_H5PY " script.py");
}

}  // namespace TestSupport
