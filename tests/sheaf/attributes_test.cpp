#include "sheaf/sample_data.h"
#include "support/console_capture.h"

// The attributes of everything in a bundle come back.
namespace {

using namespace TestSupport;

using Value = Larder::StrongPtr<Larder::ChunkBase>;

/// One value of each kind, which tells `tag`.
std::map<std::string, Value> valuesOf(unsigned tag) {
  return {
      {"int", Larder::singleValue(static_cast<int>(tag))},
      {"double", Larder::singleValue(tag / 7.0)},
      {"long double", Larder::singleValue(tag / 7.0L)},
      {"unsigned long long", Larder::singleValue(~0ULL - tag)},
      {"text", Larder::singleValue("Größe " + std::to_string(tag))},
      {"no text", Larder::singleValue(std::string())},
      {"point", Larder::singleValue(sampleElement<Point>(tag))},
      {"EPSG", Value(new Larder::Chunk<std::string>({"EPSG", "", "25832"}))},
      {"many", Value(new Larder::Chunk<double>(std::vector<double>(20'000, tag)))}  // over 64 KiB
  };
}

template <class... T>
bool sameValues(const Value& a, const Value& b) {
  const auto sameAs = [&]<class U>(std::type_identity<U>) {
    const auto left = a.castTo<Larder::Chunk<U>>();
    const auto right = b.castTo<Larder::Chunk<U>>();
    return left && right && left->base_vector() == right->base_vector();
  };
  return (sameAs(std::type_identity<T>()) || ...);
}

/// Everything in the bundle of the test that can have attributes.
std::vector<Larder::Attributes*> objectsOf(Quilt::Bundle& bundle) {
  const auto grid = (*bundle[0.0])["G"];
  const auto target = vertices(bundle);
  const auto field = target->findField("x");
  return {&bundle,
          bundle[0.0].rawptr(),
          grid.rawptr(),
          grid->findVertices(3).rawptr(),
          target.rawptr(),
          field.rawptr(),
          field->getCreatorByName("f").rawptr(),
          field->getCreator(nullptr).rawptr(),
          target->findField("lists")->getCreatorByName("f").rawptr()};
}

using Attributes = FileTest;

TEST_F(Attributes, OfEveryObjectComeBack) {
  {
    const auto bundle = boundBundle(file_);
    put(*vertices(*bundle), "x", "f", sampleArray<1, int>({1}));
    put(*vertices(*bundle), "x", "", sampleArray<1, int>({1}));
    put(*vertices(*bundle), "lists", "f", sampleArray<1, Lists>({3}));
    bundle->sync();  // they may come after the data
    unsigned tag = 0;
    for (Larder::Attributes* object : objectsOf(*bundle))
      for (const auto& [name, value] : valuesOf(++tag)) object->setAttribute(name, value);
  }
  const auto loaded = loadBundle(file_);
  ASSERT_TRUE(loaded);
  unsigned tag = 0;
  for (const Larder::Attributes* object : objectsOf(*loaded))
    for (const auto& [name, value] : valuesOf(++tag))
      EXPECT_TRUE((sameValues<int, double, long double, unsigned long long, std::string, Point>(
          object->getAttribute(name), value)))
          << name << " of object " << tag;
}

TEST_F(Attributes, ThatNoFileCanHoldAreToldOnTheConsole) {
  const ConsoleCapture console;
  boundBundle(file_)->setAttribute("lists", Larder::singleValue(Lists{1, 2}));
  EXPECT_TRUE(console.contains("a.q8: the attribute \"lists\""));
  EXPECT_TRUE(loadBundle(file_));
}

}  // namespace
