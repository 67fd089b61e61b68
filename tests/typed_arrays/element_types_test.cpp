#include <string>

#include "typed_arrays/every_element.h"
#include <gtest/gtest.h>

#include "recast/element_types/quilt_type_of.h"

namespace {

using Heron::PhysicalSpace;
using Quilt::QuiltType;
using Quilt::QuiltTypeBase;

/// What the descriptor of a compound element type says.
struct Expected {
  const std::type_info& type;
  const std::type_info& component;
  const std::type_info& chart;
  unsigned components, tensorRank, grade;
  int chartDimensions;
  const char* names;  ///< of the components 0, 1 and 2, joined by blanks
};

const Expected kCompound[] = {
    {typeid(Heron::FixedArray<double, 3>), typeid(double), typeid(void), 3, 0, 0, 0, "  "},
    {typeid(PhysicalSpace::point), typeid(double), typeid(Heron::Cartesian3D), 3, 0, 0, 3, "x y z"},
    {typeid(PhysicalSpace::vector), typeid(double), typeid(Heron::Cartesian3D), 3, 1, 1, 3,
     "x y z"},
    {typeid(PhysicalSpace::bivector), typeid(double), typeid(Heron::Cartesian3D), 3, 1, 2, 3,
     "x y z"},
    {typeid(Heron::Colour), typeid(unsigned char), typeid(Heron::RGB), 3, 1, 0, 3, "r g b"},
    {typeid(Quilt::Edge), typeid(unsigned int), typeid(Quilt::Edge), 2, 0, 0, 1, "i j j"},
    {typeid(Quilt::Triangle), typeid(unsigned int), typeid(Quilt::Triangle), 3, 0, 0, 2,
     "ii ij jj"},
};

TEST(ElementTypes, HaveOneDescriptorEach) {
  std::size_t number = 0;
  TestSupport::forEveryElement([&]<class T>(std::type_identity<T>) {
    ++number;
    const auto* compound = std::find_if(std::begin(kCompound), std::end(kCompound),
                                        [](const Expected& row) { return row.type == typeid(T); });
    const Expected expected = compound == std::end(kCompound)
                                  ? Expected{typeid(T), typeid(T), typeid(void), 1, 0, 0, 0, "  "}
                                  : *compound;
    const auto type = QuiltTypeBase::find(Larder::Typename(typeid(T)));
    ASSERT_TRUE(type);
    EXPECT_EQ(type, QuiltType<T>::getQuiltType());
    EXPECT_EQ(type->getType(), typeid(T));
    EXPECT_EQ(type->ElementSize, sizeof(T));
    EXPECT_EQ(type->Components, expected.components);
    EXPECT_EQ(type->ComponentSize, sizeof(T) / expected.components);
    EXPECT_EQ(type->ComponentTypeName, Larder::Typename(expected.component));
    EXPECT_EQ(type->element_type()->getType(), expected.component);
    EXPECT_EQ(type->TensorRank, expected.tensorRank);
    EXPECT_EQ(type->Grade, expected.grade);
    EXPECT_EQ(type->indexing_scheme(5), expected.grade > 0 ? 1 : 0);
    EXPECT_EQ(type->chart_type(), expected.chart);
    EXPECT_EQ(type->ChartDimensions, expected.chartDimensions);
    const auto name = [&type](int c) { return type->coordinate_component_name(c); };
    EXPECT_EQ(name(0) + " " + name(1) + " " + name(2), expected.names);
    const auto chunk = type->newChunk(3).template castTo<Larder::Chunk<T>>();
    ASSERT_TRUE(chunk && chunk->size() == 3);
    EXPECT_TRUE((*chunk)[2] == T{});
  });
  EXPECT_EQ(number, 16U);
  EXPECT_FALSE(QuiltTypeBase::find("Heron::PhysicalSpace::line"));
  EXPECT_FALSE(QuiltTypeBase::find(typeid(std::string)));
}

/// Expects that a chunk of T can be taken as a chunk of each of the types that T is made of.
template <class T, class... Chain>
void expectChain() {
  SCOPED_TRACE(Larder::Typename(typeid(T)));
  const Larder::StrongPtr<Larder::ChunkBase> chunk(new Larder::Chunk<T>(2));
  const auto taken = [&]<class Storage>(std::type_identity<Storage>) {
    const auto typed = chunk.castTo<Larder::TypedChunk<Storage>>();
    return typed && static_cast<const void*>(typed->typed_data()) == chunk->const_data_ptr();
  };
  EXPECT_TRUE((taken(std::type_identity<Chain>()) && ...));
  EXPECT_FALSE(chunk.castTo<Larder::TypedChunk<std::string>>());
}

TEST(ElementTypes, ChunksCanBeTakenAsChunksOfTheirStorage) {
  using Triple = Heron::FixedArray<double, 3>;
  expectChain<PhysicalSpace::point, Triple>();
  expectChain<PhysicalSpace::vector,
              Heron::DomainVector<Heron::Column<3, double>, Heron::Cartesian3D, double>,
              Heron::Column<3, double>, Heron::Matrix<3, 1, double>, Heron::Vector<double, 3>,
              Triple>();
  expectChain<PhysicalSpace::bivector, Heron::Vector<double, 3>, Triple>();
  expectChain<Heron::Colour, Heron::Vector<unsigned char, 3>,
              Heron::FixedArray<unsigned char, 3>>();
  expectChain<Quilt::Edge, Quilt::Cell<1, 2, unsigned int>, Heron::FixedArray<unsigned int, 2>>();
  expectChain<Quilt::Triangle, Quilt::Cell<2, 3, unsigned int>,
              Heron::FixedArray<unsigned int, 3>>();
}

}  // namespace
