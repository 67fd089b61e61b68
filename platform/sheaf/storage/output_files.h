#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "recast/sheaf/bundle.h"
#include "recast/sheaf/storage/groups.h"
#include "recast/sheaf/storage/partial_file.h"
#include "recast/sheaf/storage/q8_file.h"

namespace Quilt::Storage {

/// The files that a bundle is written to: the main one and those that the rules name for single
/// fields. Files that were not put in place are gone when this goes. Not synchronised.
class OutputFiles {
 public:
  /// \param existing continues a copy of the target's content.
  /// \throw StorageError if the main file can't be made, or changed.
  OutputFiles(const std::string& target, const StorageHandle& storage, bool existing);
  ~OutputFiles();
  OutputFiles(const OutputFiles&) = delete;
  OutputFiles& operator=(const OutputFiles&) = delete;

  const FileHandle& main() const { return main_.file; }
  /// The file for a field's data, which is made and linked if it is new.
  /// \param path of the field in the main file, becomes that in its own one.
  /// \throw StorageError also if the place there is that of another field.
  const FileHandle& fileFor(const Placement& place, LinkPath& path);
  std::vector<const PartialFile*> partialFiles() const;
  /// \throw StorageError if something that was written to one of the files did not reach it.
  void requireWritten() const;
  /// Closes all files, brings them to the disk and puts them in their targets' places.
  /// \throw StorageError; the files that were there before are in their places then.
  void complete();

  [[noreturn]] void refuse(const Placement& place, const std::string& reason) const;

 private:
  struct OutputFile {
    std::unique_ptr<PartialFile> partial;
    FileHandle file;
  };

  static OutputFile openFile(const std::string& target, bool existing);
  bool staysWhereItLies(const LinkPath& path, std::string& externalFile, LinkPath& inside);
  const OutputFile& external(const std::string& target);
  void linkExternal(const OutputFile& external, const std::string& reference, const LinkPath& path,
                    const LinkPath& inside);
  template <class Visit>
  void forEach(Visit visit);

  StorageHandle storage_;
  bool existing_;
  OutputFile main_;
  std::map<std::string, OutputFile> external_;         // by their targets
  std::map<std::string, std::string> externalPlaces_;  // place in the bundle, by file and path
};

}  // namespace Quilt::Storage
