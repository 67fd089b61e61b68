#include "support/q8_samples.h"

#include <filesystem>

#include "sheaf/sample_data.h"

#include "recast/trelliskinds/grid_kinds.h"

namespace FuzzSupport {
namespace {

using namespace TestSupport;

/// Rules that pack the field "packed" and write positions in single precision.
struct Packing : Quilt::StorageTransformations {
  bool setFieldPacking(const std::string& field, std::size_t) const override {
    return field == "packed";
  }
  bool WriteAsSinglePrecision(const std::string& field,
                              const Larder::StrongPtr<Larder::ChunkBase>&) const override {
    return field == "Positions";
  }
  bool EnableNumericalShift(const std::string&,
                            const Larder::StrongPtr<Larder::ChunkBase>&) const override {
    return true;
  }
};

void fillPoints(Quilt::Bundle& bundle) {
  const auto cloud = vertices(bundle);
  put(*cloud, "Positions", "a", sampleArray<1, Point>({9}))
      ->setAttribute("unit", Larder::singleValue(std::string("m")));
  put(*cloud, "Intensity", "a", sampleArray<1, float>({9}));
  put(*cloud, "Intensity", "b", sampleArray<1, float>({2}));
  bundle.setAttribute("EPSG", Larder::singleValue(25832));
}

void fillPacked(Quilt::Bundle& bundle) {
  const auto target = vertices(bundle);
  const auto lattice = Larder::makeStrong<Quilt::FragmentIDCollection>();
  lattice->setFragmentNames<3>({2, 1, 1}, "");
  target->makeField(target->makeFieldID("Positions"), lattice, nullptr);
  put(*target, "Positions", "[1x0x0]", sampleArray<1, Point>({5}));
  put(*target, "packed", "[0x0x0]", sampleArray<1, float>({5}))
      ->setAttribute("CellSize", Larder::singleValue(2.0));
  put(*target, "packed", "[1x0x0]", sampleArray<1, float>({3}));
}

void fillSurface(Quilt::Bundle& bundle) {
  const auto grid = (*bundle[1.5])["S"];
  put(*grid->makeCartesianRepresentation(2, "", 0), "Positions", "", sampleArray<1, Point>({4}));
  const auto faces = (*(*grid)[Quilt::SkeletonID(2, 1)])[*grid->makeVertices(2)];
  put(*faces, "Positions", "", sampleArray<1, Quilt::Triangle>({2}));
  put(*faces, "lists", "", sampleArray<1, Lists>({3}));
}

void fillUniform(Quilt::Bundle& bundle) {
  const auto grid = vertices(bundle, "U");
  put(*grid, "Positions", "t",
      Quilt::UniformCartesianArray::overBox({0, 0, 0}, {3, 4, 1}, {1, 1, 0}));
  put(*grid, "Elevation", "t", sampleArray<3, double>({3, 4, 1}));
}

struct Sample {
  const char* name;
  void (*fill)(Quilt::Bundle& bundle);
  int level;  // of compression
};

constexpr Sample kSamples[] = {{"points.q8", fillPoints, 0},
                               {"points-compressed.q8", fillPoints, 1},
                               {"packed.q8", fillPacked, 1},
                               {"surface.q8", fillSurface, 0},
                               {"uniform.q8", fillUniform, 0}};

void write(const std::string& file, void (*fill)(Quilt::Bundle&), int level) {
  const auto rules = Larder::makeStrong<Packing>();
  rules->compressionLevel = level;
  const auto bundle = boundBundle(file, rules);
  fill(*bundle);
  bundle->complete();
}

}  // namespace

std::vector<std::string> writeQ8Samples(const std::string& folder) {
  std::filesystem::create_directories(folder);
  std::vector<std::string> files;
  for (const Sample& sample : kSamples) {
    files.push_back(folder + "/" + sample.name);
    write(files.back(), sample.fill, sample.level);
  }
  return files;
}

}  // namespace FuzzSupport
