#include "recast/sheaf/storage/output_files.h"

#include <filesystem>
#include <tuple>

#include "recast/sheaf/storage/link_names.h"

namespace Quilt::Storage {
namespace {

void makeFolder(const std::filesystem::path& folder) {
  std::error_code error;
  if (!folder.empty()) std::filesystem::create_directories(folder, error);
  if (error) throw StorageError(folder.string(), "make the folder", error.message());
}

/// \throw StorageError if that can't be found out
bool isThere(const std::string& file) {
  std::error_code error;
  const bool there = std::filesystem::exists(file, error);
  if (error) throw StorageError(file, "open", error.message());
  return there;
}

/// The links of a place that the rules tell as a text, in which HDF5 could not hold a ".".
LinkPath externalPath(const std::string& text) {
  LinkPath path = splitPath(text);
  for (std::string& link : path)
    if (link == ".") link = escapedName(link);
  return path;
}

}  // namespace

OutputFiles::OutputFiles(const std::string& target, const StorageHandle& storage, bool existing)
    : storage_(storage), existing_(existing), main_(openFile(target, existing)) {}

OutputFiles::~OutputFiles() {
  // Files that were not completed are lost: what HDF5 still holds of them need not be written.
  forEach([](OutputFile& output) { output.file->abandon(); });
}

OutputFiles::OutputFile OutputFiles::openFile(const std::string& target, bool existing) {
  OutputFile output;
  output.partial = std::make_unique<PartialFile>(target, existing);
  output.file = Larder::makeStrong<Q8File>(output.partial->path(), target,
                                           existing ? Q8File::Mode::Change : Q8File::Mode::Create);
  return output;
}

/// The external files come first.
template <class Visit>
void OutputFiles::forEach(Visit visit) {
  for (auto& [name, output] : external_) visit(output);
  visit(main_);
}

std::vector<const PartialFile*> OutputFiles::partialFiles() const {
  std::vector<const PartialFile*> files;
  for (const auto& [name, output] : external_) files.push_back(output.partial.get());
  files.push_back(main_.partial.get());
  return files;
}

void OutputFiles::complete() {
  // Nothing takes its place before all is safe, and the external files come first: the main file
  // must not point to what isn't there.
  forEach([](OutputFile& output) {
    output.file->close();
    output.partial->bringToDisk();
  });
  std::vector<PartialFile*> placed;
  try {
    for (const auto& [name, output] : external_) {
      output.partial->putInPlaceKeepingFormer();
      placed.push_back(output.partial.get());
    }
    main_.partial->putInPlace();
  } catch (...) {
    for (PartialFile* partial : placed) partial->takeBack();
    throw;
  }
  for (PartialFile* partial : placed) partial->dropFormer();
  forEach([](OutputFile& output) { output.file->movedTo(output.partial->target()); });
}

void OutputFiles::requireWritten() const {
  for (const auto& [name, output] : external_) output.file->requireWritten();
  main_.file->requireWritten();
}

void OutputFiles::refuse(const Placement& place, const std::string& reason) const {
  throw StorageError(main_.file->state().shownName, "write field " + place.FieldName, reason);
}

const FileHandle& OutputFiles::fileFor(const Placement& place, LinkPath& path) {
  const LinkPath mainPath = path;
  std::string name;
  std::string inside;
  LinkPath insidePath = path;
  const bool stays = existing_ && staysWhereItLies(path, name, insidePath);
  if (stays) {
    if (name.empty()) return main_.file;
  } else {
    std::tie(name, inside) = storage_->getExternalLocation(
        place.Time, place.GridName, place.Skeleton, place.RepresentationName, place.FieldName);
    if (name.empty()) return main_.file;
    if (!inside.empty())
      insidePath = below(externalPath(storage_->getExternalLocationPrefix() + inside), path.back());
  }
  std::filesystem::path target(name);
  if (target.is_relative())
    target = std::filesystem::path(main_.partial->target()).parent_path() / target;
  const std::string targetName = target.lexically_normal().string();
  if (stays && !external_.contains(targetName) && !isThere(targetName))
    refuse(place, "it lies in " + name + ", which is gone");
  const auto [claim, isNew] =
      externalPlaces_.try_emplace(targetName + joined(insidePath), joined(mainPath));
  if (claim->second != joined(mainPath))
    refuse(place, "its place in " + name + " is that of " + claim->second);
  const OutputFile& output = external(targetName);
  path = insidePath;
  linkExternal(output, storage_->getExternalFileReference(main_.partial->target(), targetName),
               mainPath, path);
  return output.file;
}

/// Whether the file that is changed holds the field already, and where: a field stays in the file
/// in which it lies, whatever the rules say of new ones. \param externalFile is left empty for the
/// main file.
bool OutputFiles::staysWhereItLies(const LinkPath& path, std::string& externalFile,
                                   LinkPath& inside) {
  const Hdf5Lock lock(main_.file->state());
  const Id parent = findGroup(*main_.file, {path.begin(), path.end() - 1});
  if (!parent.valid() || !hasLink(parent, path.back())) return false;
  if (const auto target = externalTarget(parent, path.back())) {
    externalFile = target->first;
    inside = splitPath(target->second);
  }
  return true;
}

const OutputFiles::OutputFile& OutputFiles::external(const std::string& target) {
  if (const auto present = external_.find(target); present != external_.end())
    return present->second;
  makeFolder(std::filesystem::path(target).parent_path());
  const bool changed = existing_ && isThere(target);
  return external_.emplace(target, openFile(target, changed)).first->second;
}

void OutputFiles::linkExternal(const OutputFile& external, const std::string& reference,
                               const LinkPath& path, const LinkPath& inside) {
  const Hdf5Lock lock(main_.file->state());
  const Id group = makeGroup(*main_.file, {path.begin(), path.end() - 1});
  if (hasLink(group, path.back())) removeLink(group, path.back());
  checked(H5Lcreate_external(reference.c_str(), joined(inside).c_str(), group, path.back().c_str(),
                             linkProperties(), H5P_DEFAULT),
          "link", external.partial->target());
}

}  // namespace Quilt::Storage
