#include <memory>

#include "bundle_files.h"
#include "commands.h"
#include "outcome.h"
#include "text_output.h"

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

/// Enough for a millimetre in coordinates of nine digits.
constexpr int kDigits = 12;

void putVertex(TextOutput& output, const Heron::PhysicalSpace::point& p) {
  output.put("v");
  for (const double coordinate : {p.x(), p.y(), p.z()}) {
    output.put(" ");
    output.put(coordinate, kDigits);
  }
  output.put("\n");
}

/// Vertices count from 1.
void putTriangle(TextOutput& output, const Quilt::Triangle& triangle) {
  output.put("f");
  for (const std::size_t corner : {0U, 1U, 2U}) {
    output.put(" ");
    output.put(triangle[corner] + std::uint64_t{1});
  }
  output.put("\n");
}

/// Writes a surface as Wavefront OBJ. \return the triangles left out because they refer to
/// nonexistent vertices.
std::size_t write(const SurfaceData& surface, TextOutput& output) {
  for (const auto& point : *surface.points) putVertex(output, point);
  std::size_t leftOut = 0;
  const std::size_t count = surface.points->size();
  for (const auto& t : *surface.triangles)
    if (t[0] < count && t[1] < count && t[2] < count)
      putTriangle(output, t);
    else
      ++leftOut;
  return leftOut;
}

struct Options {
  std::string input;
  std::string output;
};

void run(const Options& options) {
  const Quilt::BundlePtr bundle = loadBundle(options.input);
  SurfaceData surface;
  if (!surface.find(*bundle))
    throw Failure(kBadInput, options.input + ": holds no triangulated surface that can be read");
  TextOutput output(options.output);
  const std::size_t leftOut = write(surface, output);
  output.finish();
  if (leftOut > 0)
    throw Failure(kBadInput, options.input + ": " + std::to_string(leftOut) +
                                 " triangles are left out: they refer to nonexistent vertices");
}

}  // namespace

Command exportObjCommand() {
  const auto options = std::make_shared<Options>();
  return {.name = "export-obj",
          .text = "Writes a triangulated surface as Wavefront OBJ",
          .options = {inputArgument("input", options->input, "The .q8 file"),
                      outputArgument(options->output, "The .obj file to write")},
          .run = [options] { run(*options); }};
}

}  // namespace RecastHost
