#pragma once

#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/temp_folder.h"
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace TestSupport {

inline std::string textOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// A running program, whose two output streams go to files.
class ProgramRun {
 public:
  /// Starts `words[0]` with the other words as arguments, in `folder`.
  ProgramRun(const TempFolder& folder, const std::vector<std::string>& words)
      : output_(folder / "stdout"), errors_(folder / "stderr") {
    process_ = fork();
    if (process_ < 0) throw std::runtime_error("can't start a process");
    if (process_ == 0) execute(folder, words);
  }
  ~ProgramRun() {
    if (process_ > 0) waitForEnd();
  }
  ProgramRun(const ProgramRun&) = delete;
  ProgramRun& operator=(const ProgramRun&) = delete;

  void signal(int number) const { kill(process_, number); }
  /// The exit code; -1 if a signal ended the program.
  int exitCode() {
    if (process_ > 0) waitForEnd();
    return WIFEXITED(status_) ? WEXITSTATUS(status_) : -1;
  }
  std::string output() const { return textOf(output_); }
  std::string errors() const { return textOf(errors_); }

 private:
  [[noreturn]] void execute(const TempFolder& folder, const std::vector<std::string>& words) {
    std::vector<char*> arguments;
    for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC;
    dup2(open(output_.c_str(), kFlags, 0600), STDOUT_FILENO);
    dup2(open(errors_.c_str(), kFlags, 0600), STDERR_FILENO);
    if (chdir(folder.path().c_str()) == 0) execv(arguments[0], arguments.data());
    _exit(127);
  }

  void waitForEnd() {
    while (waitpid(process_, &status_, 0) < 0 && errno == EINTR) {
    }
    process_ = 0;
  }

  std::string output_;
  std::string errors_;
  pid_t process_ = 0;
  int status_ = 0;
};

}  // namespace TestSupport
