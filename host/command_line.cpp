#include "command_line.h"

#include <charconv>
#include <iostream>
#include <sstream>

#include "file_checks.h"
#include "messages.h"
#include "outcome.h"
#include "standard_output.h"
#include <CLI/CLI.hpp>

// The only file that includes CLI11, which takes long to compile.

namespace RecastHost {
namespace {

template <class Number>
bool parseNumber(std::string_view text, Number& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

/// The pieces of "a,b,c"; one more than there are separators.
std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> pieces;
  for (;;) {
    const std::size_t end = text.find(separator);
    pieces.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return pieces;
    text.remove_prefix(end + 1);
  }
}

bool parseTriple(const std::string& text, Triple& triple) {
  const auto pieces = split(text, ',');
  return pieces.size() == 3 && parseNumber(pieces[0], triple.x) &&
         parseNumber(pieces[1], triple.y) && parseNumber(pieces[2], triple.z);
}

bool parseInterval(const std::string& text, Interval& range) {
  const auto pieces = split(text, ':');
  return pieces.size() == 2 && parseNumber(pieces[0], range.low) &&
         parseNumber(pieces[1], range.high);
}

/// Adds an option to CLI11's command, by the type of its target.
struct AddOption {
  CLI::App& app;
  const Option& option;

  CLI::Option* operator()(bool* target) const {
    return app.add_flag(option.names, *target, option.text);
  }
  CLI::Option* operator()(std::vector<std::string>* target) const {
    auto* added = app.add_option(option.names, *target, option.text);
    if (!option.isArgument()) added->expected(1)->allow_extra_args(false)->take_all();
    return added;
  }
  CLI::Option* operator()(std::optional<Triple>* target) const {
    return addParsed(target, &parseTriple);
  }
  CLI::Option* operator()(std::optional<Interval>* target) const {
    return addParsed(target, &parseInterval);
  }
  template <class T>
  CLI::Option* operator()(T* target) const {
    return app.add_option(option.names, *target, option.text);
  }

 private:
  template <class T>
  CLI::Option* addParsed(std::optional<T>* target, bool (*parse)(const std::string&, T&)) const {
    const auto take = [target, parse, this_ = option](const std::string& text) {
      if (!parse(text, target->emplace()))
        throw CLI::ValidationError(this_.names,
                                   "\"" + text + "\" isn't of the form " + this_.valueName());
    };
    return app.add_option_function<std::string>(option.names, take, option.text);
  }
};

void addOption(CLI::App& app, const Option& option) {
  CLI::Option* added = std::visit(AddOption{app, option}, option.target);
  added->required(option.required);
  if (!option.isFlag()) added->type_name(option.valueName());
  if (option.showDefault) added->capture_default_str();
  if (!option.choices.empty()) added->check(CLI::IsMember(option.choices));
}

/// Prints what ended the parsing: the help, the version, or what is wrong.
int report(const CLI::App& program, const CLI::ParseError& end) {
  std::ostringstream errors;
  const bool isWanted = program.exit(end, std::cout, errors) == 0;
  std::istringstream lines(errors.str());
  for (std::string line; std::getline(lines, line);) reportFailure("recast: " + line);
  return isWanted ? kDone : kUsage;
}

void checkAndRun(const Command& command) {
  const auto inputs = command.files(Role::Input);
  requireReadable(inputs);
  refuseInputAsOutput(command.files(Role::Output), inputs);
  command.run();
}

}  // namespace

int runCommandLine(const std::vector<Command>& commands, int argc, const char* const* argv) {
  CLI::App program(kProgramText, "recast");
  program.require_subcommand(1);
  program.set_version_flag("--version", "recast " RECAST_VERSION, "Print the version and exit");
  bool quiet = false;
  const Option quietOption{.names = "-q,--quiet",
                           .target = &quiet,
                           .text = "Print failures alone, and what the command is to show"};
  addOption(program, quietOption);
  for (const Command& command : commands) {
    CLI::App* added = program.add_subcommand(command.name, command.text);
    if (command.isHidden) added->group("");
    for (const Option& option : command.options) addOption(*added, option);
    addOption(*added, quietOption);
  }
  try {
    program.parse(argc, argv);
  } catch (const CLI::ParseError& end) {
    int code = kDone;
    const int printed = exitCodeOf([&] { code = report(program, end); });
    return code != kDone ? code : printed;
  }
  startMessages(quiet);
  StandardOutput::setMuted(quiet);
  const std::string name = program.get_subcommands().front()->get_name();
  for (const Command& command : commands)
    if (command.name == name) return exitCodeOf([&] { checkAndRun(command); });
  return kUnexpected;
}

}  // namespace RecastHost
