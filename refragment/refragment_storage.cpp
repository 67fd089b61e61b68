#include "recast/refragment/refragment_storage.h"

#include <filesystem>

#include "recast/sheaf/storage/link_names.h"

namespace Recast {
namespace {

using Quilt::Storage::escapedName;

/// The file of a field below the folder of external files, empty for none. A field's name may say
/// anything; it must not lead out of the folder.
std::string fileBelow(const std::string& folder, std::string fieldName) {
  if (fieldName == Quilt::Representation::kPositions || folder.empty()) return {};
  for (std::size_t at = fieldName.find('/'); at != std::string::npos; at = fieldName.find('/', at))
    fieldName.replace(at, 1, "%2F");
  return folder + "/" + fieldName + ".q8";
}

/// Can send every field but the positions to a file of its own.
class MyStorage : public Quilt::StorageTransformations {
 public:
  explicit MyStorage(std::string extLink) : extLink_(std::move(extLink)) {}

  std::pair<std::string, std::string> getExternalLocation(
      double time, const std::string& gridName, const Quilt::SkeletonID& skeleton,
      const std::string& representationName, const std::string& fieldName) const override {
    const std::string file = fileBelow(extLink_, fieldName);
    if (file.empty()) return {};
    return {file, std::to_string(time) + "/" + escapedName(gridName) + "/" + skeleton.name() + "/" +
                      escapedName(representationName)};
  }

 private:
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
  const std::filesystem::path file = fileBelow(box.ExtLink, fieldName);
  // A relative one counts from the folder of the output file.
  return file.empty() ? std::string()
                      : (std::filesystem::path(box.OutFile).parent_path() / file).string();
}

}  // namespace Recast
