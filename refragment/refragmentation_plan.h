#pragma once

#include <string>
#include <unordered_set>
#include <vector>

#include "recast/larder/progress.h"
#include "recast/larder/string_list.h"
#include "recast/patchbase/bounding_boxes.h"
#include "recast/refragment/fragment_lattice.h"
#include "recast/sheaf/bundle.h"

namespace Recast {

/// What a refragmentation is asked to do. Lengths are in the unit of the data.
struct RECAST_API RefragmentationParameters {
  Larder::StrongPtr<Larder::StringList> files;  ///< the input, loaded into one bundle
  std::vector<std::string> fieldNames;          ///< fields beside the positions; empty for all
  std::string gridName;                         ///< empty if the input has exactly one grid
  double time = 0.0;  ///< of the slice that is read, and of the one written
  int threads = -1;   ///< negative for the machine's, 0 for the OpenMP runtime's
  /// Taken off the lower corner of the box that is computed.
  Heron::PhysicalSpace::vector lowerMargin{0.0, 0.0, 0.0};
  Quilt::BoxHandle bbox;    ///< a box that replaces the computed one
  bool useBBoxMin = false;  ///< at its lower corner
  bool useBBoxMax = false;  ///< at its upper corner
  std::string outFile;
  /// Wanted edge lengths of the fragments; 0 for one fragment along that axis.
  Heron::PhysicalSpace::vector fragLength{0.0, 0.0, 0.0};
  double overlap = 0.0;  ///< a fraction of a fragment's length
  int compression = -1;  ///< 0 weak, 1 strong, everything else none
  std::string extLink;   ///< folder for one file per field beside the positions; empty for none
  unsigned int loopsOverFrags = 1;  ///< passes over the data; more passes take less memory
  unsigned int fragLow = 0;         ///< fragments of so many points or fewer are not written
};

/// A refragmentation as it will be carried out: the input is loaded, the lattice is fixed, and
/// nothing has been written.
struct RECAST_API RefragmentationPlan {
  RefragmentationParameters parameters;
  Quilt::BundlePtr source;
  std::string gridName;
  std::unordered_set<std::string> fieldNames;  ///< those of the parameters, each once
  int threads = 0;                             ///< workers; 0 leaves it to the OpenMP runtime
  FragmentLattice lattice;

  /// The plan in lines of text, as a host shows it before the work starts.
  RECAST_API std::vector<std::string> description() const;
};

/// Loads the input and fixes the lattice.
/// \param plan is made anew; on failure it is empty, and a run refuses it.
/// \return empty on success, else what is wrong, as `spatialRefragmentation` reports it.
RECAST_API std::string planRefragmentation(const RefragmentationParameters& parameters,
                                           RefragmentationPlan& plan);

/// The files beside the output that a plan is going to write, one for each field that isn't kept in
/// the output; none without `extLink`.
RECAST_API std::vector<std::string> externalFilesOf(const RefragmentationPlan& plan);

/// Carries a plan out; the output file is in place when it ends with success.
///
/// A run that fails leaves the output file, and external ones, as they were if it has stored no
/// fragment, or if one of them is an input. Otherwise they are completed with what was stored.
/// \param plan made by `planRefragmentation`; one that was not, or that was refused, fails.
/// \param progress may be null. \return empty on success, else what ended the run.
/// \throw std::bad_alloc, and what the progress throws
RECAST_API std::string runRefragmentation(
    const RefragmentationPlan& plan, const Larder::StrongPtr<Larder::LoaderProgress>& progress);

}  // namespace Recast
