#include "manual.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <sstream>
#include <string_view>
#include <type_traits>
#include <utility>

#include "command_line.h"
#include "outcome.h"

namespace RecastHost {
namespace {

constexpr std::array<std::pair<ExitCode, const char*>, 9> kExitCodes = {{
    {kDone, "All is done, and the output is in place."},
    {kUsage, "The command line is wrong, or an output is one of the inputs."},
    {kBadInput, "An input can't be read, is damaged, or isn't what the command reads."},
    {kNoInput, "An input is missing or can't be opened."},
    {kUnexpected, "An error that no other code names."},
    {kNoMemory, "There is not enough memory."},
    {kOutputFailed, "The output can't be written."},
    {kStandardOutputFailed, "The standard output stream can't be written."},
    {kInterrupted, "The user stopped a command that writes nothing."},
}};

/// A text in groff: no character of it is taken for a request or an escape.
std::string groff(std::string_view text) {
  std::string result;
  for (const char c : text) {
    if (c == '\\')
      result += "\\e";
    else if (c == '-')
      result += "\\-";
    else if (c == '\'' || c == '.')
      result += (result.empty() ? "\\&" : "") + std::string(1, c);
    else
      result += c;
  }
  return result;
}

/// The names of an option; "!" before a name that switches a flag off is left out.
std::vector<std::string> namesOf(const Option& option) {
  std::vector<std::string> names;
  std::string_view rest = option.names;
  while (!rest.empty()) {
    const std::size_t end = rest.find(',');
    std::string_view name = rest.substr(0, end);
    if (name[0] == '!') name.remove_prefix(1);
    names.emplace_back(name);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
  }
  return names;
}

/// The value that an option has by default, between brackets as in the help.
struct DefaultText {
  template <class T>
  std::string operator()(const T* target) const {
    std::ostringstream text;
    if constexpr (std::is_arithmetic_v<T> || std::is_same_v<T, std::string>)
      text << " [" << *target << "]";
    return text.str();
  }
};

void printOption(const Option& option) {
  std::cout << ".TP\n";
  std::string head;
  for (const std::string& name : namesOf(option))
    head += (head.empty() ? "\\fB" : ", \\fB") + groff(name) + "\\fR";
  if (!option.isArgument() && !option.isFlag())
    head += " \\fI" + groff(option.valueName()) + "\\fR";
  std::cout << head << "\n"
            << groff(option.text)
            << (option.showDefault ? groff(std::visit(DefaultText(), option.target)) : "")
            << (option.required ? " (required)" : "") << "\n";
}

void printCommand(const Command& command) {
  std::cout << ".SS " << groff(command.name) << "\n" << groff(command.text) << "\n";
  for (const bool arguments : {false, true})
    for (const Option& option : command.options)
      if (option.isArgument() == arguments) printOption(option);
}

void printManPage(const std::vector<Command>& commands) {
  std::cout << ".TH RECAST 1 \"\" \"recast " RECAST_VERSION "\"\n"
            << ".SH NAME\nrecast \\- " << groff("geodata files into self-describing .q8 bundles")
            << "\n.SH SYNOPSIS\n.B recast\n[\\fB\\-q\\fR] \\fICOMMAND\\fR [\\fIOPTION\\fR]... "
               "[\\fIFILE\\fR]...\n"
            << ".SH DESCRIPTION\n"
            << groff(kProgramText) << "\n.SH OPTIONS\n"
            << ".TP\n\\fB\\-q\\fR, \\fB\\-\\-quiet\\fR\n"
               "Print failures alone, and what the command is to show; also behind the command\n"
            << ".TP\n\\fB\\-\\-version\\fR\nPrint the version and exit\n"
            << ".TP\n\\fB\\-h\\fR, \\fB\\-\\-help\\fR\nPrint the help, of a command behind its "
               "name, and exit\n.SH COMMANDS\n";
  for (const Command& command : commands) printCommand(command);
  std::cout << ".SH EXIT STATUS\n";
  for (const auto& [code, text] : kExitCodes)
    std::cout << ".TP\n" << static_cast<int>(code) << "\n" << groff(text) << "\n";
  std::cout << ".TP\n1 to 20\nThe status of a conversion; the sentence says what it means.\n";
}

/// The words of a list, for a shell's word between double quotes.
std::string wordList(const std::vector<std::string>& words) {
  std::string list;
  for (const std::string& word : words) list += (list.empty() ? "" : " ") + word;
  return list;
}

/// A shell pattern that holds for all names.
std::string pattern(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : "|") + name;
  return text;
}

void completeCommand(const Command& command) {
  std::vector<std::string> all = {"-q", "--quiet", "-h", "--help"};
  std::vector<std::string> withText;
  std::cout << "    " << command.name << ")\n      case $previous in\n";
  for (const Option& option : command.options) {
    if (option.isArgument()) continue;
    const auto names = namesOf(option);
    all.insert(all.end(), names.begin(), names.end());
    if (option.isFlag() || option.role != Role::Setting) continue;
    if (option.choices.empty())
      withText.insert(withText.end(), names.begin(), names.end());
    else
      std::cout << "        " << pattern(names) << ") words=\"" << wordList(option.choices)
                << "\"; files=no ;;\n";
  }
  if (!withText.empty()) std::cout << "        " << pattern(withText) << ") files=no ;;\n";
  std::cout << "        *) options=\"" << wordList(all) << "\" ;;\n      esac ;;\n";
}

void printCompletion(const std::vector<Command>& commands) {
  std::vector<std::string> names;
  for (const Command& command : commands) names.push_back(command.name);
  std::cout << "# Completion of the program recast for bash.\n_recast() {\n"
               "  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}\n"
               "  local command= word words= options= files=yes\n"
               "  for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
               "    [[ $word != -* ]] && command=$word && break\n  done\n"
               "  case $command in\n    \"\") words=\""
            << wordList(names) << "\"; options=\"-q --quiet -h --help --version\"; files=no ;;\n";
  for (const Command& command : commands) completeCommand(command);
  std::cout << "  esac\n  [[ $current == -* ]] && words=$options && files=no\n"
               "  COMPREPLY=($(compgen -W \"$words\" -- \"$current\"))\n"
               "  if [[ $files == yes ]]; then\n    compopt -o filenames 2>/dev/null\n"
               "    mapfile -t -O \"${#COMPREPLY[@]}\" COMPREPLY < <(compgen -f -- \"$current\")\n"
               "  fi\n}\ncomplete -F _recast recast\n";
}

}  // namespace

Command manPageCommand(std::vector<Command> documented) {
  return {.name = "man-page",
          .text = "Prints the man page",
          .run = [documented = std::move(documented)] { printManPage(documented); },
          .isHidden = true};
}

Command completionCommand(std::vector<Command> documented) {
  return {.name = "bash-completion",
          .text = "Prints the completion for bash",
          .run = [documented = std::move(documented)] { printCompletion(documented); },
          .isHidden = true};
}

}  // namespace RecastHost
