// The input is a list of changes to a sound .q8 file, made through HDF5, so that the file's
// checksums hold and its content doesn't: objects that are missing, linked twice or of another
// kind, attributes and tables that tell something else.

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "support/byte_source.h"
#include "support/q8_check.h"
#include "support/q8_samples.h"
#include "support/require.h"
#include "support/scratch_folder.h"
#include <hdf5.h>

namespace {

using FuzzSupport::ByteSource;

constexpr int kMostChanges = 12;
constexpr std::size_t kMostBytes = 4096;  // of data that a change writes

const char* const kAttributes[] = {
    "@format", "@version", "@time",    "@index",   "@type",        "@box",    "@shift",   "@size",
    "@origin", "@prefix",  "@lattice", "@spacing", "@identifiers", "@type:x", "CellSize", "x"};
const char* const kTexts[] = {"",
                              "float",
                              "double",
                              "long double",
                              "unsigned char",
                              "int",
                              "unsigned long long",
                              "Heron::PhysicalSpace::point",
                              "Heron::FixedArray<double, 3>",
                              "Quilt::SimplexCell<2, unsigned int, Quilt::IJ_CellNamingConvention>",
                              "std::vector<unsigned int, std::allocator<unsigned int> >",
                              "Positions",
                              "Intensity",
                              "packed",
                              "recast q8",
                              "no such thing"};
constexpr std::uint64_t kNumbers[] = {
    0,   1,       2,          3,          4,          5,          8,          9,
    255, 1 << 16, 1ULL << 31, 1ULL << 32, 1ULL << 61, 1ULL << 62, 1ULL << 63, ~0ULL};

/// Closes an identifier at the end of its scope.
class Id {
 public:
  explicit Id(hid_t id) : id_(id) {}
  ~Id() {
    if (id_ < 0) return;
    switch (H5Iget_type(id_)) {
      case H5I_FILE: H5Fclose(id_); break;
      case H5I_ATTR: H5Aclose(id_); break;
      case H5I_DATASPACE: H5Sclose(id_); break;
      case H5I_DATATYPE: H5Tclose(id_); break;
      case H5I_GENPROP_LST: H5Pclose(id_); break;
      default: H5Oclose(id_);
    }
  }
  Id(const Id&) = delete;
  Id& operator=(const Id&) = delete;
  operator hid_t() const { return id_; }

 private:
  hid_t id_;
};

class Changes {
 public:
  Changes(hid_t file, ByteSource& source) : file_(file), source_(source) {
    H5Lvisit(file, H5_INDEX_NAME, H5_ITER_INC, addLink, &links_);
  }

  void run() {
    for (int i = 0; i < kMostChanges && !source_.empty(); ++i) {
      switch (source_.below(7)) {
        case 0: H5Ldelete(file_, link(), H5P_DEFAULT); break;
        case 1: linkAnew(); break;
        case 2: setAttribute(); break;
        case 3: H5Adelete_by_name(file_, link(), attribute(), H5P_DEFAULT); break;
        case 4: replaceDataset(); break;
        default: changeTable();  // twice as often
      }
    }
  }

 private:
  static herr_t addLink(hid_t, const char* name, const H5L_info_t*, void* links) {
    static_cast<std::vector<std::string>*>(links)->emplace_back(name);
    return 0;
  }

  const char* link() {
    const unsigned n = source_.byte();
    return links_.empty() || n % 32 == 31 ? "/" : links_[n % links_.size()].c_str();
  }
  const char* attribute() { return kAttributes[source_.below(std::size(kAttributes))]; }
  std::uint64_t number() { return kNumbers[source_.below(std::size(kNumbers))]; }

  void linkAnew() {
    const std::string from = link();
    const std::string to = source_.flag() ? std::string(link()) : std::string(link()) + "/x";
    H5Ldelete(file_, to.c_str(), H5P_DEFAULT);
    if (source_.flag())
      H5Lcreate_hard(file_, from.c_str(), file_, to.c_str(), H5P_DEFAULT, H5P_DEFAULT);
    else
      H5Lcreate_soft(("/" + from).c_str(), file_, to.c_str(), H5P_DEFAULT, H5P_DEFAULT);
  }

  void setAttribute() {
    const Id object(H5Oopen(file_, link(), H5P_DEFAULT));
    const char* const name = attribute();
    H5Adelete(object, name);
    if (source_.flag()) {
      const std::string text = kTexts[source_.below(std::size(kTexts))];
      const Id type(H5Tcopy(H5T_C_S1));
      H5Tset_size(type, text.size() + 1);
      writeAttribute(object, name, type, Id(H5Screate(H5S_SCALAR)), text.c_str());
      return;
    }
    std::array<std::uint64_t, 6> values{};
    for (auto& value : values) value = number();
    const hsize_t extent = source_.below(7);
    const Id space(extent == 6 ? H5Screate(H5S_SCALAR) : H5Screate_simple(1, &extent, nullptr));
    writeAttribute(object, name, numberType(), space, values.data());
  }
  static void writeAttribute(hid_t object, const char* name, hid_t type, hid_t space,
                             const void* values) {
    const Id attribute(H5Acreate2(object, name, type, space, H5P_DEFAULT, H5P_DEFAULT));
    H5Awrite(attribute, type, values);
  }
  /// A type of at most eight bytes.
  hid_t numberType() {
    const hid_t types[] = {H5T_STD_U64LE, H5T_IEEE_F64LE, H5T_STD_I32LE,
                           H5T_STD_U8LE,  H5T_IEEE_F32LE, H5T_STD_I64BE};
    return types[source_.below(std::size(types))];
  }

  /// Puts a dataset of some type and shape in the place of another object.
  void replaceDataset() {
    const std::string name = link();
    const hid_t type = numberType();
    std::array<hsize_t, 5> extents{};
    std::array<hsize_t, 5> chunk{};
    const auto rank = static_cast<int>(source_.below(6));
    double elements = 1.0;
    for (std::size_t axis = 0; axis < static_cast<std::size_t>(rank); ++axis) {
      extents[axis] = number();
      chunk[axis] = std::clamp<hsize_t>(extents[axis], 1, 16);
      elements *= static_cast<double>(extents[axis]);
    }
    const bool small = elements * 8 <= static_cast<double>(kMostBytes);
    const Id properties(H5Pcreate(H5P_DATASET_CREATE));
    if (rank > 0 && (!small || source_.flag())) {
      H5Pset_chunk(properties, rank, chunk.data());
      if (source_.flag()) H5Pset_shuffle(properties);
      if (source_.flag()) H5Pset_deflate(properties, 1);
    }
    H5Ldelete(file_, name.c_str(), H5P_DEFAULT);
    const Id space(H5Screate_simple(rank, extents.data(), nullptr));
    const Id dataset(
        H5Dcreate2(file_, name.c_str(), type, space, H5P_DEFAULT, properties, H5P_DEFAULT));
    const std::vector<unsigned char> values(kMostBytes, source_.byte());
    if (small) H5Dwrite(dataset, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data());
  }

  /// Overwrites one number in a row of a table.
  void changeTable() {
    std::vector<std::string> tables;
    for (const std::string& name : links_)
      if (name.ends_with("@fragments")) tables.push_back(name);
    if (tables.empty()) return;
    const Id table(H5Dopen2(file_, tables[source_.byte() % tables.size()].c_str(), H5P_DEFAULT));
    const Id type(H5Dget_type(table));
    const Id space(H5Dget_space(table));
    const hssize_t rows = H5Sget_simple_extent_npoints(space);
    if (H5Tget_class(type) != H5T_COMPOUND || rows <= 0) return;
    const std::size_t rowBytes = H5Tget_size(type);
    const std::size_t bytes = rowBytes * static_cast<std::size_t>(rows);
    const int members = H5Tget_nmembers(type);
    if (bytes > kMostBytes || members <= 0) return;
    std::vector<unsigned char> content(bytes);
    if (H5Dread(table, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, content.data()) < 0) return;
    const auto member = source_.below(static_cast<unsigned>(members));
    const Id memberType(H5Tget_member_type(type, member));
    std::size_t at = rowBytes * (source_.byte() % static_cast<std::size_t>(rows)) +
                     H5Tget_member_offset(type, member);
    const std::size_t width = std::min<std::size_t>(H5Tget_size(memberType), 8);
    at += width * source_.below(static_cast<unsigned>(H5Tget_size(memberType) / width));
    const std::uint64_t value = source_.flag() ? number() : source_.byte();
    std::memcpy(content.data() + at, &value, width);
    H5Dwrite(table, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, content.data());
  }

  hid_t file_;
  ByteSource& source_;
  std::vector<std::string> links_;
};

void change(const std::string& file, ByteSource& source) {
  H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
  const Id access(H5Pcreate(H5P_FILE_ACCESS));
  H5Pset_libver_bounds(access, H5F_LIBVER_V110, H5F_LIBVER_V110);
  const Id opened(H5Fopen(file.c_str(), H5F_ACC_RDWR, access));
  Changes(opened, source).run();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool once = (FuzzSupport::silence(), true);
  static const FuzzSupport::ScratchFolder folder;
  static const std::vector<std::string> samples = FuzzSupport::writeQ8Samples(folder / "samples");
  static_cast<void>(once);
  ByteSource source(data, size);
  const std::string& sample = samples[source.byte() % samples.size()];
  const std::string file = folder / "input.q8";
  std::filesystem::copy_file(sample, file, std::filesystem::copy_options::overwrite_existing);
  change(file, source);
  FuzzSupport::checkQ8File(file, folder / "copy.q8");
  return 0;
}
