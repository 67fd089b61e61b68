// A host that uses all that the library exports, to be built as hosts are: with either compiler,
// and at levels at which calls of inline functions are calls of the library's. Members are called
// by their qualified names, since a call through the table of virtual functions needs no symbol.

#include <cstdio>
#include <typeinfo>

#include "recast/array_slices/array_slices.h"
#include "recast/buildings/building_surfaces.h"
#include "recast/buildings/polygon_triangulation.h"
#include "recast/columns/column_ascii_to_point_cloud_q8.h"
#include "recast/columns/my_storage.h"
#include "recast/columns/string_to_value.h"
#include "recast/contours/contour_tracing.h"
#include "recast/contours/create_contour_lines.h"
#include "recast/contours/own_cells.h"
#include "recast/fragmented_grids/regularly_fragmented_grid.h"
#include "recast/grid_lookups/checks.h"
#include "recast/grid_lookups/string_util.h"
#include "recast/larder/console.h"
#include "recast/larder/save_registry.h"
#include "recast/patchbase/bounding_boxes.h"
#include "recast/patchops/data_range.h"
#include "recast/raster/esri_raster_to_q8.h"
#include "recast/raster/terrain_import.h"
#include "recast/recastbase/run_output.h"
#include "recast/recastbase/run_report.h"
#include "recast/refragment/refragmentation_plan.h"
#include "recast/refragment/spatial_refragmentation.h"
#include "recast/sheaf/storage_error.h"
#include "recast/swath/cell_size.h"
#include "recast/trelliskinds/grid_kinds.h"
#include "recast/typed_arrays/fragment_handle_array.h"
#include "recast/typed_arrays/mem_array_allocator.h"

namespace {

using namespace Quilt;

/// Makes the program refer to functions, whatever the compiler thinks of that.
template <class... Functions>
void use(Functions... functions) {
  (static_cast<void>([](Functions function) {
     asm volatile("" : : "m"(function));
   }(functions)),
   ...);
}
/// Makes it refer to the type information of classes, as casts and exceptions do.
template <class... Classes>
void useTypes() {
  use(&typeid(Classes)...);
}

int failures = 0;

void expect(bool condition, const char* type, int line) {
  if (condition) return;
  std::printf("line %d fails for %s\n", line, type);
  ++failures;
}
#define EXPECT(condition) expect(static_cast<bool>(condition), typeid(T).name(), __LINE__)

template <class T>
void useChunk() {
  using Chunk = Larder::Chunk<T>;
  const auto chunk = Larder::makeStrong<Chunk>(std::size_t{3});
  const Chunk& constant = *chunk;
  const Chunk room(2, true), taken(std::vector<T>(4)), copied(constant);
  EXPECT(chunk->Chunk::elements() == 3 && room.Chunk::elements() == 0);
  EXPECT(taken.Chunk::elements() == 4 && copied.Chunk::elements() == 3);
  EXPECT(chunk->Chunk::element_size() == sizeof(T));
  EXPECT(constant.Chunk::const_data_ptr() == chunk->Chunk::data_ptr());
  EXPECT(chunk->typed_data() == constant.typed_data());
  EXPECT(chunk->Chunk::getType() == typeid(T) && chunk->Chunk::getBaseType() != typeid(void));
  EXPECT(chunk->Chunk::createNewChunk(2, false)->elements() == 2);
  EXPECT(chunk->Chunk::newChunk(2, true)->elements() == 0);
  EXPECT(chunk->Chunk::copy().template castTo<Chunk>());
  EXPECT(&chunk->Chunk::base_vector() == &constant.Chunk::base_vector());
}

/// What arrays of every kind have.
template <int N, class T>
void useArrayItself(const MultiIndex<N>& shape) {
  using Array = MemArray<N, T>;
  const Larder::StrongPtr<Larder::ChunkBase> chunk(new Larder::Chunk<T>(shape.product()));
  const auto array = Larder::makeStrong<Array>(shape, nullptr);
  const Array wrapped(chunk, shape, nullptr);
  const Array view(wrapped, shape, nullptr, chunk, nullptr);
  const Array& constant = *array;
  EXPECT(constant.Array::rank() == N && constant.Array::Size() == shape);
  EXPECT(constant.Array::newMemArraynD(shape, nullptr));
  EXPECT(array->Array::createSubMemArray(MultiIndex<N>(), shape, nullptr));
  EXPECT(array->Array::createSubArray(MultiIndex<N>(), shape, nullptr));
  EXPECT(constant.Array::getSize() == DynamicSize(shape));
  EXPECT(array->Array::copyFrom(chunk) && constant.Array::myChunk());
  EXPECT(constant.Array::memsize() == shape.product() * sizeof(T));
  EXPECT(constant.Array::nElements() == shape.product());
  array->Array::DeferredConstructor();
  EXPECT(constant.Array::getType() == typeid(T) && constant.typeIndex().ElementSize == sizeof(T));
  EXPECT(constant.Array::getHyperslabParameters().count == shape.product());
  EXPECT(view.Array::getPtr() == chunk->data_ptr());
  EXPECT(constant.Array::OriginPtr() == nullptr && constant.Array::DeltaPtr() == nullptr);
  EXPECT(constant.Array::first() == constant.Array::last());
  EXPECT(&array->Array::creativeIterator() == &constant.Array::creativeIterator());
  EXPECT((*array)[MultiIndex<N>()] == constant[MultiIndex<N>()]);
  EXPECT(array->Array::makeMemArray(nullptr) == array);
  EXPECT(array->Array::createEquallySizedMemArray(chunk, nullptr));
  EXPECT(array->Array::copy(nullptr) && constant.Array::getChunk());
  array->Array::getSlice(0, nullptr);
  array->Array::getComponentArray(0, nullptr);
  EXPECT((MemBaseHandle(array).castTo<Array>() && MemBaseHandle(array).castTo<TypedArray<T>>()));
}

template <int N, class T>
void useArray(const MultiIndex<N>& shape) {
  useArrayItself<N, T>(shape);
  MemArray<N, T> array(shape, nullptr);
  EXPECT((MemArray<N, T>::TypeIsRegistered));
  EXPECT(newMemArray<T>(shape, nullptr)->getSize() == DynamicSize(shape));
  CopySubset(shape, static_cast<MultiArray<N, T>&>(array), MultiIndex<N>(),
             static_cast<const MultiArray<N, T>&>(array), MultiIndex<N>(), PlainCopyConvert());
  if constexpr (N > 2) EXPECT(MemArrayGetSlice<N>::getSlice(array, 0, nullptr));
}

template <class T>
void useElementType() {
  using Type = QuiltType<T>;
  const auto type = Type::getQuiltType().template castTo<Type>();
  EXPECT(type->Type::getType() == typeid(T) && type->Type::isType(typeid(T)));
  const int index = 3;
  EXPECT(type->Type::newChunk(2)->elements() == 2 && type->Type::element_index(&index) == 3);
  EXPECT(type->Type::element_type() && type->Type::coordinate_component_name(9).size() < 3);
  EXPECT(type->Type::chart_type() != typeid(int) && type->Type::indexing_scheme(0) < 2);
  EXPECT(!type->Type::nontensor() && QuiltTypeBase::find(type->TypeName) == type);

  using Factory = MemArrayAllocator<T>;
  const auto factory = Larder::makeStrong<Factory>();
  EXPECT(Factory::isRegistered() && !Factory::registerMe());
  EXPECT(factory->Factory::create(MultiIndex<2>(2, 3))->nElements() == 6);
  EXPECT(MemBase::newArray(Larder::Typename(typeid(T)), MultiIndex<1>(1)));

  useChunk<T>();
  useArray<1, T>(MultiIndex<1>(3));
  useArray<2, T>({3, 2});
  useArray<3, T>({3, 2, 4});
  useArray<4, T>({3, 2, 4, 2});
}

void useArrays() {
#define USE(T) useElementType<T>();
  RECAST_ALL_ELEMENTS(USE)
#undef USE
  using T = FragmentHandle;
  useChunk<FragmentHandle>();
  useChunk<std::string>();
  const Larder::ResizableChunk<std::string> texts(2);
  EXPECT(texts.elements() == 2);
  useArrayItself<3, FragmentHandle>({3, 2, 4});
  EXPECT(makeMemArray1D(Larder::makeStrong<Larder::Chunk<Heron::PhysicalSpace::point>>(2U), {}));
  EXPECT(makeMemArray1D(Larder::makeStrong<Larder::Chunk<Triangle>>(2U), {}));
}

void useDataModel() {
  useTypes<Larder::Ageable, Larder::Attributes, Larder::Cacheable, Larder::Creature,
           Larder::ChunkBase, Larder::Countable, Larder::InterfaceBase, Larder::Intercube,
           Larder::LoaderParameters, Larder::LoaderProgress, Larder::StringList,
           Larder::SaveInterfaceCreatorBase, Larder::SaveInterfaceCreator<MemBase>,
           Larder::SaveRegistry<MemBase>, Larder::CreatorBase<MemBase>,
           Larder::Auto<Larder::Creature>, Larder::DynPtr<MemBase>>();
  useTypes<Heron::BoundingBox, Heron::Cartesian3D, Heron::RGB,
           Heron::Coordinates<Heron::Cartesian3D, float>::point>();
  useTypes<BindResult, BundleAnchor, BundlePtr, Chart, DataCreator<float>, DataExtent,
           DataRange<float>, DataRangeBase, FieldID, FieldIterator, FieldSource, FilterSettings,
           FragmentID, HyperslabParameters, IJ_CellNamingConvention, LinearCoordinateAxisArray,
           MemBase::Allocator, FragmentIterator, FragmentSink, GridID, GridList, OwnerBase,
           PieceReader, Placement, QuiltTypeIndex, RegularGrid3D, RegularlyFragmentedGridBase,
           RepresentationMap, SkeletonID, SkeletonMap, StorageError, StorageTransformations,
           StoredFragment, TypedGrid, UniformCartesianArray, CreativeArrayBase, Field, Bundle,
           Slice>();
  useTypes<FragmentLocation<3, PlaceInGrid>, FragmentLocation<3, LowerOverlap>,
           FragmentLocation<3, UpperOverlap>>();
  use(&Larder::Cache::MemCache, &Larder::Cache::setBudget, &Larder::Console::setSink,
      &Larder::SpeakPtr::InconsistentDynPtr, &Larder::HandleBlock::promote,
      &Larder::SaveRegistryBase::registerCreator, &Larder::bringMemory, &Larder::breakpoint,
      &Larder::demangled, &Larder::StringUtil::basename<char>, &Larder::StringUtil::extname<char>,
      static_cast<std::string (*)(const Heron::FixedArray<double, 3>&)>(&Heron::to_string));
  use(&Bundle::load, &Bundle::save, &Bundle::complete, &Bundle::bindToNew, &Bundle::bindTo,
      &Slice::newGrid, &Grid::xml, &Grid::makeCartesianRepresentation,
      &Skeleton::makeRepresentation, &Representation::makeField, &Representation::setPositions,
      &Field::setPersistentData, &Field::createCreator, &Field::getFragmentIDs, &FieldProxy::field,
      &FragmentIDCollection::makeFragmentID, &FragmentIDCollection::setFragmentNames<3>,
      &CreativeArrayBase::extent, &SkeletonMap::makeVertices, &failedReads);
  use(&ExpandBBox, &getFragmentBBox, &expandBoundingBox,
      static_cast<DataExtent (*)(const MemBase&)>(&extentOf),
      static_cast<DataRangeHandle (*)(const Field&, const std::string&, bool, bool)>(&getRange),
      &UniformGrid3D::create, &TriangularSurface::create,
      &isFragmentedUniformCartesianGrid::checkGrid, &UniformCartesianArray::overBox,
      &Swath::setCellSizeAttribute);
  use(&GridWithCartesianVertices::create, &RegularlyFragmentedField<3>::newField,
      &RegularlyFragmentedGrid<3>::createFragmentSkeleton,
      &RegularlyFragmentedGridWithCartesianVertices<3>::create);
  const BundlePtr bundle(new Bundle);
  const auto grid = (*(*bundle)[0.0])["grid"];
  const LineSet lines(grid, newMemArray<Heron::PhysicalSpace::point>(MultiIndex<1>(2), nullptr),
                      newMemArray<std::vector<unsigned int>>(MultiIndex<1>(1), nullptr), nullptr);
  using T = LineSet;
  EXPECT(lines && grid->CartesianPositions());
  using Recast::check, Recast::getCABs;
  EXPECT(check(grid->CartesianPositions(), "Positions") && check(grid->findVertices(1), ""));
  EXPECT(check(grid->getCartesianRepresentation(""), ""));
  EXPECT(getCABs<Heron::PhysicalSpace::point>(grid->CartesianPositions(), nullptr)->size() == 2);
  use(&getCABs<std::vector<unsigned int>>, &getCABs<int>, &getCABs<double>);
}

void useConverters() {
  using namespace Recast;
  using Files = Larder::StrongPtr<Larder::StringList>;
  use(static_cast<int (*)(const Files&, const std::string&, const BuildingProgress&,
                          const std::string&)>(&convertLOD2toTIN),
      static_cast<int (*)(const Grid&, Grid&, const BuildingProgress&)>(&convertLOD2toTIN),
      &convertLOD1toTIN, &getFields, &checkIfHorizontal);
  use(&polygonToTriangle, &winding_value, &init_vertex, &update_leftmost, &is_reflex,
      &triangle_contains, &is_ear_tip);
  use(&converterEsriRasterToQ8, &readDGM, &readDGMAsGrd, &readDGMAsTxt, &addToUniformGrid,
      &uniformToPointCloud, &importTerrainTile);
  use(&spatialRefragmentation, &planRefragmentation, &runRefragmentation, &externalFilesOf,
      &RefragmentationPlan::description, &Contours::overlapsToCells);
  use(&isSameFile, &lastRunReport, &showBadLine, &ColumnAsciiToPointCloudQ8::addColumn,
      &ColumnAsciiToPointCloudQ8::createOutString, &ColumnAsciiToPointCloudQ8::convertASCIIToQ8);
  useTypes<MyStorage, BasicConverterDefs, CreateContourLinesFromUniform, RunReport,
           RefragmentationParameters, TerrainTileCount, myColumn<float>>();
  CreateContourLinesFromUniform contours;
  contours.CreateContourLinesFromUniform::printSecondary();
  use(&CreateContourLinesFromUniform::Run, &traceContourLevel, &RunOutput::complete,
      &RunOutput::abandon);
  const ColumnAsciiToPointCloudQ8 columns;
  const MyStorage storage;
  const auto convert = [](auto value) {
    using T = decltype(value);
    EXPECT(StringToValue({"1", "2", "3"}, {0, 1, 2}, value));
  };
  convert(0U);
  convert(static_cast<unsigned short>(0));
  convert(static_cast<unsigned char>(0));
  convert(0);
  convert(0.0F);
  convert(0.0);
  convert(Heron::FixedArray<double, 3>());
  convert(Heron::Colour());
}

}  // namespace

int main() {
  useArrays();
  useDataModel();
  useConverters();
  return failures == 0 ? 0 : 1;
}
