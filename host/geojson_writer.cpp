#include "geojson_writer.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <stdexcept>
#include <system_error>

namespace RecastHost {
namespace {

constexpr std::size_t kBufferBytes = std::size_t{1} << 20;
// A millimetre for coordinates of eight digits, as those with the number of their zone.
constexpr int kDigits = 11;

}  // namespace

GeojsonWriter::GeojsonWriter(const std::string& path)
    : path_(path), partial_(path + ".partial"), file_(std::fopen(partial_.c_str(), "wb")) {
  if (!file_) fail(errno);
  buffer_.reserve(kBufferBytes + 4096);
  put("{\"type\":\"FeatureCollection\",\"features\":[");
}

GeojsonWriter::~GeojsonWriter() {
  if (file_) std::remove(partial_.c_str());
}

void GeojsonWriter::beginLine(double level) {
  put(firstLine_ ? "\n{\"type\":\"Feature\",\"properties\":{\"level\":"
                 : ",\n{\"type\":\"Feature\",\"properties\":{\"level\":");
  put(level);
  put("},\"geometry\":{\"type\":\"LineString\",\"coordinates\":[");
  firstLine_ = false;
  firstPosition_ = true;
}

void GeojsonWriter::addPosition(double x, double y, double z) {
  put(firstPosition_ ? "[" : ",[");
  put(x);
  put(",");
  put(y);
  put(",");
  put(z);
  put("]");
  firstPosition_ = false;
}

void GeojsonWriter::endLine() {
  put("]}}");
  if (buffer_.size() > kBufferBytes) flush();
}

void GeojsonWriter::finish() {
  put("\n]}\n");
  flush();
  if (std::fclose(file_.release()) != 0 || std::rename(partial_.c_str(), path_.c_str()) != 0) {
    const int error = errno;
    std::remove(partial_.c_str());
    fail(error);
  }
}

void GeojsonWriter::put(std::string_view text) {
  buffer_ += text;
}

void GeojsonWriter::put(double number) {
  std::array<char, 32> text;
  const auto end = std::to_chars(text.data(), text.data() + text.size(), number,
                                 std::chars_format::general, kDigits);
  buffer_.append(text.data(), end.ptr);
  if (buffer_.size() > kBufferBytes) flush();
}

void GeojsonWriter::flush() {
  if (std::fwrite(buffer_.data(), 1, buffer_.size(), file_.get()) != buffer_.size()) fail(errno);
  buffer_.clear();
}

void GeojsonWriter::fail(int error) const {
  throw std::runtime_error(path_ + ": " + std::generic_category().message(error));
}

}  // namespace RecastHost
