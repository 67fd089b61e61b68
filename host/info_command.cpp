#include <iostream>
#include <memory>

#include "bundle_description.h"
#include "bundle_files.h"
#include "commands.h"

namespace RecastHost {
namespace {

int run(const std::string& file, bool json) {
  const Quilt::BundlePtr bundle = loadBundle(file);
  if (!bundle) return 2;  // the console told why
  const auto description = describe(*bundle);
  // Names may hold any bytes; what is no UTF-8 is shown as a replacement character.
  using Json = nlohmann::ordered_json;
  if (json)
    std::cout << description.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
  else
    std::cout << asText(description);
  return 0;
}

}  // namespace

void addInfoCommand(CLI::App& program, Outcome& outcome) {
  auto* command = program.add_subcommand("info", "Shows what a .q8 file holds");
  const auto file = std::make_shared<std::string>();
  const auto json = std::make_shared<bool>(false);
  command->add_option("file", *file, "The .q8 file")->required();
  command->add_flag("--json", *json, "As a JSON document, with every fragment");
  command->callback([file, json, &outcome] { outcome.code = run(*file, *json); });
}

}  // namespace RecastHost
