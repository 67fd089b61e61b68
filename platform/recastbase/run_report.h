#pragma once

#include <string>
#include <vector>

#include "recast/larder/export.h"

namespace Recast {

/// What a conversion reports beside its status. Each text is one sentence that names the file and,
/// where there is one, the line.
struct RECAST_API RunReport {
  std::string failure;               ///< why the run failed; empty if it succeeded
  std::vector<std::string> notices;  ///< what a successful run left out or replaced, in order
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

}  // namespace Recast
