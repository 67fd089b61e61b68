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

std::string externalFileFor(const ParaBox& box, const std::string& fieldName) {
  const std::filesystem::path file =
      MyStorage(box.ExtLink)
          .getExternalLocation(0.0, "", Quilt::SkeletonID(0, 0), "", fieldName)
          .first;
  // A relative one counts from the folder of the output file.
  return file.empty() ? std::string()
                      : (std::filesystem::path(box.OutFile).parent_path() / file).string();
}

}  // namespace Recast
