#pragma once

#include <string>
#include <utility>
#include <vector>

#include "recast/larder/export.h"

namespace Recast {

/// What a conversion reports beside its status. Each text is one sentence that names the file as
/// the caller did and, where there is one, the line and the column.
struct RECAST_API RunReport {
  std::string failure;  ///< why the run failed or what it threw; empty if it succeeded
  /// What the run left out or replaced, in order, and what it could not do after its failure.
  std::vector<std::string> notices;
};

/// The report of the last conversion that was called on this thread; empty before the first one.
RECAST_API const RunReport& lastRunReport();

/// For converters: collects the report of the conversion on this thread. The outermost scope begins
/// a new report; conversions that call others share theirs.
class RunReportScope {
 public:
  RunReportScope();
  ~RunReportScope();
  RunReportScope(const RunReportScope&) = delete;
  RunReportScope& operator=(const RunReportScope&) = delete;
};

/// For converters, inside a scope: sets the failure in place of a former one, or adds a notice.
void reportFailure(std::string sentence);
void reportNotice(std::string sentence);

/// For converters: how a step ended.
struct [[nodiscard]] RunOutcome {
  int status = 0;
  std::string failure;  ///< the sentence for the report; empty for the status 0

  bool isDone() const { return status == 0; }
};

/// For converters, called while an exception is handled: its text is the failure.
/// \param subject begins the sentence for a lack of memory.
void reportException(const std::string& subject);

/// For converters: does the work of one exported call inside a scope, and returns its result. What
/// it throws is the report's failure. \param subject begins the sentence for a lack of memory.
template <class Work>
auto reportingExceptions(const std::string& subject, Work work) {
  const RunReportScope scope;
  try {
    return work();
  } catch (...) {
    reportException(subject);
    throw;
  }
}

/// For converters: does the work of one exported call inside a scope. What it returns, or throws,
/// is the report's failure. \param subject the file that the call is about. \param work gives a
/// RunOutcome. \return its status.
template <class Work>
int reportedRun(const std::string& subject, Work work) {
  return reportingExceptions(subject, [&work] {
    RunOutcome outcome = work();
    reportFailure(std::move(outcome.failure));
    return outcome.status;
  });
}

}  // namespace Recast
