#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace RecastHost {

/// Writes a GeoJSON file of lines as a stream: to "<name>.partial", which takes the file's place
/// when it is complete.
///
/// A call that fails throws std::runtime_error, which names the file and the reason.
class GeojsonWriter {
 public:
  explicit GeojsonWriter(const std::string& path);
  /// Removes what is not complete.
  ~GeojsonWriter();
  GeojsonWriter(const GeojsonWriter&) = delete;
  GeojsonWriter& operator=(const GeojsonWriter&) = delete;

  /// A LineString; `level` becomes a property.
  void beginLine(double level);
  void addPosition(double x, double y, double z);
  void endLine();
  /// Completes the file.
  void finish();

 private:
  void put(std::string_view text);
  void put(double number);
  void flush();
  [[noreturn]] void fail(int error) const;

  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  std::string path_;
  std::string partial_;
  std::unique_ptr<std::FILE, Close> file_;
  std::string buffer_;
  bool firstLine_ = true;
  bool firstPosition_ = true;
};

}  // namespace RecastHost
