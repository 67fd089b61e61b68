#include "command.h"

namespace RecastHost {
namespace {

struct ValueName {
  std::string operator()(bool*) const { return {}; }
  std::string operator()(int*) const { return "INT"; }
  std::string operator()(unsigned int*) const { return "UINT"; }
  std::string operator()(std::uint64_t*) const { return "UINT"; }
  std::string operator()(float*) const { return "FLOAT"; }
  std::string operator()(double*) const { return "FLOAT"; }
  std::string operator()(std::string*) const { return "TEXT"; }
  std::string operator()(std::vector<std::string>*) const { return "TEXT"; }
  std::string operator()(std::optional<Triple>*) const { return "X,Y,Z"; }
  std::string operator()(std::optional<Interval>*) const { return "MIN:MAX"; }
};

}  // namespace

std::string Option::valueName() const {
  return role == Role::Setting ? std::visit(ValueName(), target) : "FILE";
}

std::vector<std::string> Command::files(Role role) const {
  std::vector<std::string> found;
  for (const Option& option : options) {
    if (option.role != role) continue;
    if (const auto* list = std::get_if<std::vector<std::string>*>(&option.target))
      found.insert(found.end(), (*list)->begin(), (*list)->end());
    if (const auto* file = std::get_if<std::string*>(&option.target))
      if (!(*file)->empty()) found.push_back(**file);
  }
  return found;
}

Option inputFiles(std::vector<std::string>& target, std::string text) {
  return {.names = "files",
          .target = &target,
          .text = std::move(text),
          .role = Role::Input,
          .required = true};
}

Option outputFile(std::string& target) {
  return {.names = "-o,--output",
          .target = &target,
          .text = "The .q8 file to write",
          .role = Role::Output,
          .required = true};
}

Option inputArgument(std::string name, std::string& target, std::string text) {
  return {.names = std::move(name),
          .target = &target,
          .text = std::move(text),
          .role = Role::Input,
          .required = true};
}

Option outputArgument(std::string& target, std::string text) {
  return {.names = "output",
          .target = &target,
          .text = std::move(text),
          .role = Role::Output,
          .required = true};
}

}  // namespace RecastHost
