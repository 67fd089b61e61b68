#pragma once

#include <functional>
#include <stdexcept>
#include <string>

namespace RecastHost {

/// The program's own exit codes. Those from 1 to 20 are statuses of conversions.
enum ExitCode {
  kDone = 0,
  kUsage = 64,         ///< the command line is wrong
  kBadInput = 65,      ///< an input is damaged, or isn't what the command reads
  kNoInput = 66,       ///< an input is missing or can't be opened
  kUnexpected = 70,    ///< an error that no other code names
  kNoMemory = 71,      ///< there is not enough memory
  kOutputFailed = 73,  ///< the output can't be written
  kStandardOutputFailed = 74,
  kInterrupted = 130,  ///< the user stopped a command that writes nothing
};

/// Ends a command with an exit code and one sentence.
class Failure : public std::runtime_error {
 public:
  Failure(int code, const std::string& sentence) : std::runtime_error(sentence), code_(code) {}
  int code() const { return code_; }

 private:
  int code_;
};

/// One call of a conversion of the library.
struct Conversion {
  std::string file = {};  ///< for a number out of range of which the library says nothing
  /// The sentence of a status of which the library's report says nothing.
  std::function<std::string(int)> sentence = {};
  int cannotWrite = 0;  ///< the status that becomes `kOutputFailed`
  /// Notices for which it returns false are not printed.
  bool (*isWanted)(const std::string& notice) = [](const std::string&) { return true; };
};

/// Runs a conversion on this thread and prints the notices of its report. \throw Failure with its
/// status if that isn't 0; a number that is beyond its type counts as status 11; also, and nothing
/// is run, if the command could not read some of its input before.
void runConversion(const Conversion& conversion, const std::function<int()>& convert);

/// Runs a command to its end, checks that nothing got lost, flushes the standard output stream, and
/// prints the sentence of a failure. \return the exit code; never throws.
int exitCodeOf(const std::function<void()>& command) noexcept;

}  // namespace RecastHost
