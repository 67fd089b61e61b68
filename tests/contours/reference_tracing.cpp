#include "contours/reference_tracing.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace contour_tests {
namespace {

using Point = Heron::PhysicalSpace::point;
using Map = std::unordered_map<unsigned int, unsigned int>;
// Corner offsets of the entry edge (i, j, i, j) and of the exit edge; 4 for a missing edge.
using Row = std::array<unsigned int, 8>;

constexpr unsigned int kCorners[5][4] = {
    {0, 0, 1, 0}, {0, 0, 0, 1}, {0, 1, 1, 1}, {1, 0, 1, 1}, {4, 4, 4, 4}};
constexpr unsigned int kPieces[16][4] = {{4, 4, 4, 4}, {1, 0, 4, 4}, {2, 1, 4, 4}, {2, 0, 4, 4},
                                         {0, 3, 4, 4}, {1, 3, 4, 4}, {2, 1, 0, 3}, {2, 3, 4, 4},
                                         {3, 2, 4, 4}, {1, 0, 3, 2}, {3, 1, 4, 4}, {3, 0, 4, 4},
                                         {0, 2, 4, 4}, {1, 2, 4, 4}, {0, 1, 4, 4}, {4, 4, 4, 4}};

unsigned int edgeIdentifier(unsigned int i1, unsigned int j1, unsigned int i2, unsigned int j2,
                            unsigned int sx, unsigned int sy) {
  return j1 == j2 ? std::min(i1, i2) * sy + j1 : (std::min(j1, j2) + sy) * sx + i1;
}

class Reference {
 public:
  Reference(const Recast::ContourFragment& fragment, float level)
      : f_(fragment), level_(level), extent_(fragment.sliceValues->Size()) {}

  ReferenceTrace run() {
    findActiveCells();
    if (cells_.size() < 2) return {false, {}, {}};
    for (const std::size_t offset : {0U, 2U})
      for (const auto& [i, j, cellCase] : cells_) addPiece(i, j, &kPieces[cellCase][offset]);
    while (!ahead_.empty()) stitchOne();
    std::sort(result_.begin(), result_.end());
    return {true, result_, messages_};
  }

 private:
  bool above(unsigned int i, unsigned int j) const { return (*f_.sliceValues)[{i, j, 0}] > level_; }

  bool own(std::size_t axis, std::uint64_t index, std::uint64_t extent) const {
    const std::uint64_t lower = f_.lowerOverlap[axis] / 2;
    const std::uint64_t shared = f_.upperOverlap[axis] == 0 ? 0 : f_.upperOverlap[axis] - 1;
    return index >= lower && index + shared / 2 + 1 <= extent;
  }

  void findActiveCells() {
    for (unsigned int j = 0; j + 1 < extent_[1]; ++j)
      for (unsigned int i = 0; i + 1 < extent_[0]; ++i) {
        const unsigned int cellCase = (above(i, j) ? 1U : 0U) + (above(i, j + 1) ? 2U : 0U) +
                                      (above(i + 1, j) ? 4U : 0U) + (above(i + 1, j + 1) ? 8U : 0U);
        if (own(0, i, extent_[0] - 1) && own(1, j, extent_[1] - 1) && own(2, 0, extent_[2]) &&
            cellCase != 0 && cellCase != 15)
          cells_.push_back({i, j, cellCase});
      }
  }

  void addPiece(unsigned int i, unsigned int j, const unsigned int* edges) {
    if (edges[0] == 4) return;
    Row row;
    for (std::size_t k = 0; k < 8; ++k) row[k] = kCorners[edges[k / 4]][k % 4] + (k % 2 ? j : i);
    unsigned int entry = 0;
    unsigned int exit = 0;
    Point from;
    Point to;
    if (!calcRealHeight(&row[0], from, entry) || !calcRealHeight(&row[4], to, exit)) return;
    ahead_[entry] = exit;
    behind_[exit] = entry;
    crossings_[entry] = from;
    crossings_[exit] = to;
  }

  bool calcRealHeight(const unsigned int* corners, Point& point, unsigned int& identifier) {
    const unsigned int a1 = corners[0], b1 = corners[1], a2 = corners[2], b2 = corners[3];
    const unsigned char type1 = (*f_.cellTypes)[{a1, b1, 0}], type2 = (*f_.cellTypes)[{a2, b2, 0}];
    const bool blocked1 = type1 >= 1 && type1 <= 3, blocked2 = type2 >= 1 && type2 <= 3;
    if (f_.onlyBorderLine ? blocked1 == blocked2 : blocked1 || blocked2) return false;
    identifier = edgeIdentifier(a1, b1, a2, b2, static_cast<unsigned int>(f_.heights->Size()[0]),
                                static_cast<unsigned int>(f_.heights->Size()[1]));
    const float s1 = (*f_.sliceValues)[{a1, b1, 0}], s2 = (*f_.sliceValues)[{a2, b2, 0}];
    float z = level_;
    if (f_.useSliceField) {
      const float h1 = (*f_.heights)[{a1, b1, 0}], h2 = (*f_.heights)[{a2, b2, 0}];
      const float d = s2 - s1;
      if (d == 0 || std::isnan(d)) {
        messages_.push_back("Contour: Division by zero in calcRealHeight: " + std::to_string(s2) +
                            " " + std::to_string(s1) + " returning");
        return false;
      }
      z = static_cast<float>(h1 + 0.001) + (h2 - h1) * (level_ - s1) / d;
    }
    float alongJ = static_cast<float>(b1);
    if (b1 != b2) alongJ += static_cast<float>(b2 - b1) / (s2 - s1) * (level_ - s1);
    float alongI = static_cast<float>(a1);
    if (a1 != a2) alongI += static_cast<float>(a2 - a1) / (s2 - s1) * (level_ - s1);
    point = {alongJ, alongI, z};
    return true;
  }

  Point toWorld(const Point& p) const {
    return {f_.origin.x() + p[1] * f_.spacing.x(), f_.origin.y() + p[0] * f_.spacing.y(), p[2]};
  }

  /// Goes back to where a line begins, or once round a ring, and then along it.
  void stitchOne() {
    const unsigned int first = ahead_.begin()->first;
    unsigned int start = first;
    while (behind_.contains(start) && behind_.at(start) != first) start = behind_.at(start);
    const bool closed = behind_.contains(start);
    Line line{closed, {}};
    unsigned int current = start;
    do {
      line.points.push_back(bitsOf(toWorld(crossings_.at(current))));
      const auto next = ahead_.find(current);
      if (next == ahead_.end()) break;
      current = next->second;
      ahead_.erase(next);
      behind_.erase(current);
    } while (current != start);
    result_.push_back(canonical(line));
  }

  struct Cell {
    unsigned int i, j, cellCase;
  };

  const Recast::ContourFragment& f_;
  const float level_;
  const Quilt::MultiIndex<3> extent_;
  std::vector<Cell> cells_;
  Map ahead_;
  Map behind_;
  std::unordered_map<unsigned int, Point> crossings_;
  Lines result_;
  std::vector<std::string> messages_;
};

}  // namespace

ReferenceTrace traceByDefinition(const Recast::ContourFragment& fragment, float level) {
  return Reference(fragment, level).run();
}

}  // namespace contour_tests
