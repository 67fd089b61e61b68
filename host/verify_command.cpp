#include <cstdio>
#include <iostream>
#include <memory>

#include "bundle_files.h"
#include "commands.h"
#include "messages.h"
#include "outcome.h"
#include "progress_line.h"
#include "shown_text.h"

namespace RecastHost {
namespace {

/// Reads all fragments of bundles, one after the other; memory holds one.
class Verification {
 public:
  std::uint64_t fragments = 0;
  std::uint64_t unreadable = 0;

  Verification() : progress_(Larder::makeStrong<ProgressLine>()) {}

  void readFile(const std::string& file) {
    file_ = file;
    const Quilt::BundlePtr bundle = loadBundle(file);
    total_ = fragmentsDone_ = 0;
    visitFields(*bundle, [this](const std::string&, Quilt::Field& field) {
      total_ += static_cast<int>(field.getFragmentIDs().size());
    });
    visitFields(*bundle,
                [this](const std::string& path, Quilt::Field& field) { readField(path, field); });
  }

 private:
  /// Calls `visit` with the path of each field, down from its time, and the field.
  template <class Visit>
  static void visitFields(const Quilt::Bundle& bundle, const Visit& visit) {
    for (const auto& [time, slice] : bundle)
      for (const auto& [gridID, grid] : *slice)
        for (const auto& [skeletonID, skeleton] : grid->skeletons())
          for (const auto& representation : skeleton->representations()) {
            const std::string path = timeText(time) + "/" + gridID->name() + "/" +
                                     skeletonID.name() + "/" + representation->name() + "/";
            for (const std::string& name : fieldNames(*representation))
              visit(path + name, *representation->findField(name));
          }
  }

  static std::vector<std::string> fieldNames(const Quilt::Representation& representation) {
    std::vector<std::string> names;
    representation.iterate([&names](const Quilt::FieldID& id, const Quilt::Field&) {
      names.push_back(id.name());
      return true;
    });
    return names;
  }

  static std::string timeText(double time) {
    char text[32];
    std::snprintf(text, sizeof text, "%.10g", time);
    return text;
  }

  void readField(const std::string& path, Quilt::Field& field) {
    for (const auto& fragment : field.getFragmentIDs()) {
      ++fragmentsDone_;
      if (!field.hasData(fragment)) continue;
      readFragment(path + "/" + fragment->name(), field.getCreator(fragment));
      field.letGo(fragment);
    }
    if (field.hasData(nullptr)) readFragment(path, field.getCreator(nullptr));
  }

  void readFragment(const std::string& path, const Quilt::CreatorHandle& creator) {
    const bool goesOn =
        progress_->reportProgress("Verifying " + file_ + ": fragment", fragmentsDone_, total_);
    if (!goesOn) throw Failure(kInterrupted, "interrupted; not all of " + file_ + " was read");
    ++fragments;
    if (creator && creator->produce()) return;
    ++unreadable;
    reportFailure(file_ + ": " + path + ": can't be read");
  }

  Larder::StrongPtr<ProgressLine> progress_;
  std::string file_;
  // Beyond the range of an int the line is wrong, and nothing else.
  int total_ = 0;
  int fragmentsDone_ = 0;
};

void run(const std::vector<std::string>& files) {
  Verification verification;
  std::size_t notLoaded = 0;
  for (const std::string& file : files) try {
      verification.readFile(file);
    } catch (const Failure& failure) {
      if (failure.code() == kInterrupted) throw;
      ++notLoaded;
      reportFailure("recast: " + std::string(failure.what()));
    }
  if (notLoaded > 0 || verification.unreadable > 0)
    throw Failure(kBadInput, std::to_string(notLoaded) + " of " + std::to_string(files.size()) +
                                 " files can't be loaded, and " +
                                 std::to_string(verification.unreadable) + " of " +
                                 std::to_string(verification.fragments) +
                                 " fragments in the others can't be read");
  std::cout << verification.fragments << " fragments in " << files.size() << " files can be read\n";
}

}  // namespace

Command verifyCommand() {
  const auto files = std::make_shared<std::vector<std::string>>();
  return {.name = "verify",
          .text = "Reads all of .q8 files and reports each fragment that can't be read",
          .options = {inputFiles(*files, "The .q8 files")},
          .run = [files] { run(*files); }};
}

}  // namespace RecastHost
