#pragma once

#include <string>

#include "text_output.h"

namespace RecastHost {

/// Writes a GeoJSON file of lines as a stream. A call that fails throws Failure.
class GeojsonWriter {
 public:
  explicit GeojsonWriter(const std::string& path);

  /// A LineString; `level` becomes a property.
  void beginLine(double level);
  void addPosition(double x, double y, double z);
  void endLine();
  /// Completes the file.
  void finish();

 private:
  void put(double number);

  TextOutput output_;
  bool firstLine_ = true;
  bool firstPosition_ = true;
};

}  // namespace RecastHost
