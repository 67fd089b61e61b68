#pragma once

#include <map>
#include <string>

#include "recast/sheaf/storage/bundle_writer.h"

namespace Quilt::Storage {

/// Walks a bundle at the completion of its file: hands over data that isn't in the file yet, and
/// writes groups, attributes and tables.
class StructureWriter {
 public:
  explicit StructureWriter(BundleWriter& writer) : writer_(writer) {}

  /// Hands all data to the writer that the file does not hold. \throw StorageError
  void handOverMissing(const Bundle& bundle);
  /// Writes everything but the data. \throw StorageError
  void writeStructure(const Bundle& bundle);

 private:
  /// Fields of one representation by the identifiers that they share: the first one's name.
  using Donors = std::map<const FragmentIDCollection*, std::string>;

  template <class Visit>
  void forEachField(const Bundle& bundle, Visit visit);
  void handOverMissing(const Field& field);
  void writeSlice(double time, const Slice& slice);
  void writeGrid(const LinkPath& path, const Grid& grid, unsigned long long index);
  void writeField(const Field& field, unsigned long long index, Donors& donors);
  bool writeIdentifiers(hid_t group, const Field& field, Donors& donors);
  /// The rows of the field's table, and the links that name their fragments unless a lattice does.
  std::vector<FragmentRow> rowsOf(FieldStore& store, const Field& field, bool isDonor,
                                  std::vector<std::string>& names);
  void finishRow(FieldStore& store, const Field& field, const FragmentID* fragment,
                 FragmentRow& row);
  void writeFragmentAttributes(FieldStore& store, const FragmentID* fragment,
                               const CreativeArrayBase& creator, FragmentRow& row);

  BundleWriter& writer_;
};

}  // namespace Quilt::Storage
