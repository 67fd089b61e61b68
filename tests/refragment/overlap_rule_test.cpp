#include <cmath>
#include <limits>
#include <random>

#include "clouds.h"
#include <gtest/gtest.h>

#include "recast/refragment/point_assignment.h"

using namespace RefragmentTest;

namespace {

using Colour = Heron::Colour;
using Vector = Heron::PhysicalSpace::vector;
using Recast::FragmentLattice;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// Whether the fragment at place `cell` along an axis gets what lies at `place`, in fragment
/// lengths from the lattice's lower corner.
bool reaches(std::uint64_t cell, double place, double overlap) {
  const double own = std::floor(place);
  const double fraction = place - own;
  const auto at = static_cast<double>(cell);
  if (at == own) return true;
  if (!(overlap > 0)) return false;
  return (at == own - 1 && overlap > fraction) || (at == own + 1 && 1.0 - overlap < fraction);
}

bool belongsTo(const Quilt::MultiIndex<3>& cell, const Point& point, const FragmentLattice& lattice,
               double overlap) {
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double place = (point[axis] - lattice.lower[axis]) / lattice.length[axis];
    if (!(place >= 0 && place < static_cast<double>(lattice.counts[axis]))) return false;
    if (!reaches(cell[axis], place, overlap)) return false;
  }
  return true;
}

/// Points anywhere around the lattice, many of them on faces, edges and corners of cells and of
/// their overlaps, some with coordinates that are no numbers.
Point randomPoint(const FragmentLattice& lattice, double overlap, std::mt19937& random) {
  Point point{};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const auto count = static_cast<double>(lattice.counts[axis]);
    double place = std::uniform_real_distribution<double>(-0.6, count + 0.6)(random);
    switch (random() % 8) {
      case 0: place = std::floor(place); break;
      case 1: place = std::floor(place) + overlap; break;
      case 2: place = std::floor(place) + (1 - overlap); break;
      case 3: place = std::floor(place) + 0.5; break;
      default: break;
    }
    point[axis] = lattice.lower[axis] + place * lattice.length[axis];
  }
  if (random() % 64 == 0) point[random() % 3] = random() % 2 == 0 ? kNaN : kInfinity;
  return point;
}

template <class T>
T valueFor(unsigned id) {
  if constexpr (std::is_same_v<T, Colour>)
    return Colour(id & 255U, id >> 8U & 255U, id >> 16U & 255U);
  else if constexpr (std::is_same_v<T, Vector>)
    return Vector(id, -1.0 * id, 0.5 * id);
  else
    return static_cast<T>(id);
}

struct Source {
  std::string name;
  std::vector<Point> points;
  std::vector<unsigned> ids;
};

template <class T>
std::vector<T> valuesFor(const std::vector<unsigned>& ids) {
  std::vector<T> values;
  for (const unsigned id : ids) values.push_back(valueFor<T>(id));
  return values;
}

/// Calls `visit.operator()<T>(name)` for all types that are carried over.
template <class Visit>
void forEachType(Visit visit) {
  visit.template operator()<float>("float");
  visit.template operator()<double>("double");
  visit.template operator()<long double>("long double");
  visit.template operator()<unsigned char>("unsigned char");
  visit.template operator()<unsigned short>("unsigned short");
  visit.template operator()<unsigned int>("id");
  visit.template operator()<unsigned long long>("unsigned long long");
  visit.template operator()<int>("int");
  visit.template operator()<Vector>("vector");
  visit.template operator()<Colour>("colour");
}

class OverlapRule : public ::testing::TestWithParam<double> {
 protected:
  static constexpr unsigned kPerSource = 100000;

  OverlapRule() {
    lattice_ = FragmentLattice::over({-7.5, 100.0, 3.0}, {24.0, 148.0, 5.0}, {4.0, 16.0, 0.7});
    std::mt19937 random(kSeed);
    for (unsigned s = 0; s < 4; ++s) {
      Source source{"source " + std::to_string(s), {}, {}};
      for (unsigned i = 0; s != 2 && i < 700 + 100 * s; ++i) {  // one fragment has no points
        source.points.push_back(randomPoint(lattice_, GetParam(), random));
        source.ids.push_back(s * kPerSource + i);
      }
      sources_.push_back(std::move(source));
    }
  }

  void writeSource(const std::string& path) const {
    const CloudFile file(path);
    file.field("Positions")->makeFragmentID("without data");
    for (const Source& source : sources_) file.add("Positions", source.name, source.points);
    forEachType([&]<class T>(const char* name) {
      for (const Source& source : sources_) file.add(name, source.name, valuesFor<T>(source.ids));
    });
  }

  /// Each cell gets exactly the points that the rule gives it, those of one source in their order.
  void expectMembership(const std::map<std::string, std::vector<unsigned>>& ids,
                        std::size_t fragLow) const {
    std::size_t fragments = 0;
    Quilt::MultiIndex<3> cell;
    do {
      std::vector<unsigned> expected;
      for (const Source& source : sources_)
        for (std::size_t i = 0; i < source.points.size(); ++i)
          if (belongsTo(cell, source.points[i], lattice_, GetParam()))
            expected.push_back(source.ids[i]);
      const auto found = ids.find("RegularFragment" + to_string(cell));
      ASSERT_EQ(found != ids.end(), expected.size() > fragLow) << to_string(cell);
      if (found == ids.end()) continue;
      ++fragments;
      // The sources may follow each other in any order.
      std::map<unsigned, std::vector<unsigned>> bySource;
      for (const unsigned id : found->second) bySource[id / kPerSource].push_back(id);
      std::vector<unsigned> sorted;
      for (const auto& [source, part] : bySource)
        sorted.insert(sorted.end(), part.begin(), part.end());
      ASSERT_EQ(sorted, expected) << to_string(cell);
    } while (cell.inc(lattice_.counts));
    EXPECT_EQ(fragments, ids.size());
  }

  static constexpr unsigned kSeed = 20240817;
  FragmentLattice lattice_;
  std::vector<Source> sources_;
};

TEST_P(OverlapRule, DecidesWhatEachFragmentHolds) {
  SCOPED_TRACE("seed " + std::to_string(kSeed));
  const TempFolder folder;
  const ConsoleCapture console;
  writeSource(folder / "in.q8");
  const struct {
    unsigned passes;
    int threads;
    unsigned fragLow;
  } cases[] = {{1, 1, 0}, {1, 8, 12}, {2, 2, 0}, {7, 8, 0}, {lattice_.fragments() + 5, 2, 3}};
  for (const auto& [passes, threads, fragLow] : cases) {
    SCOPED_TRACE(std::to_string(passes) + " passes, " + std::to_string(threads) + " threads");
    auto parameters = parametersFor({folder / "in.q8"}, folder / "out.q8");
    fixBox(parameters, lattice_.lower, lattice_.upper);
    parameters.fragLength = lattice_.length;
    parameters.overlap = GetParam();
    parameters.loopsOverFrags = passes;
    parameters.threads = threads;
    parameters.fragLow = fragLow;
    ASSERT_EQ(refragment(parameters), "");
    const auto output = TestSupport::loadBundle(folder / "out.q8");
    ASSERT_TRUE(output);
    const auto ids = valuesOf<unsigned int>(output, "id");
    expectMembership(ids, fragLow);
    forEachType([&]<class T>(const char* name) {
      const auto values = valuesOf<T>(output, name);
      ASSERT_EQ(values.size(), ids.size()) << name;
      for (const auto& [fragment, idsOfFragment] : ids)
        ASSERT_EQ(values.at(fragment), valuesFor<T>(idsOfFragment)) << name << ' ' << fragment;
    });
    for (const auto& [fragment, points] : valuesOf<Point>(output, "Positions"))
      for (std::size_t i = 0; i < points.size(); ++i) {
        const unsigned id = ids.at(fragment).at(i);
        ASSERT_EQ(points[i], sources_[id / kPerSource].points[id % kPerSource]);
      }
  }
}

INSTANTIATE_TEST_SUITE_P(Overlaps, OverlapRule, ::testing::Values(-0.3, 0.0, 0.05, 0.5, 0.7, 1.5));

TEST(PointAssignment, FindsThePointsOfManyFragmentsInTheirOrder) {
  // More points than two segments hold, and so many fragments that the sorting takes more than one
  // round, dealt out among passes. A third of the points is in few fragments.
  const auto lattice = FragmentLattice::over({0, 0, 0}, {1000, 1000, 1}, {1, 1, 0});
  std::mt19937 random(7);
  std::vector<Point> points(Recast::IndexLists::kSegmentPoints * 2 + 17);
  std::map<std::uint32_t, std::vector<std::uint64_t>> expected;
  for (std::uint32_t i = 0; i < points.size(); ++i) {
    const std::uint32_t most = i % 3 == 0 ? 2 : 1000;
    const auto column = static_cast<std::uint32_t>(random() % most);
    const auto row = static_cast<std::uint32_t>(random() % most);
    points[i] = {column + 0.5, row + 0.25, 0.5};
    expected[row * 1000 + column].push_back(i);
  }
  for (const std::uint32_t passes : {1U, 3U}) {
    std::map<std::uint32_t, std::vector<std::uint64_t>> found;
    for (std::uint32_t pass = 0; pass < passes; ++pass) {
      Recast::IndexLists lists(Recast::PassShare(1000000, passes, pass));
      const auto piece = [&points](std::uint64_t first, std::size_t, std::vector<std::byte>&) {
        return points.data() + first;
      };
      Recast::PointAssignment(lattice, 0.0).assign({points.size(), piece}, 0, 2, lists);
      for (const auto& segment : lists.segments())
        for (std::size_t run = 0; run < segment.numberOfRuns(); ++run)
          for (const auto index : segment.indicesOf(run))
            found[lists.share().fragmentOf(segment.runs[run].slot)].push_back(segment.firstPoint +
                                                                              index);
    }
    EXPECT_TRUE(found == expected) << passes << " passes";
  }
}

TEST(FieldsInStep, WhereFieldsLackFragmentsTheValuesStayWithTheirPoints) {
  const TempFolder folder;
  const ConsoleCapture console;
  {
    const CloudFile file(folder / "in.q8");
    file.add<Point>("Positions", "a", {{0, 0, 0}, {1, 0, 0}});
    file.add<Point>("Positions", "b", {{2, 0, 0}, {3, 0, 0}});
    file.add<int>("of b alone", "b", {12, 13});
    file.add<int>("of none", "c", {0});
  }
  for (const int threads : {1, 2}) {
    auto parameters = parametersFor({folder / "in.q8"}, folder / "out.q8");
    parameters.threads = threads;
    ASSERT_EQ(refragment(parameters), "");
    const auto output = TestSupport::loadBundle(folder / "out.q8");
    const std::string name = "RegularFragment[0x0x0]";
    const auto points = valuesOf<Point>(output, "Positions").at(name);
    const auto values = valuesOf<int>(output, "of b alone").at(name);
    ASSERT_EQ(points.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i)
      EXPECT_EQ(values[i], points[i][0] >= 2 ? 10 + points[i][0] : 0);
    EXPECT_EQ(valuesOf<int>(output, "of none").at(name), std::vector<int>(4, 0));
  }
}

TEST(FieldsInStep, FragmentsOutsideTheLatticeAreNotRead) {
  const TempFolder folder;
  const ConsoleCapture console;
  {
    const CloudFile file(folder / "in.q8");
    file.add<Point>("Positions", "upper side", {{1.5, 0.5, 0.5}, {0.99, 0.5, 0.5}});
    file.add<Point>("Positions", "far", {{9.5, 0.5, 0.5}});
    file.add<Point>("Positions", "lower side", {{-0.5, 0.5, 0.5}, {0.0, 0.5, 0.5}});
  }
  auto parameters = parametersFor({folder / "in.q8"}, folder / "out.q8");
  fixBox(parameters, {0, 0, 0}, {1, 1, 1});
  ASSERT_EQ(refragment(parameters), "");
  const auto output = TestSupport::loadBundle(folder / "out.q8");
  const std::vector<Point> expected = {{0.99, 0.5, 0.5}, {0.0, 0.5, 0.5}};
  EXPECT_EQ(valuesOf<Point>(output, "Positions").at("RegularFragment[0x0x0]"), expected);
}

}  // namespace
