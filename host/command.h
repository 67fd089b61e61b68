#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace RecastHost {

/// Three numbers, as the option value "X,Y,Z".
struct Triple {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
};

/// A range, as the option value "MIN:MAX".
struct Interval {
  float low = 0.0F;
  float high = 0.0F;
};

/// Where an option's value goes; the type decides how it is read.
using Target =
    std::variant<bool*, int*, unsigned int*, std::uint64_t*, float*, double*, std::string*,
                 std::vector<std::string>*, std::optional<Triple>*, std::optional<Interval>*>;

enum class Role {
  Setting,
  Input,   ///< a file to read
  Output,  ///< a file to write
};

/// An option or an argument of a command.
///
/// An option takes one value, a bool none, so that files may follow it; a list grows by one with
/// each use of the option. An argument that is a list takes all words that are left.
struct Option {
  /// "-o,--output", "--flag,!--no-flag"; a word without dashes for an argument.
  std::string names = {};
  Target target = {};
  std::string text = {};  ///< for the help; the default value is added where there is one
  Role role = Role::Setting;
  bool required = false;
  bool showDefault = false;
  std::vector<std::string> choices = {};  ///< empty for any value

  bool isArgument() const { return names[0] != '-'; }
  bool isList() const { return std::holds_alternative<std::vector<std::string>*>(target); }
  bool isFlag() const { return std::holds_alternative<bool*>(target); }
  /// What stands for the value in the help, such as "FILE".
  std::string valueName() const;
};

/// A subcommand: its options, which `run` finds set.
struct Command {
  std::string name = {};
  std::string text = {};
  std::vector<Option> options = {};
  /// Returns if all is done. \throw Failure, or what `exitCodeOf` knows.
  std::function<void()> run = {};
  bool isHidden = false;

  /// The files that the options of that role name.
  std::vector<std::string> files(Role role) const;
};

/// The options of most commands.
Option inputFiles(std::vector<std::string>& target, std::string text);
Option outputFile(std::string& target);
/// The one file that a command reads, and the one that it writes, as arguments.
Option inputArgument(std::string name, std::string& target, std::string text);
Option outputArgument(std::string& target, std::string text);

}  // namespace RecastHost
