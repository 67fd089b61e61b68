#pragma once

#include <string>
#include <vector>

#include "recast/sheaf/bundle.h"

namespace Recast {

/// Whether two names stand for one existing file, behind links of any kind.
RECAST_API bool isSameFile(const std::string& a, const std::string& b);

/// Decides what becomes of the bound bundle of a run. All converters follow this one rule:
///
/// - A run that succeeds calls `complete`: the output is in place before success is reported, even
///   if there was nothing to store.
/// - A run that fails, by status or exception, leaves the target as it was if it has stored no
///   fragment, or if the target is one of its inputs. Otherwise the file is completed with the
///   fragments stored so far; if that fails too, the run's report has a notice of it.
///
/// To be made as soon as the bundle is bound; the notice goes to the thread's last report.
class RECAST_API RunOutput {
 public:
  /// \pre the bundle is bound to `target`. \param inputs the files that the run reads.
  RunOutput(const Quilt::BundlePtr& bundle, const std::string& target,
            const std::vector<std::string>& inputs);
  ~RunOutput();
  RunOutput(const RunOutput&) = delete;
  RunOutput& operator=(const RunOutput&) = delete;

  /// \throw Quilt::StorageError if the file can't be completed; the target is unchanged then.
  void complete();
  /// For a run whose fragments are worth nothing without those that are missing: the target stays
  /// as it was, whatever was stored.
  void abandon();

 private:
  Quilt::BundlePtr bundle_;
  std::string target_;
  bool targetIsInput_;
  bool isEnded_ = false;
};

}  // namespace Recast
