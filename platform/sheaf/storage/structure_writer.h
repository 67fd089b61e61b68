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

  /// One field's table while it is put together.
  struct Table {
    std::vector<FragmentRow> rows;
    std::vector<std::string>
        names;                      // the links of the rows' fragments, unless a lattice tells them
    std::vector<std::string> used;  // links of the field's group
  };

  template <class Visit>
  void forEachField(const Bundle& bundle, Visit visit);
  void handOverMissing(const Placement& place, const Field& field);
  void handOver(const Placement& place, const Field& field,
                const Larder::StrongPtr<FragmentID>& fragment);
  void writeSlice(double time, const Slice& slice);
  void writeGrid(const LinkPath& path, const Grid& grid, unsigned long long index);
  void writeField(const Placement& place, const Field& field, unsigned long long index,
                  Donors& donors);
  /// Says whose identifiers the field uses. \return whether they are its own, to be listed in its
  /// table.
  bool writeIdentifiers(hid_t group, const Placement& place, const Field& field, Donors& donors);
  Table tableOf(FieldStore& store, const Field& field, bool isDonor);
  void addRow(Table& table, FieldStore& store, const Field& field, const FragmentID* fragment,
              bool isDonor, bool named);
  void writeFragmentAttributes(FieldStore& store, const std::string& link,
                               const CreativeArrayBase& creator, FragmentRow& row);

  BundleWriter& writer_;
};

}  // namespace Quilt::Storage
