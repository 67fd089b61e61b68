#include "outcome.h"

#include <new>

#include "messages.h"
#include "standard_output.h"

#include "recast/recastbase/run_report.h"
#include "recast/sheaf/storage_error.h"

namespace RecastHost {
namespace {

constexpr int kOutOfRange = 11;

/// How a command ended.
struct Outcome {
  int code = kDone;
  std::string sentence = {};
};

Outcome outcomeOf(const std::function<void()>& command) {
  try {
    command();
    return {};
  } catch (const Failure& failure) {
    return {failure.code(), failure.what()};
  } catch (const Quilt::StorageError& error) {
    return {kOutputFailed, error.what()};
  } catch (const std::bad_alloc&) {
    return {kNoMemory, "there is not enough memory"};
  } catch (const std::exception& error) {
    return {kUnexpected, error.what()};
  }
}

/// The library's sentence for the conversion that failed, if there is one.
std::string failureOr(const std::string& otherwise) {
  const std::string& sentence = Recast::lastRunReport().failure;
  return sentence.empty() ? otherwise : sentence;
}

std::size_t noticesPrinted = 0;
std::uint64_t failedReadsBefore = 0;

/// What the command could not read so far, as a sentence; empty if it could read everything.
std::string readFailures() {
  const std::uint64_t failed = Quilt::failedReads() - failedReadsBefore;
  return failed == 0 ? std::string()
                     : std::to_string(failed) + " arrays of the input can't be read";
}

/// Prints the notices that the last run's report has got since they were printed.
void printNotices(bool (*isWanted)(const std::string&)) {
  const auto& notices = Recast::lastRunReport().notices;
  for (; noticesPrinted < notices.size(); ++noticesPrinted)
    if (isWanted(notices[noticesPrinted])) notify("recast: " + notices[noticesPrinted]);
}

}  // namespace

void runConversion(const Conversion& conversion, const std::function<int()>& convert) {
  if (const std::string unread = readFailures(); !unread.empty()) throw Failure(kBadInput, unread);
  noticesPrinted = 0;
  int status = 0;
  bool isOutOfRange = false;
  try {
    status = convert();
  } catch (const std::out_of_range&) {
    isOutOfRange = true;
  }
  printNotices(conversion.isWanted);
  if (isOutOfRange)
    throw Failure(kOutOfRange,
                  failureOr(conversion.file + ": a number is beyond the range of a float"));
  if (status != 0)
    throw Failure(status == conversion.cannotWrite ? int{kOutputFailed} : status,
                  failureOr(conversion.sentence(status)));
}

int exitCodeOf(const std::function<void()>& command) noexcept {
  failedReadsBefore = Quilt::failedReads();
  Outcome outcome = outcomeOf(command);
  // An output that is completed after a failed conversion may have added one.
  printNotices([](const std::string&) { return true; });
  if (const std::string unread = readFailures(); outcome.code == kDone && !unread.empty())
    outcome = {kBadInput, unread + "; the result lacks their data"};
  const std::string reason = StandardOutput::flushAll();
  if (outcome.code == kDone && !reason.empty())
    outcome = {kStandardOutputFailed, "standard output: " + reason};
  if (outcome.code != kDone) reportFailure("recast: " + outcome.sentence);
  return outcome.code;
}

}  // namespace RecastHost
