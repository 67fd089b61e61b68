#pragma once

#include <cstdlib>
#include <exception>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace TestSupport {

/// Runs `work` in a process of its own, expectations included, which ends as a program does.
/// \return its exit code: 0, or 1 if an expectation failed; 256 + the signal that ended it.
template <class Work>
int inChild(Work work) {
  const pid_t child = fork();
  if (child == 0) {
    try {
      work();
    } catch (const std::exception& error) {
      ADD_FAILURE() << error.what();
    }
    std::exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFSIGNALED(status) ? 256 + WTERMSIG(status) : WEXITSTATUS(status);
}

/// From now on no file of this process can grow beyond that.
inline void limitFiles(rlim_t bytes) {
  const rlimit limit{bytes, bytes};
  setrlimit(RLIMIT_FSIZE, &limit);
}

}  // namespace TestSupport
