#pragma once

#include <string>

namespace Quilt::Storage {

/// A file that is written beside its target and takes the target's place in one step.
///
/// The file is called `<target>.partial`; a lock on it keeps a second writer of the same target
/// off, and ends with the process. A leftover of a killed process is replaced. A target that is a
/// symbolic link stays one: the file that it leads to is replaced, or made if it is missing. Names
/// are taken relative to the working directory at construction.
class PartialFile {
 public:
  /// Makes the empty file, or with `copyTarget` one with the content of the target (sharing its
  /// blocks where the file system can). \throw StorageError if the name is empty or no file, the
  /// folder is missing or can't be written, another writer is at work, or there is no target to
  /// copy.
  PartialFile(const std::string& target, bool copyTarget);
  /// Removes the file unless it was put in place.
  ~PartialFile();
  PartialFile(const PartialFile&) = delete;
  PartialFile& operator=(const PartialFile&) = delete;

  const std::string& path() const { return path_; }
  const std::string& target() const { return target_; }
  /// Lets the system begin to write to the disk what the file holds so far, so that `bringToDisk`
  /// has less to wait for.
  void startBringing() const;
  /// Waits until the content is on the disk. \throw StorageError
  void bringToDisk();
  /// Puts the file, whose content is on the disk, in the target's place. \throw StorageError
  void putInPlace();
  /// The same, keeping the target's former file until `dropFormer`, so that `takeBack` can restore
  /// it. \throw StorageError
  void putInPlaceKeepingFormer();
  /// Undoes `putInPlaceKeepingFormer`: the former file is in its place again, or no file if there
  /// was none.
  void takeBack() noexcept;
  void dropFormer() noexcept;

 private:
  void lock();
  void copyContent();

  std::string shownName_;
  std::string target_;
  std::string path_;
  std::string former_;  // where the target's former file is kept; empty if it isn't
  int descriptor_ = -1;
  int formerDescriptor_ = -1;
  bool inPlace_ = false;
};

}  // namespace Quilt::Storage
