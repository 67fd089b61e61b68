#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>

#include "bundle_files.h"
#include "commands.h"

#include "recast/typed_arrays/mem_array.h"

namespace RecastHost {
namespace {

using Points = Larder::Chunk<Heron::PhysicalSpace::point>;
using Triangles = Larder::Chunk<Quilt::Triangle>;

template <class Chunk>
Larder::StrongPtr<Chunk, Larder::ChunkBase> wholeData(
    const Larder::StrongPtr<Quilt::Field>& field) {
  const auto array = field ? field->getData(nullptr) : nullptr;
  return array ? array->getChunk().castTo<Chunk>() : nullptr;
}

struct SurfaceData {
  Larder::StrongPtr<Points, Larder::ChunkBase> points;
  Larder::StrongPtr<Triangles, Larder::ChunkBase> triangles;

  /// The first grid of the bundle that is a triangulated surface.
  bool find(const Quilt::Bundle& bundle) {
    for (const auto& [time, slice] : bundle)
      for (const auto& [id, grid] : *slice) {
        const auto faces = grid->getSkeleton(Quilt::SkeletonID(2, 1));
        const auto vertices = grid->findVertices(2);
        const auto onVertices = faces && vertices ? (*faces)(*vertices) : nullptr;
        if (!onVertices) continue;
        points = wholeData<Points>(grid->CartesianPositions());
        triangles = wholeData<Triangles>(onVertices->Positions());
        if (points && triangles) return true;
      }
    return false;
  }
};

/// Writes a surface as Wavefront OBJ, whose vertices count from 1. \return the triangles left out
/// because they refer to vertices that there are not.
std::size_t write(const SurfaceData& surface, std::FILE* file) {
  for (const auto& p : *surface.points)
    std::fprintf(file, "v %.12g %.12g %.12g\n", p.x(), p.y(), p.z());
  std::size_t leftOut = 0;
  const std::size_t count = surface.points->size();
  for (const auto& t : *surface.triangles) {
    if (t[0] < count && t[1] < count && t[2] < count)
      std::fprintf(file, "f %zu %zu %zu\n", t[0] + std::size_t{1}, t[1] + std::size_t{1},
                   t[2] + std::size_t{1});
    else
      ++leftOut;
  }
  return leftOut;
}

int run(const std::string& input, const std::string& output) {
  const Quilt::BundlePtr bundle = loadBundle(input);
  if (!bundle) return 2;
  SurfaceData surface;
  if (!surface.find(*bundle)) {
    std::cerr << "recast: " << input << ": holds no triangulated surface\n";
    return 3;
  }
  std::FILE* file = std::fopen(output.c_str(), "w");
  if (file == nullptr) {
    std::cerr << "recast: " << output << ": " << std::strerror(errno) << "\n";
    return 8;
  }
  const std::size_t leftOut = write(surface, file);
  const bool written = std::ferror(file) == 0;
  if (std::fclose(file) != 0 || !written) {
    std::cerr << "recast: " << output << ": not all of it could be written\n";
    return 8;
  }
  if (leftOut > 0)
    std::cerr << "recast: " << leftOut << " triangles refer to vertices that there are not\n";
  return 0;
}

}  // namespace

void addExportObjCommand(CLI::App& program, Outcome& outcome) {
  auto* command =
      program.add_subcommand("export-obj", "Writes a triangulated surface as Wavefront OBJ");
  const auto files = std::make_shared<std::pair<std::string, std::string>>();
  command->add_option("input", files->first, "The .q8 file")->required();
  command->add_option("output", files->second, "The .obj file to write")->required();
  command->callback([files, &outcome] { outcome.code = run(files->first, files->second); });
}

}  // namespace RecastHost
