#include "recast/fragmented_grids/regularly_fragmented_grid.h"

namespace Quilt {
namespace {

const SkeletonID kLattice(0, 2);
const SkeletonID kFragments(3, 2);

}  // namespace

template <int N>
bool RegularlyFragmentedGrid<N>::assign(const Larder::StrongPtr<Grid>& grid) {
  lattice_.reset();
  fragments_.reset();
  representation_.reset();
  data_.reset();
  this->setGrid(grid);
  if (!grid) return false;
  if (look()) return true;
  lattice_.reset();
  fragments_.reset();
  return false;
}

template <int N>
bool RegularlyFragmentedGrid<N>::look() {
  lattice_ = this->grid()->getSkeleton(kLattice);
  fragments_ = this->grid()->getSkeleton(kFragments);
  const auto vertices = this->grid()->findVertices(-1);
  if (!lattice_ || !fragments_ || !vertices) return false;
  representation_ = (*fragments_)(*vertices);
  if (!representation_) return false;
  if (const auto positions = representation_->Positions()) data_ = positions->getData(nullptr);
  return true;
}

template <int N>
RegularlyFragmentedGrid<N> RegularlyFragmentedGrid<N>::createFragmentSkeleton(
    const Larder::StrongPtr<Grid>& grid, const Larder::StrongPtr<Skeleton>& vertices,
    const Larder::StrongPtr<RegularlyFragmentedField<N>, Field>& field,
    const Larder::StrongPtr<Skeleton>& fragments) {
  const auto identifiers = field ? field->getFragmentIDCollection() : nullptr;
  if (!identifiers || identifiers->latticeSize().rank() == 0 || !vertices || !fragments) return {};
  const auto representation = (*fragments)[*vertices];
  if (!representation->Positions()) {
    const auto list = Larder::makeStrong<Field>(field->newFragmentationArray(), nullptr);
    if (!representation->setPositions(list)) return {};
  }
  return RegularlyFragmentedGrid(grid);
}

template <int N>
RegularlyFragmentedGridWithCartesianVertices<N>::RegularlyFragmentedGridWithCartesianVertices(
    const Larder::StrongPtr<Grid>& grid) {
  if (!GridWithCartesianVertices::assign(grid) || !RegularlyFragmentedGrid<N>::assign(grid)) return;
  const auto chart = grid->findCartesianChart("");
  if (!chart) return;
  latticeCartesian_ = (*this->lattice())(*chart);
  if (!latticeCartesian_) return;
  fragmentsCartesian_ = (*this->fragments())(*chart);
  latticePositions_ = this->positions().template castTo<RegularlyFragmentedField<N>>();
}

template <int N>
RegularlyFragmentedGridWithCartesianVertices<N>
RegularlyFragmentedGridWithCartesianVertices<N>::create(const Larder::StrongPtr<Grid>& grid,
                                                        const MultiIndex<N>& counts,
                                                        bool makeFragmentRepresentation) {
  using FieldOverLattice = RegularlyFragmentedField<N>;
  if (!grid) return {};
  const auto present = grid->CartesianPositions();
  auto positions = present.template castTo<FieldOverLattice>();
  if (present && (!positions || positions->counts() != counts)) return {};
  if (!present) positions = FieldOverLattice::newField(counts, nullptr, kPrefix);
  if (!positions) return {};
  GridWithCartesianVertices::create(*grid, N, positions);
  const auto lattice = (*grid)[kLattice];
  const auto vertices = grid->findVertices(-1);
  const auto fragments = (*grid)[kFragments];
  if (RegularlyFragmentedGrid<N>::createFragmentSkeleton(grid, vertices, positions, fragments)) {
    const auto chart = grid->findCartesianChart("");
    if (makeFragmentRepresentation) (*fragments)[*chart];
    (*lattice)[*chart];
  }
  return RegularlyFragmentedGridWithCartesianVertices(grid);
}

template class RegularlyFragmentedGrid<3>;
template class RegularlyFragmentedGridWithCartesianVertices<3>;

}  // namespace Quilt
