#pragma once

#include "recast/columns/column_block.h"
#include "recast/recastbase/run_report.h"
#include "recast/sheaf/bundle.h"
#include "recast/text_input/line_reader.h"

namespace Recast {

/// Reads a list of text files into the fields of one representation, block by block.
class ColumnRun {
 public:
  /// The constant column that holds the number of its file.
  static constexpr const char* kStripeField = "StripeInfoID";

  /// All arguments must outlive the run. \param numberOfFiles that will be read.
  ColumnRun(ColumnAsciiToPointCloudQ8& converter, Quilt::Bundle& bundle,
            Quilt::Representation& representation, std::size_t numberOfFiles,
            const Quilt::ProgressHandle& progress, const ManipulateArray& manipulate)
      : converter_(converter),
        bundle_(bundle),
        representation_(representation),
        numberOfFiles_(numberOfFiles),
        progress_(progress),
        manipulate_(manipulate),
        block_(converter) {}

  /// Reads the next file. \return a ColumnStatus; one other than 0 ends the run.
  RunOutcome readFile(const std::string& file);

 private:
  RunOutcome readLines(Larder::Text::LineReader& reader);
  /// \param status returned if a column can't be saved.
  RunOutcome saveBlock(int status);
  RunOutcome showBadLine(std::string_view text, const Larder::Text::LineReader& reader) const;

  /// Reads a first line, behind the header, and rewinds.
  void estimateLines(Larder::Text::LineReader& reader);
  std::uint64_t expectedLines() const;
  void noteStripe();

  void planReports();
  /// \return false if the run is to stop.
  bool report() const;
  void countLine() {
    if (lineNumber_++ == nextReport_) nextReport_ += reportInterval_;
  }

  ColumnAsciiToPointCloudQ8& converter_;
  Quilt::Bundle& bundle_;
  Quilt::Representation& representation_;
  const std::uint64_t numberOfFiles_;
  const Quilt::ProgressHandle& progress_;
  const ManipulateArray& manipulate_;

  std::string file_;              // the running one, as in the list
  std::uint64_t fileSize_ = 0;    // in bytes; 0 of one that can be read only once, such as a pipe
  std::uint64_t lineNumber_ = 0;  // of the next line, over all files
  unsigned int fragmentNumber_ = 0;
  unsigned int fileIndex_ = 0;
  std::uint64_t lineEstimate_ = 0;  // lines of one file
  std::uint64_t bytesPerLine_ = 1;  // in the file that the estimate is from
  std::uint64_t total_ = 0;         // the estimate over all files
  std::uint64_t reportInterval_ = 1;
  std::uint64_t nextReport_ = 0;  // the first multiple of the interval that isn't below lineNumber_
  ColumnBlock block_;
  std::uint64_t linesSinceSync_ = 0;
};

}  // namespace Recast
