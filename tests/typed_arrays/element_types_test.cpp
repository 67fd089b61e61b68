#include <string>

#include "support/in_threads.h"
#include "typed_arrays/every_element.h"
#include <gtest/gtest.h>

#include "recast/element_types/quilt_type_of.h"

namespace {

using Heron::PhysicalSpace;
using Quilt::QuiltType;
using Quilt::QuiltTypeBase;
using List = std::vector<unsigned int>;

struct Expected {
  const std::type_info& type;
  unsigned components, elementSize, tensorRank, grade;
  std::uint64_t componentSize;
  const std::type_info& component;
  const std::type_info& chart;
  int chartDimensions;
  const char* names;  ///< of the components 0, 1 and 2, joined by blanks
};

const Expected kTable[] = {
    {typeid(float), 1, 4, 0, 0, 4, typeid(float), typeid(void), 0, "  "},
    {typeid(double), 1, 8, 0, 0, 8, typeid(double), typeid(void), 0, "  "},
    {typeid(long double), 1, 16, 0, 0, 16, typeid(long double), typeid(void), 0, "  "},
    {typeid(unsigned char), 1, 1, 0, 0, 1, typeid(unsigned char), typeid(void), 0, "  "},
    {typeid(unsigned short), 1, 2, 0, 0, 2, typeid(unsigned short), typeid(void), 0, "  "},
    {typeid(int), 1, 4, 0, 0, 4, typeid(int), typeid(void), 0, "  "},
    {typeid(unsigned int), 1, 4, 0, 0, 4, typeid(unsigned int), typeid(void), 0, "  "},
    {typeid(unsigned long long), 1, 8, 0, 0, 8, typeid(unsigned long long), typeid(void), 0, "  "},
    {typeid(List), 1, 24, 0, 0, 24, typeid(List), typeid(void), 0, "  "},
    {typeid(Heron::FixedArray<double, 3>), 3, 24, 0, 0, 8, typeid(double), typeid(void), 0, "  "},
    {typeid(PhysicalSpace::point), 3, 24, 0, 0, 8, typeid(double), typeid(Heron::Cartesian3D), 3,
     "x y z"},
    {typeid(PhysicalSpace::vector), 3, 24, 1, 1, 8, typeid(double), typeid(Heron::Cartesian3D), 3,
     "x y z"},
    {typeid(PhysicalSpace::bivector), 3, 24, 1, 2, 8, typeid(double), typeid(Heron::Cartesian3D), 3,
     "x y z"},
    {typeid(Heron::DomainVector<Heron::Vector<unsigned char, 3>, Heron::RGB, unsigned char>), 3, 3,
     1, 0, 1, typeid(unsigned char), typeid(Heron::RGB), 3, "r g b"},
    {typeid(Quilt::SimplexCell<1, unsigned int, Quilt::IJ_CellNamingConvention>), 2, 8, 0, 0, 4,
     typeid(unsigned int), typeid(Quilt::Edge), 1, "i j j"},
    {typeid(Quilt::SimplexCell<2, unsigned int, Quilt::IJ_CellNamingConvention>), 3, 12, 0, 0, 4,
     typeid(unsigned int), typeid(Quilt::Triangle), 2, "ii ij jj"},
};

std::string namesOf(const QuiltTypeBase& type) {
  return type.coordinate_component_name(0) + " " + type.coordinate_component_name(1) + " " +
         type.coordinate_component_name(2);
}

TEST(ElementTypes, AreDescribedByTheirTable) {
  for (const Expected& row : kTable) {
    SCOPED_TRACE(Larder::Typename(row.type));
    const auto type = QuiltTypeBase::find(row.type);
    ASSERT_TRUE(type);
    EXPECT_EQ(type->Components, row.components);
    EXPECT_EQ(type->ElementSize, row.elementSize);
    EXPECT_EQ(type->TensorRank, row.tensorRank);
    EXPECT_EQ(type->Grade, row.grade);
    EXPECT_EQ(type->ComponentSize, row.componentSize);
    EXPECT_EQ(type->TypeName, Larder::Typename(row.type));
    EXPECT_EQ(type->ComponentTypeName, Larder::Typename(row.component));
    EXPECT_EQ(type->ChartName, Larder::Typename(row.chart));
    EXPECT_EQ(type->ChartDimensions, row.chartDimensions);
    EXPECT_EQ(type->element_type()->getType(), row.component);
    EXPECT_EQ(type->chart_type(), row.chart);
    EXPECT_EQ(namesOf(*type), row.names);
    EXPECT_EQ(type->indexing_scheme(5), row.grade > 0 ? 1 : 0);
    EXPECT_FALSE(type->nontensor());
  }
}

TEST(ElementTypes, HaveOneDescriptorEach) {
  std::size_t number = 0;
  TestSupport::forEveryElement([&]<class T>(std::type_identity<T>) {
    ++number;
    const auto type = QuiltType<T>::getQuiltType();
    EXPECT_EQ(type, QuiltType<T>::getQuiltType());
    EXPECT_EQ(type, QuiltTypeBase::find(Larder::Typename(typeid(T))));
    EXPECT_EQ(type->getType(), typeid(T));
    EXPECT_TRUE(type->isType(typeid(T)));
    EXPECT_FALSE(type->isType(typeid(std::string)));
    const int index = -12;
    EXPECT_EQ(type->element_index(&index), -12);
    const auto chunk = type->newChunk(3).template castTo<Larder::Chunk<T>>();
    ASSERT_TRUE(chunk);
    ASSERT_EQ(chunk->size(), 3U);
    EXPECT_TRUE((*chunk)[2] == T{});
  });
  EXPECT_EQ(number, std::size(kTable));
  EXPECT_FALSE(QuiltTypeBase::find("Heron::PhysicalSpace::line"));
  EXPECT_FALSE(QuiltTypeBase::find(typeid(std::string)));
}

TEST(ElementTypes, AreFoundFromSeveralThreads) {
  TestSupport::inThreads(4, [](int) {
    for (int i = 0; i < 200; ++i)
      for (const Expected& row : kTable)
        if (!QuiltTypeBase::find(row.type)->element_type()) ADD_FAILURE();
  });
}

struct Counted : Larder::ReferenceBase<Counted> {
  explicit Counted(int& ends) : ends_(ends) {}
  ~Counted() override { ++ends_; }
  int& ends_;
};

TEST(AutoObjects, EndWithTheirScopeAndNotWithTheirHandles) {
  int ends = 0;
  Larder::StrongPtr<Counted> longer;
  {
    Larder::Auto<Counted> object(ends);
    for (int i = 0; i < 3; ++i) {
      const Larder::StrongPtr<Counted> handle(&object);
      EXPECT_TRUE(handle);
    }
    longer = Larder::StrongPtr<Counted>(&object);
    EXPECT_EQ(ends, 0);
  }
  EXPECT_EQ(ends, 1);
  EXPECT_FALSE(longer);
}

// Which chunks a chunk can be taken as: those of the types that its elements are made of.
template <class T, class Storage>
void expectTakenAs(const Larder::StrongPtr<Larder::ChunkBase>& chunk) {
  const auto taken = chunk.castTo<Larder::TypedChunk<Storage>>();
  ASSERT_TRUE(taken) << Larder::Typename(typeid(Storage));
  EXPECT_EQ(static_cast<const void*>(taken->typed_data()), chunk->const_data_ptr());
}

template <class T, class... Chain>
void expectChain(const std::type_info& base) {
  SCOPED_TRACE(Larder::Typename(typeid(T)));
  const Larder::StrongPtr<Larder::ChunkBase> chunk(new Larder::Chunk<T>(2));
  EXPECT_EQ(chunk->getType(), typeid(T));
  EXPECT_EQ(chunk->getBaseType(), base);
  expectTakenAs<T, T>(chunk);
  (expectTakenAs<T, Chain>(chunk), ...);
  EXPECT_FALSE(chunk.castTo<Larder::TypedChunk<std::string>>());
}

TEST(ElementTypes, ChunksCanBeTakenAsChunksOfTheirStorage) {
  using Triple = Heron::FixedArray<double, 3>;
  using Bytes = Heron::FixedArray<unsigned char, 3>;
  expectChain<PhysicalSpace::point, Triple>(typeid(Triple));
  expectChain<PhysicalSpace::vector,
              Heron::DomainVector<Heron::Column<3, double>, Heron::Cartesian3D, double>,
              Heron::Column<3, double>, Heron::Matrix<3, 1, double>, Heron::Vector<double, 3>,
              Triple>(typeid(Triple));
  expectChain<PhysicalSpace::bivector, Heron::Vector<double, 3>, Triple>(typeid(Triple));
  expectChain<Heron::Colour, Heron::Vector<unsigned char, 3>, Bytes>(typeid(Bytes));
  expectChain<Quilt::Edge, Quilt::Cell<1, 2, unsigned int>, Heron::FixedArray<unsigned int, 2>>(
      typeid(Heron::FixedArray<unsigned int, 2>));
  expectChain<Quilt::Triangle, Quilt::Cell<2, 3, unsigned int>, Heron::FixedArray<unsigned int, 3>>(
      typeid(Heron::FixedArray<unsigned int, 3>));
  expectChain<Triple>(typeid(Triple));
  expectChain<float>(typeid(float));
  expectChain<List>(typeid(List));
}

}  // namespace
