#include <csignal>

#include "command_line.h"
#include "commands.h"
#include "manual.h"
#include "messages.h"
#include "standard_output.h"
#include <fcntl.h>
#include <unistd.h>

namespace {

/// No file may get the number of a standard stream that the caller has closed: what is printed
/// would go to it. Printing to what is opened here fails, and is reported.
void occupyStandardStreams() {
  for (;;) {
    const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    if (descriptor > STDERR_FILENO) close(descriptor);
    if (descriptor < 0 || descriptor > STDERR_FILENO) return;
  }
}

}  // namespace

int main(int argc, char** argv) {
  using namespace RecastHost;
  occupyStandardStreams();
  // Writing to a closed pipe, or beyond the limit of a file's size, is a failure like others.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  StandardOutput standardOutput;
  startMessages(false);
  std::vector<Command> commands = {rasterCommand(),         terrainCommand(),    columnsCommand(),
                                   importCityJsonCommand(), lod1Command(),       lod2Command(),
                                   exportObjCommand(),      gridCommand(),       contoursCommand(),
                                   exportGeojsonCommand(),  refragmentCommand(), infoCommand(),
                                   verifyCommand()};
  const std::vector<Command> documented = commands;
  commands.push_back(manPageCommand(documented));
  commands.push_back(completionCommand(documented));
  return runCommandLine(commands, argc, argv);
}
