#include "recast/refragment/refragment_storage.h"

#include <filesystem>

#include "recast/sheaf/storage/link_names.h"

namespace Recast {
namespace {

using Quilt::Storage::escapedName;
using Quilt::Storage::timeName;

/// Can send every field but the positions to a file of its own.
class MyStorage : public Quilt::StorageTransformations {
 public:
  explicit MyStorage(std::string extLink) : extLink_(std::move(extLink)) {}

  std::pair<std::string, std::string> getExternalLocation(
      double time, const std::string& gridName, const Quilt::SkeletonID& skeleton,
      const std::string& representationName, const std::string& fieldName) const override {
    if (fieldName == Quilt::Representation::kPositions || extLink_.empty()) return {};
    return {extLink_ + "/" + fileName(fieldName), timeName(time) + "/" + escapedName(gridName) +
                                                      "/" + skeleton.name() + "/" +
                                                      escapedName(representationName)};
  }

 private:
  /// A field's name may say anything; it must not lead out of the folder.
  static std::string fileName(std::string fieldName) {
    for (std::size_t at = fieldName.find('/'); at != std::string::npos;
         at = fieldName.find('/', at))
      fieldName.replace(at, 1, "%2F");
    return fieldName + ".q8";
  }

  std::string extLink_;
};

}  // namespace

Quilt::StorageHandle storageFor(const ParaBox& box) {
  const auto storage = Larder::makeStrong<MyStorage>(box.ExtLink);
  storage->compressionMode = box.Compression;
  storage->workers = static_cast<unsigned>(box.Threads);
  return storage;
}

std::vector<std::string> externalFilesOf(const RefragmentationPlan& plan) {
  std::vector<std::string> files;
  const auto slice = plan.source ? (*plan.source)(plan.parameters.time) : nullptr;
  const auto grid = slice ? (*slice)(plan.gridName) : nullptr;
  const auto representation = grid ? grid->getCartesianRepresentation("") : nullptr;
  if (!representation) return files;
  std::error_code error;
  const auto output = std::filesystem::weakly_canonical(plan.parameters.outFile, error);
  const MyStorage storage(plan.parameters.extLink);
  representation->iterate([&](const Quilt::FieldID& id, const Quilt::Field&) {
    if (!plan.fieldNames.empty() && !plan.fieldNames.contains(id.name())) return true;
    const auto [file, place] =
        storage.getExternalLocation(0.0, "", Quilt::SkeletonID(0, 0), "", id.name());
    // A relative one counts from the folder of the output file.
    if (!file.empty()) files.push_back((output.parent_path() / file).string());
    return true;
  });
  return files;
}

}  // namespace Recast
