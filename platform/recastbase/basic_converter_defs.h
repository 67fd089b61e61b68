#pragma once

#include <string>
#include <vector>

#include "recast/sheaf/bundle.h"

namespace Recast {

/// How files join what a converter's bundle holds.
enum class myReadType {
  Merge,    ///< they are added to it
  Replace,  ///< they take its place
};

/// What converters have in common: the input bundle, what of it to work on, and the list of errors.
/// A converter derives from it; a host sets the members, has the input loaded and calls `Run`.
class RECAST_API BasicConverterDefs {
 public:
  virtual ~BasicConverterDefs() = default;

  /// The converter's own parameters as text.
  virtual std::string printSecondary() = 0;
  /// Whether the grid of that name is to be worked on: it is in `GridNames`, or that is empty.
  virtual bool UseThisGrid(const std::string& name) const;
  /// Whether the slice of that time is to be worked on: it is in `Times`, or that is empty. Times
  /// must be equal to the last bit.
  virtual bool UseThisTime(const double& time) const;
  /// Whether the field of that name is to be worked on: it is in `FieldNames`, or that is empty.
  virtual bool UseThisField(const std::string& name);
  /// Does the work. \return the converter's status.
  virtual int Run() = 0;
  /// Loads `InputFiles` into `Bundle`, front to back. A file that can't be loaded is noted in
  /// `Errors`, and those behind it are left out. \return whether all were loaded.
  virtual bool loadFilesIntoBundle(myReadType type);

  /// What is selected, and the converter's own parameters, as text of several lines.
  std::string printParameters();

  /// Keeps on `grid` how it was made: `text` as the attribute `key`, one string.
  /// \param source a grid whose attributes are carried over first, where `carryOver` is not 0; may
  /// be null. \param replace 0 appends to a text that the grid has under `key`, else that is
  /// replaced.
  static void addInfoToGrid(const std::string& text, Quilt::Grid& grid, const std::string& key,
                            const Larder::StrongPtr<Quilt::Grid>& source, int carryOver,
                            int replace);

  std::vector<std::string> InputFiles;
  Larder::StrongPtr<Quilt::Bundle> Bundle;  ///< the input; null until loaded or set
  std::vector<double> Times;
  std::vector<std::string> GridNames;
  std::vector<std::string> FieldNames;
  std::string OutputFile;
  Quilt::ProgressHandle Progress;   ///< may be null
  std::vector<std::string> Errors;  ///< every problem, in the order in which they came
};

}  // namespace Recast
