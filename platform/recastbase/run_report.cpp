#include "recast/recastbase/run_report.h"

#include <utility>

namespace Recast {
namespace {

thread_local RunReport report;
thread_local int openScopes = 0;

}  // namespace

const RunReport& lastRunReport() {
  return report;
}

RunReportScope::RunReportScope() {
  if (openScopes++ == 0) report = {};
}

RunReportScope::~RunReportScope() {
  --openScopes;
}

void reportFailure(std::string sentence) {
  report.failure = std::move(sentence);
}

void reportNotice(std::string sentence) {
  report.notices.push_back(std::move(sentence));
}

}  // namespace Recast
