#include "recast/columns/column_run.h"

#include <algorithm>
#include <fstream>
#include <iostream>

#include "recast/columns/bad_line.h"
#include "recast/columns/column_fields.h"
#include "recast/columns/column_status.h"
#include "recast/larder/console.h"

namespace Recast {
namespace {

using Larder::Text::LineReader;

/// The lines that so many bytes hold, with a tenth to spare.
std::uint64_t linesIn(std::uint64_t bytes, std::uint64_t bytesPerLine) {
  return bytes * 110 / (100 * bytesPerLine);
}

bool startsWithByteOrderMark(std::string_view text) {
  return text.substr(0, 3) == "\xEF\xBB\xBF";
}

}  // namespace

RunOutcome ColumnRun::readFile(const std::string& file) {
  file_ = file;
  LineReader reader(file_);
  fileSize_ = reader.fileSize();
  if (lineEstimate_ == 0) estimateLines(reader);
  planReports();
  if (!reader.isOpen()) return {kColumnFileNotOpened, reader.failure()};
  reader.skip(converter_.HeaderLines);
  noteStripe();
  block_.start(expectedLines());
  if (RunOutcome outcome = readLines(reader); !outcome.isDone()) return outcome;
  if (block_.lines() > 0) {
    if (RunOutcome outcome = saveBlock(kNotBoundOrSaved); !outcome.isDone()) return outcome;
    ++fragmentNumber_;
  }
  ++fileIndex_;
  if (reader.failed()) return {kColumnFileNotOpened, reader.failure()};
  return {};
}

RunOutcome ColumnRun::readLines(LineReader& reader) {
  for (std::string_view line; reader.next(line);) {
    if (line.empty()) continue;
    if (lineNumber_ == nextReport_ && !report())
      return {kColumnsStopped, reader.place() + ": the run was stopped before this line"};
    if (lineNumber_ >= converter_.StopReadingAt) return {};
    if (lineNumber_ >= converter_.StartReadingAt) {
      if (block_.lines() == kColumnBlockLines) {
        if (RunOutcome outcome = saveBlock(kFullBlockNotSaved); !outcome.isDone()) return outcome;
        block_.start(expectedLines());
        ++fragmentNumber_;
      }
      const std::string_view text = reader.untilNul(line);
      if (!block_.append(text)) return showBadLine(text, reader);
    }
    countLine();
  }
  return {};
}

RunOutcome ColumnRun::saveBlock(int status) {
  block_.finish();
  // What waits to be written and what the cache holds of this file stays below two blocks. A former
  // block was written while this one was read, so that there is hardly a wait.
  if (linesSinceSync_ + block_.lines() > kColumnBlockLines) {
    bundle_.sync();
    linesSinceSync_ = 0;
  }
  linesSinceSync_ += block_.lines();
  RunOutcome outcome;
  allColumns(converter_, [&](auto& column) {
    const bool isSaved = saveColumnFragment(column.Data, column.Name, representation_,
                                            fragmentNumber_, file_, manipulate_);
    if (!isSaved)
      outcome = {status, file_ + ": the values of the column \"" + column.Name +
                             "\" can't be saved as block " + std::to_string(fragmentNumber_)};
    return isSaved;
  });
  return outcome;
}

RunOutcome ColumnRun::showBadLine(std::string_view text, const LineReader& reader) const {
  BadLine fault = explainBadLine(converter_, text);
  if (fault.status == kValueNotConverted) {
    announceBadLine();
    Larder::Text::TokenWalk walk(text, converter_.Delimiter);
    for (std::string_view token; walk.next(token);) showToken(token);
  }
  Larder::Console() << "Bad line is: " << text << " at nr: " << lineNumber_;
  if (reader.lineNumber() == 1 && startsWithByteOrderMark(text))
    fault.reason += "; the file starts with a UTF-8 byte order mark";
  return {fault.status, reader.place() + ": " + fault.reason};
}

void ColumnRun::estimateLines(LineReader& reader) {
  std::cout << " file name " << file_ << std::endl;
  if (fileSize_ == 0) return;
  reader.skip(converter_.HeaderLines);
  std::string_view line;
  reader.next(line);
  bytesPerLine_ = line.size() + 1;
  lineEstimate_ = linesIn(fileSize_, bytesPerLine_);
  reader.rewind();
}

std::uint64_t ColumnRun::expectedLines() const {
  return linesIn(fileSize_, bytesPerLine_) + 1;
}

void ColumnRun::noteStripe() {
  for (auto& column : converter_.UShortColumns) {
    if (!column.Constant || column.Name != kStripeField) continue;
    column.Value = static_cast<unsigned short>(fileIndex_);
    std::ofstream(std::string(kStripeField) + ".zrk", std::ios::app)
        << file_ + " " + std::to_string(fileIndex_) + "\n";
  }
}

void ColumnRun::planReports() {
  total_ = lineEstimate_ * numberOfFiles_;
  reportInterval_ = total_ > 1999 ? total_ / 1000 : 1;
  nextReport_ = (lineNumber_ + reportInterval_ - 1) / reportInterval_ * reportInterval_;
}

bool ColumnRun::report() const {
  return !progress_ || progress_->reportProgress(
                           "Read line nr.:", static_cast<int>(std::min(lineNumber_, total_)),
                           static_cast<int>(total_));
}

}  // namespace Recast
