#include "recast/recastbase/run_report.h"

#include <exception>
#include <new>

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

void reportException(const std::string& subject) {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    reportFailure(subject + ": there is not enough memory");
  } catch (const std::exception& error) {
    reportFailure(error.what());
  } catch (...) {
    reportFailure(subject + ": an exception of an unknown kind");
  }
}

}  // namespace Recast
