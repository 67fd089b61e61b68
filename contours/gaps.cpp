#include "recast/contours/gaps.h"

#include <algorithm>
#include <tuple>

#include "recast/larder/console.h"

namespace Recast::Contours {

void GapReport::add(std::vector<Gap>& gaps) {
  std::sort(gaps.begin(), gaps.end(), [](const Gap& a, const Gap& b) {
    return std::tie(a.onSecondPiece, a.j, a.i) < std::tie(b.onSecondPiece, b.j, b.i);
  });
  gaps_.insert(gaps_.end(), gaps.begin(), gaps.end());
  gaps.clear();
}

void GapReport::send() {
  for (const Gap& gap : gaps_)
    Larder::Console() << "Contour: Division by zero in calcRealHeight: " << gap.value2 << " "
                      << gap.value1 << " returning";
  gaps_.clear();
}

}  // namespace Recast::Contours
