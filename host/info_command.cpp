#include <iostream>
#include <memory>

#include "bundle_description.h"
#include "bundle_files.h"
#include "commands.h"
#include "shown_text.h"
#include "standard_output.h"

namespace RecastHost {
namespace {

struct Options {
  std::string file;
  bool json = false;
};

void run(const Options& options) {
  StandardOutput::setMuted(false);
  const auto description = describe(*loadBundle(options.file));
  // Names may hold any bytes; in JSON, what is no UTF-8 becomes a replacement character.
  using Json = nlohmann::ordered_json;
  if (options.json)
    std::cout << shownJson(description.dump(2, ' ', false, Json::error_handler_t::replace)) << "\n";
  else
    std::cout << asText(description);
}

}  // namespace

Command infoCommand() {
  const auto options = std::make_shared<Options>();
  return {.name = "info",
          .text = "Shows what a .q8 file holds",
          .options = {inputArgument("file", options->file, "The .q8 file"),
                      {.names = "--json",
                       .target = &options->json,
                       .text = "As a JSON document, with every fragment"}},
          .run = [options] { run(*options); }};
}

}  // namespace RecastHost
