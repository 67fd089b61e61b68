#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace RecastHost {

/// A text file that is written beside its target and takes the target's place in one step.
///
/// Until `finish` the target is as it was, whatever ends the program. The text goes to
/// "<target>.partial", on which a lock keeps a second writer off; a leftover of a killed program is
/// replaced. Symbolic links are followed. Devices, pipes and the program's own open files, such as
/// /dev/stdout, are written to directly and never replaced.
///
/// A call that fails throws Failure, with the file's name and the system's reason.
class TextOutput {
 public:
  explicit TextOutput(const std::string& path);
  /// Removes what is not complete.
  ~TextOutput();
  TextOutput(const TextOutput&) = delete;
  TextOutput& operator=(const TextOutput&) = delete;

  void put(std::string_view text);
  /// As "%.<digits>g" in the "C" locale.
  void put(double number, int digits);
  void put(std::uint64_t number);
  /// Brings the text to the disk and puts it in the target's place.
  void finish();

 private:
  bool openDirectly();
  void followLinks();
  void openPartial();
  void lockPartial();
  void flush();
  void putInPlace();
  [[noreturn]] void fail(int error) const;

  std::string shownName_;
  std::string target_;   // behind links
  std::string partial_;  // empty if the target is written to directly
  int descriptor_ = -1;
  std::string buffer_;
};

}  // namespace RecastHost
