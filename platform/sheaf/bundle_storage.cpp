#include <set>

#include "recast/larder/console.h"
#include "recast/sheaf/bundle.h"
#include "recast/sheaf/storage/bundle_writer.h"
#include "recast/sheaf/storage/structure_loader.h"
#include "recast/sheaf/storage/structure_reader.h"

// How a bundle meets its file.
namespace Quilt {
namespace {

constexpr int kCannotBind = 1;
constexpr int kBoundAlready = 2;

void reportMessage(const ProgressHandle& progress, const std::string& text) {
  if (progress) progress->reportMessage(text);
}

/// \return what the file holds that can't be read.
Storage::LeftOut readStructure(const Storage::FileHandle& file, Bundle& bundle,
                               Storage::EqualNames onEqualNames) {
  Storage::FileContent content = Storage::StructureReader(file).read();
  Storage::StructureLoader(file, bundle, onEqualNames).load(content);
  return std::move(content.leftOut);
}

}  // namespace

Bundle::Bundle() : anchor_(Larder::makeStrong<BundleAnchor>()) {}
Bundle::~Bundle() = default;

BindResult Bundle::bindToNew(const std::string& name, const StorageHandle& storage) {
  return bind(name, storage, false);
}

BindResult Bundle::bindTo(const std::string& name, const StorageHandle& storage,
                          const ProgressHandle& progress) {
  reportMessage(progress, "Opening " + name);
  return bind(name, storage, true);
}

BindResult Bundle::bind(const std::string& name, const StorageHandle& storage, bool existing) {
  if (writer_) return {kBoundAlready, "the bundle is bound to a file already"};
  try {
    const auto writer = Larder::makeStrong<Storage::BundleWriter>(name, storage, existing, true);
    if (existing)
      writer->keepLeftOut(readStructure(writer->file(), *this, Storage::EqualNames::KeepPresent));
    writer_ = writer;
    anchor_->setSink(writer);
    return {};
  } catch (const std::exception& error) {
    valid_ = false;
    return {kCannotBind, error.what()};
  }
}

void Bundle::complete() {
  if (!writer_) return;
  anchor_->setSink(nullptr);
  const auto writer = std::move(writer_);
  writer->complete(*this);
}

void Bundle::abandon() {
  anchor_->setSink(nullptr);
  writer_.reset();
}

std::size_t Bundle::storedFragments() const {
  return writer_ ? writer_->storedFragments() : 0;
}

void Bundle::extremeUnction() {
  try {
    complete();
  } catch (const std::exception& error) {
    Larder::Console() << error.what() << "; the file was not completed.";
  }
}

Larder::StrongPtr<Bundle> Bundle::load(
    bool& ok, const Larder::StrongPtr<Larder::LoaderParameters>& parameters,
    const Larder::StrongPtr<Bundle>& into) {
  ok = false;
  const auto files = parameters ? parameters->files() : nullptr;
  if (!files || files->size() != 1) {
    Larder::Console() << "A bundle is loaded from exactly one file.";
    return into;
  }
  const std::string& name = (*files)[0];
  reportMessage(parameters->findInterface<Larder::LoaderProgress>(), "Loading " + name);
  try {
    const auto file = Larder::makeStrong<Storage::Q8File>(name, name, Storage::Q8File::Mode::Read);
    const auto bundle = into && parameters->merge() ? into : Larder::makeStrong<Bundle>();
    readStructure(file, *bundle, Storage::EqualNames::Rename);
    ok = true;
    return bundle;
  } catch (const std::exception& error) {
    Larder::Console() << error.what();
    return into;
  }
}

void Bundle::save(const std::string& name, const ProgressHandle& progress,
                  const StorageHandle& storage) const {
  reportMessage(progress, "Saving " + name);
  Storage::BundleWriter(name, storage, false, false).complete(*this);
}

void Bundle::sync() {
  if (writer_) writer_->drain();
  dropFromCache();
}

namespace {

template <class Visit>
void forEachField(const Bundle& bundle, Visit visit) {
  for (const auto& [time, slice] : bundle)
    for (const auto& [gridID, grid] : *slice)
      for (const auto& [skeletonID, skeleton] : grid->skeletons())
        for (const auto& representation : skeleton->representations())
          representation->iterate([&visit](const FieldID&, const Field& field) {
            visit(field);
            return true;
          });
}

}  // namespace

void Bundle::dropFromCache() const {
  forEachField(*this, [](const Field& field) {
    field.forEachMadeCreator([](const CreatorHandle& creator) {
      if (creator && creator->stored()) creator->dropFromCache();
    });
  });
}

std::vector<std::string> Bundle::sourceFiles() const {
  std::set<std::string> files;
  forEachField(*this, [&files](const Field& field) {
    for (auto source = field.source(); source; source = source->former())
      if (const auto loaded = source.castTo<Storage::LoadedField>()) {
        files.insert(loaded->bundleFile()->path());
        files.insert(loaded->place()->file().path());
      }
  });
  return {files.begin(), files.end()};
}

}  // namespace Quilt
