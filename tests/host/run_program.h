#pragma once

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/temp_folder.h"
#include <sys/wait.h>

namespace TestSupport {

inline std::string textOf(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

/// What a run of the program `recast` came to.
struct ProgramRun {
  int code;
  std::string errors;  ///< the standard error stream
};

/// Runs the program; each argument is quoted for the shell.
inline ProgramRun runProgram(const TempFolder& folder, const std::vector<std::string>& arguments) {
  const std::string errors = folder / "stderr.txt";
  std::string command = RECAST_PROGRAM;
  for (const std::string& argument : arguments) command += " '" + argument + "'";
  const int status = std::system((command + " >/dev/null 2>'" + errors + "'").c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, textOf(errors)};
}

}  // namespace TestSupport
