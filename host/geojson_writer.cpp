#include "geojson_writer.h"

namespace RecastHost {

GeojsonWriter::GeojsonWriter(const std::string& path) : output_(path) {
  output_.put("{\"type\":\"FeatureCollection\",\"features\":[");
}

void GeojsonWriter::beginLine(double level) {
  output_.put(firstLine_ ? "\n{\"type\":\"Feature\",\"properties\":{\"level\":"
                         : ",\n{\"type\":\"Feature\",\"properties\":{\"level\":");
  put(level);
  output_.put("},\"geometry\":{\"type\":\"LineString\",\"coordinates\":[");
  firstLine_ = false;
  firstPosition_ = true;
}

void GeojsonWriter::addPosition(double x, double y, double z) {
  output_.put(firstPosition_ ? "[" : ",[");
  put(x);
  output_.put(",");
  put(y);
  output_.put(",");
  put(z);
  output_.put("]");
  firstPosition_ = false;
}

void GeojsonWriter::endLine() {
  output_.put("]}}");
}

void GeojsonWriter::finish() {
  output_.put("\n]}\n");
  output_.finish();
}

void GeojsonWriter::put(double number) {
  // A millimetre for coordinates of eight digits, as those with the number of their zone.
  constexpr int kDigits = 11;
  output_.put(number, kDigits);
}

}  // namespace RecastHost
