#pragma once

#include <vector>

#include "recast/contours/plane.h"

namespace Recast::Contours {

/// An edge on which no height can be interpolated, since one of its values is missing.
struct Gap {
  bool onSecondPiece;  ///< of the cell's case
  Index i;             ///< the cell
  Index j;
  float value1;
  float value2;
};

/// The gaps of the levels of a run, sent to the console by the thread that made the object, level
/// by level; those of a level in the order in which its cells are scanned: first pieces, then
/// second ones, i fastest. What was not sent before is sent when the object goes.
class GapReport {
 public:
  GapReport() = default;
  ~GapReport() { send(); }
  GapReport(const GapReport&) = delete;
  GapReport& operator=(const GapReport&) = delete;

  /// Takes the gaps of the next level over.
  void add(std::vector<Gap>& gaps);
  /// Sends all messages so far. \pre called by the thread that made the object
  void send();

 private:
  std::vector<Gap> gaps_;
};

}  // namespace Recast::Contours
