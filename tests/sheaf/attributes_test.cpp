#include "sheaf/sample_data.h"
#include "support/console_capture.h"
#include "support/temp_folder.h"
#include <gmock/gmock.h>

// The attributes of everything in a bundle come back.
namespace {

using namespace TestSupport;
using testing::ElementsAre;

/// One attribute of each kind, with values that tell `tag`.
void giveAttributes(Larder::Attributes& object, int tag) {
  object.setAttribute("int", Larder::singleValue(tag));
  object.setAttribute("double", Larder::singleValue(tag / 7.0));
  object.setAttribute("long double", Larder::singleValue(tag / 7.0L));
  object.setAttribute("unsigned long long",
                      Larder::singleValue(~0ULL - static_cast<unsigned>(tag)));
  object.setAttribute("text", Larder::singleValue("Größe " + std::to_string(tag)));
  object.setAttribute("no text", Larder::singleValue(std::string()));
  object.setAttribute("point",
                      Larder::singleValue(sampleElement<Point>(static_cast<unsigned>(tag))));
  object.setAttribute("EPSG", Larder::makeStrong<Larder::Chunk<std::string>>(
                                  std::vector<std::string>{"EPSG", "", "25832"}));
  object.setAttribute("many", Larder::makeStrong<Larder::Chunk<double>>(
                                  std::vector<double>(20'000, tag)));  // beyond 64 KiB
}

void expectAttributes(const Larder::Attributes& object, int tag) {
  SCOPED_TRACE(tag);
  EXPECT_EQ(attributeValue<int>(object, "int"), tag);
  EXPECT_EQ(attributeValue<double>(object, "double"), tag / 7.0);
  EXPECT_EQ(attributeValue<long double>(object, "long double"), tag / 7.0L);
  EXPECT_EQ(attributeValue<unsigned long long>(object, "unsigned long long"),
            ~0ULL - static_cast<unsigned>(tag));
  EXPECT_EQ(attributeValue<std::string>(object, "text"), "Größe " + std::to_string(tag));
  EXPECT_EQ(attributeValue<std::string>(object, "no text"), "");
  EXPECT_EQ(attributeValue<Point>(object, "point"),
            sampleElement<Point>(static_cast<unsigned>(tag)));
  const auto texts = object.getAttribute("EPSG").castTo<Larder::Chunk<std::string>>();
  ASSERT_TRUE(texts);
  EXPECT_THAT(texts->base_vector(), ElementsAre("EPSG", "", "25832"));
  const auto many = object.getAttribute("many").castTo<Larder::Chunk<double>>();
  ASSERT_TRUE(many && many->size() == 20'000);
  EXPECT_EQ(many->back(), tag);
}

TEST(Attributes, OfEveryObjectComeBack) {
  const TempFolder folder;
  {
    const auto bundle = boundBundle(folder / "a.q8");
    const auto target = vertices(*bundle);
    const auto grid = (*(*bundle)[0.0])["G"];
    giveAttributes(*bundle, 1);
    giveAttributes(*(*bundle)[0.0], 2);
    giveAttributes(*grid, 3);
    giveAttributes(*grid->makeVertices(3), 4);
    giveAttributes(*target, 5);
    giveAttributes(*put(*target, "x", "f", sampleArray<1, int>({1})), 6);
    giveAttributes(*put(*target, "x", "", sampleArray<1, int>({1})), 7);
    giveAttributes(*put(*target, "lists", "f", sampleArray<1, Lists>({3})), 8);
    giveAttributes(*(*target)["x"].field(), 9);
  }
  const auto loaded = loadBundle(folder / "a.q8");
  const auto grid = (*(*loaded)(0.0))("G");
  const auto target = grid->getCartesianRepresentation("");
  expectAttributes(*loaded, 1);
  expectAttributes(*(*loaded)(0.0), 2);
  expectAttributes(*grid, 3);
  expectAttributes(*grid->findVertices(3), 4);
  expectAttributes(*target, 5);
  expectAttributes(*target->findField("x")->getCreatorByName("f"), 6);
  expectAttributes(*target->findField("x")->getCreator(nullptr), 7);
  expectAttributes(*target->findField("lists")->getCreatorByName("f"), 8);
  expectAttributes(*target->findField("x"), 9);
}

TEST(Attributes, OfACreatorMayComeAfterItsData) {
  const TempFolder folder;
  {
    const auto bundle = boundBundle(folder / "a.q8");
    const auto creator = put(*vertices(*bundle), "Positions", "f", sampleArray<1, Point>({4}));
    bundle->sync();
    creator->setAttribute("CellSize", Larder::singleValue(-1.0));
  }
  const auto field = findField(*loadBundle(folder / "a.q8"), "G", "Positions");
  EXPECT_EQ(attributeValue<double>(*field->getCreatorByName("f"), "CellSize"), -1.0);
}

TEST(Attributes, ThatNoFileCanHoldAreToldOnTheConsole) {
  const TempFolder folder;
  const ConsoleCapture console;
  boundBundle(folder / "a.q8")->setAttribute("lists", Larder::singleValue(Lists{1, 2}));
  EXPECT_TRUE(console.contains("a.q8: the attribute \"lists\""));
  EXPECT_TRUE(loadBundle(folder / "a.q8"));
}

}  // namespace
