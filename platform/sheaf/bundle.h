#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "recast/larder/loader_parameters.h"
#include "recast/larder/progress.h"
#include "recast/sheaf/slice.h"
#include "recast/sheaf/storage_error.h"
#include "recast/sheaf/storage_transformations.h"

namespace Quilt {

namespace Storage {
class BundleWriter;
}

/// The outcome of binding or saving: 0 and an empty text, or a number and what went wrong.
struct RECAST_API BindResult {
  int number = 0;
  std::string text;
};

using ProgressHandle = Larder::StrongPtr<Larder::LoaderProgress, Larder::InterfaceBase>;
using StorageHandle = Larder::StrongPtr<StorageTransformations, Larder::InterfaceBase>;

/// Data in slices by time, in memory or bound to a `.q8` file.
///
/// A bound bundle writes arrays while they are handed over, to a file beside its target. `complete`
/// finishes the file and moves it over the target in one step; until then the target is untouched.
/// If writing fails, the call that meets it throws `StorageError` and the target stays as it was.
/// The release of a bundle that is still bound completes the file too, but can report a failure on
/// the console alone: call `complete` to know that the output is in place.
///
/// Two bundles may be used in two threads at once; one bundle may not, but for what `Field` allows.
///
///     for (const auto& [time, slice] : bundle) ...   // in ascending time
class RECAST_API Bundle : public Larder::ReferenceBase<Bundle>, public Larder::Attributes {
 public:
  Bundle();
  ~Bundle() override;
  Bundle(const Bundle&) = delete;
  Bundle& operator=(const Bundle&) = delete;
  /// Completes the file that the bundle is bound to.
  void extremeUnction() override;

  /// Binds the bundle to a new file of that name, which replaces an existing one on completion.
  /// What the bundle holds already goes to the file too.
  /// \return on failure a number and a text; a bundle that wasn't bound before is not valid from
  /// then on (`isValid`).
  BindResult bindToNew(const std::string& name, const StorageHandle& storage = nullptr);
  /// Binds the bundle to an existing file and loads what that holds; what is added later joins it.
  /// Data that the bundle holds already replaces that of the same names in the file.
  /// Works on a copy, so that the file stays whole until completion. A file that isn't there fails.
  BindResult bindTo(const std::string& name, const StorageHandle& storage = nullptr,
                    const ProgressHandle& progress = nullptr);
  /// False once binding has failed for a bundle that wasn't bound.
  bool isValid() const { return valid_; }

  /// Loads the structure of a file; arrays are read on request.
  /// \param ok set to whether it worked; if not, the console reports why, and nothing has changed.
  /// \param parameters name one file, and say whether what is loaded joins `into`.
  /// \param into the bundle to join; null, or not to be joined, for a new bundle. Slices, grids,
  /// fields and fragments of equal names become one, and attributes that `into` has stay. A
  /// fragment for which a field has data in the file and in `into` joins under a name of its own,
  /// such as "scan_2", with all its data. \return the bundle that holds the content; `into` on
  /// failure.
  static Larder::StrongPtr<Bundle> load(
      bool& ok, const Larder::StrongPtr<Larder::LoaderParameters>& parameters,
      const Larder::StrongPtr<Bundle>& into);
  /// Writes all that the bundle holds to a file of that name, as a bound bundle would.
  /// \throw StorageError if that fails; an existing file of that name is unchanged then.
  void save(const std::string& name, const ProgressHandle& progress,
            const StorageHandle& storage) const;
  /// Waits until everything handed over so far is written, and lets arrays that can be read again
  /// go from the cache. \throw StorageError if writing has failed.
  void sync();
  /// Completes the file that the bundle is bound to and ends the binding: what is handed over later
  /// stays in memory. Does nothing for a bundle that isn't bound.
  /// \throw StorageError if the file can't be completed; the target is unchanged then.
  void complete();
  /// Ends the binding without completing the file: the target stays as it was, and arrays that were
  /// in the unfinished file alone are gone. Does nothing for a bundle that isn't bound.
  void abandon();
  /// The fragments handed to the file since the bundle was bound; 0 if it isn't bound.
  std::size_t storedFragments() const;
  /// The files from which data of the bundle was loaded, external files of fields included;
  /// absolute names, each once.
  std::vector<std::string> sourceFiles() const;

  /// The slice at that time, made if missing. \pre `time` is a number
  Larder::StrongPtr<Slice> operator[](double time);
  /// The slice at that time, or null.
  Larder::StrongPtr<Slice> operator()(const double& time) const;
  /// The grid of that identifier in the slice at that time, or null.
  Larder::StrongPtr<Grid> operator()(double time, const Larder::StrongPtr<GridID>& id) const;
  /// The names of all grids, each once.
  std::vector<Larder::StrongPtr<GridID>> getGridIdentifiers() const;
  Larder::StrongPtr<GridList> getGridList() const;

  auto begin() const { return slices_.begin(); }
  auto end() const { return slices_.end(); }

 private:
  BindResult bind(const std::string& name, const StorageHandle& storage, bool existing);
  void dropFromCache() const;

  Larder::StrongPtr<BundleAnchor> anchor_;
  std::map<double, Larder::StrongPtr<Slice>> slices_;
  // Null if the bundle is in memory alone.
  Larder::StrongPtr<Storage::BundleWriter, FragmentSink> writer_;
  bool valid_ = true;
};

/// A shared owner of a bundle. Tests true while the bundle is valid (`Bundle::isValid`).
class RECAST_API BundlePtr : public Larder::StrongPtr<Bundle> {
 public:
  BundlePtr() = default;
  explicit BundlePtr(Bundle* bundle) : Larder::StrongPtr<Bundle>(bundle) {}
  BundlePtr(const Larder::StrongPtr<Bundle>& bundle) : Larder::StrongPtr<Bundle>(bundle) {}

  explicit operator bool() const { return rawptr() != nullptr && rawptr()->isValid(); }
  /// See `Bundle::save`.
  void save(const std::string& name, const ProgressHandle& progress,
            const StorageHandle& storage) const {
    (*this)->save(name, progress, storage);
  }
};

}  // namespace Quilt
