#include "sheaf/sample_data.h"
#include "sheaf/tool_runs.h"
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
      {"no numbers", Value(new Larder::Chunk<double>(std::vector<double>()))},
      {"no points", Value(new Larder::Chunk<Point>(std::vector<Point>()))},
      {"no texts", Value(new Larder::Chunk<std::string>(std::vector<std::string>()))},
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

TEST_F(Attributes, ThatAreNotReadStayInAFileThatIsContinued) {
  if (!hasH5py()) GTEST_SKIP() << "there is no Python with h5py";
  boundBundle(file_)->setAttribute("ours", Larder::singleValue(1));
  ASSERT_EQ(runPython(folder_,
                      "with h5py.File('a.q8', 'r+', libver='v110') as f:\n"
                      "    f.attrs['text'] = 'of variable length'\n"
                      "    f.attrs['half'] = np.float16(2)\n"
                      "    f.attrs['empty'] = h5py.Empty('f8')\n")
                .status,
            0);
  {
    const ConsoleCapture console;
    Quilt::BundlePtr bundle(new Quilt::Bundle);
    ASSERT_EQ(bundle->bindTo(file_).number, 0);
    EXPECT_TRUE(console.contains("\"text\" is a text of variable length, which is not read"));
    EXPECT_EQ(bundle->getAttribute("empty")->elements(), 0U);
    bundle->setAttribute("ours", Larder::singleValue(2));
    bundle->complete();
  }
  const auto [status, output] = runPython(
      folder_, "f = h5py.File('a.q8').attrs\nprint(f['text'], f['half'], f['ours'][0])\n");
  EXPECT_EQ(output, "of variable length 2.0 2\n");
}

}  // namespace
