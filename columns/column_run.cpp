#include "recast/columns/column_run.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "recast/columns/bad_line.h"
#include "recast/columns/column_fields.h"
#include "recast/columns/column_status.h"
#include "recast/larder/console.h"

namespace Recast {
namespace {

using Larder::Text::LineReader;

/// The size of a file in bytes; 0 of one that can be read only once, such as a pipe.
std::uint64_t sizeOf(const std::string& file) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) return 0;
  const auto size = std::filesystem::file_size(file, error);
  return error ? 0 : size;
}

/// The lines that so many bytes hold, with a tenth to spare.
std::uint64_t linesIn(std::uint64_t bytes, std::uint64_t bytesPerLine) {
  return bytes * 110 / (100 * bytesPerLine);
}

bool startsWithByteOrderMark(std::string_view text) {
  return text.substr(0, 3) == "\xEF\xBB\xBF";
}

}  // namespace

int ColumnRun::readFile(const std::string& file) {
  file_ = file;
  if (lineEstimate_ == 0) estimateLines();
  planReports();
  LineReader reader(file_);
  if (!reader.isOpen()) {
    tellHost(file_ + ": can't be opened: " + reader.reason());
    return kColumnFileNotOpened;
  }
  reader.skip(converter_.HeaderLines);
  noteStripe();
  block_.start(expectedLines());
  if (const int status = readLines(reader); status != kColumnsDone) return status;
  if (block_.lines() > 0) {
    if (!saveBlock()) return kNotBoundOrSaved;
    ++fragmentNumber_;
  }
  ++fileIndex_;
  return kColumnsDone;
}

int ColumnRun::readLines(LineReader& reader) {
  for (std::string_view line; reader.next(line);) {
    if (line.empty()) continue;
    if (lineNumber_ == nextReport_ && !report()) return kColumnsStopped;
    if (lineNumber_ >= converter_.StopReadingAt) return kColumnsDone;
    if (lineNumber_ >= converter_.StartReadingAt) {
      if (block_.lines() == kColumnBlockLines) {
        if (!saveBlock()) return kFullBlockNotSaved;
        block_.start(expectedLines());
        ++fragmentNumber_;
      }
      const std::string_view text = reader.untilNul(line);
      if (!block_.append(text)) return tellBadLine(text, reader.lineNumber());
    }
    countLine();
  }
  if (reader.failed())
    Larder::Console() << file_ << ": reading ended behind line " << reader.lineNumber() << ": "
                      << reader.reason();
  return kColumnsDone;
}

bool ColumnRun::saveBlock() {
  block_.finish();
  // What waits to be written and what the cache holds of this file stays below two blocks. A former
  // block was written while this one was read, so that there is hardly a wait.
  if (linesSinceSync_ + block_.lines() > kColumnBlockLines) {
    bundle_.sync();
    linesSinceSync_ = 0;
  }
  linesSinceSync_ += block_.lines();
  return allColumns(converter_, [this](auto& column) {
    return saveColumnFragment(column.Data, column.Name, representation_, fragmentNumber_, file_,
                              manipulate_);
  });
}

int ColumnRun::tellBadLine(std::string_view text, std::uint64_t lineOfFile) const {
  BadLine fault = explainBadLine(converter_, text);
  std::string hint;
  if (lineOfFile == 1 && startsWithByteOrderMark(text))
    hint = "; the file starts with a UTF-8 byte order mark";
  if (fault.status == kValueNotConverted) {
    announceBadLine();
    Larder::Text::TokenWalk walk(text, converter_.Delimiter);
    for (std::string_view token; walk.next(token);) showToken(token);
  }
  Larder::Console() << "Bad line is: " << text << " at nr: " << lineNumber_ << hint;
  tellHost(file_ + ", line " + std::to_string(lineOfFile) + ": " + fault.reason + hint);
  return fault.status;
}

void ColumnRun::tellHost(const std::string& text) const {
  if (progress_) progress_->reportMessage(text);
}

void ColumnRun::estimateLines() {
  std::cout << " file name " << file_ << std::endl;
  const std::uint64_t size = sizeOf(file_);
  if (size == 0) return;
  LineReader reader(file_);
  reader.skip(converter_.HeaderLines);
  std::string_view line;
  reader.next(line);
  bytesPerLine_ = line.size() + 1;
  lineEstimate_ = linesIn(size, bytesPerLine_);
}

std::uint64_t ColumnRun::expectedLines() const {
  return linesIn(sizeOf(file_), bytesPerLine_) + 1;
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
