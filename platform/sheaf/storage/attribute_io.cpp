#include "recast/sheaf/storage/attribute_io.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "recast/larder/console.h"
#include "recast/larder/type_name.h"
#include "recast/meadow/quilt_type.h"
#include "recast/sheaf/storage/element_layout.h"
#include "recast/sheaf/storage/hdf5_calls.h"
#include "recast/sheaf/storage/link_names.h"
#include "recast/sheaf/storage/number_types.h"

namespace Quilt::Storage {
namespace {

constexpr hsize_t kMostBytes = hsize_t{256} << 20;

std::string companionOf(const std::string& link) {
  return "@type:" + link;
}

/// HDF5's properties for attributes whose names are UTF-8.
hid_t nameProperties() {
  static const hid_t properties = [] {
    Id made = own(H5Pcreate(H5P_ATTRIBUTE_CREATE), "write attribute");
    checked(H5Pset_char_encoding(made, H5T_CSET_UTF8), "write attribute");
    return made.release();
  }();
  return properties;
}

Id textType(std::size_t length) {
  Id type = own(H5Tcopy(H5T_C_S1), "write attribute");
  checked(H5Tset_size(type, std::max<std::size_t>(1, length)), "write attribute");
  checked(H5Tset_cset(type, H5T_CSET_UTF8), "write attribute");
  checked(H5Tset_strpad(type, H5T_STR_NULLPAD), "write attribute");
  return type;
}

void write(hid_t object, const std::string& name, hid_t fileType, hid_t memoryType, hid_t space,
           const void* data) {
  removeAttribute(object, name);
  const Id attribute =
      own(H5Acreate2(object, name.c_str(), fileType, space, nameProperties(), H5P_DEFAULT),
          "create attribute", name);
  checked(H5Awrite(attribute, memoryType, data), "write attribute", name);
}

void writeTexts(hid_t object, const std::string& name, const std::vector<std::string>& texts) {
  std::size_t longest = 0;
  for (const std::string& text : texts) longest = std::max(longest, text.size());
  const std::size_t size = std::max<std::size_t>(1, longest);
  std::vector<char> bytes(texts.size() * size);
  for (std::size_t i = 0; i < texts.size(); ++i)
    std::memcpy(bytes.data() + i * size, texts[i].data(), texts[i].size());
  const hsize_t count = texts.size();
  const Id space = own(H5Screate_simple(1, &count, nullptr), "write attribute", name);
  const Id type = textType(size);
  write(object, name, type, type, space, bytes.data());
}

void writeChunk(hid_t object, const std::string& name, const Larder::ChunkBase& chunk) {
  const auto type = QuiltTypeBase::find(chunk.getType());
  const ElementLayout layout = type ? layoutOf(*type) : ElementLayout{};
  if (!type || layout.isList || !layout.known()) {
    Larder::Console() << "The attribute \"" << unescapedName(name) << "\" holds elements of "
                      << Larder::Typename(chunk.getType())
                      << ", which no file can; it is left out.";
    return;
  }
  const auto axes = datasetAxes(DynamicSize({chunk.elements()}), layout.components);
  const Id space = own(H5Screate_simple(static_cast<int>(axes.size()), axes.data(), nullptr),
                       "write attribute", name);
  write(object, name, fileType(layout.memoryType, false), layout.memoryType, space,
        chunk.const_data_ptr());
  if (layout.components > 1) writeText(object, companionOf(name).c_str(), type->TypeName);
}

std::vector<std::string> attributeNames(hid_t object) {
  std::vector<std::string> names;
  hsize_t position = 0;
  H5Aiterate2(
      object, H5_INDEX_NAME, H5_ITER_INC, &position,
      [](hid_t, const char* name, const H5A_info_t*, void* list) -> herr_t {
        static_cast<std::vector<std::string>*>(list)->emplace_back(name);
        return 0;
      },
      &names);
  return names;
}

/// Removes what an earlier run wrote and `attributes` holds no longer, or is about to write again.
void removeFormer(hid_t object) {
  for (const std::string& name : attributeNames(object))
    if (name[0] != '@' || name.starts_with(companionOf(""))) removeAttribute(object, name);
}

/// An attribute opened with its extent known, of no more bytes than an attribute may have.
struct OpenAttribute {
  Id id;
  Id type;
  std::vector<hsize_t> axes;
  hsize_t elements = 1;

  bool open(hid_t object, const char* name) {
    if (H5Aexists(object, name) <= 0) return false;
    id = Id(H5Aopen(object, name, H5P_DEFAULT));
    if (!id.valid()) return false;
    type = Id(H5Aget_type(id));
    const Id space(H5Aget_space(id));
    const int rank = H5Sget_simple_extent_ndims(space);
    if (rank < 0) return false;
    axes.resize(static_cast<std::size_t>(rank));
    H5Sget_simple_extent_dims(space, axes.data(), nullptr);
    for (const hsize_t axis : axes)
      if (__builtin_mul_overflow(elements, axis, &elements)) return false;
    return elements < kMostBytes && H5Aget_storage_size(id) < kMostBytes && !isVariable();
  }
  /// Such texts lie in a part of the file that carries no checksums, in which damage can crash
  /// HDF5.
  bool isVariable() const { return H5Tis_variable_str(type) > 0; }
};

std::vector<std::string> readTexts(const OpenAttribute& attribute) {
  const std::size_t size = H5Tget_size(attribute.type);
  if (attribute.elements * size > kMostBytes) return {};
  std::vector<char> bytes(attribute.elements * size);
  if (H5Aread(attribute.id, attribute.type, bytes.data()) < 0) return {};
  std::vector<std::string> texts;
  for (hsize_t i = 0; i < attribute.elements; ++i) {
    std::string text(bytes.data() + i * size, size);
    // Only the padding goes: a text may hold a NUL.
    text.resize(text.find_last_not_of('\0') + 1);
    texts.push_back(std::move(text));
  }
  return texts;
}

bool fitsInt(const OpenAttribute& attribute) {
  std::vector<long long> numbers(attribute.elements);
  if (H5Aread(attribute.id, H5T_NATIVE_LLONG, numbers.data()) < 0) return false;
  return std::all_of(numbers.begin(), numbers.end(),
                     [](long long number) { return number == static_cast<int>(number); });
}

/// The name of the plain element type that takes the attribute's numbers; empty if there is none.
/// Other programs write integers of all sizes, such as Python's of 64 bits.
std::string plainTypeOf(const OpenAttribute& attribute) {
  if (!isStandardNumber(attribute.type)) return {};
  const std::size_t size = H5Tget_size(attribute.type);
  if (H5Tget_class(attribute.type) == H5T_FLOAT)
    return size <= 4 ? "float" : size <= 8 ? "double" : "long double";
  if (H5Tget_sign(attribute.type) != H5T_SGN_NONE)
    return size <= 4 || fitsInt(attribute) ? "int" : "double";
  switch (size) {
    case 1: return "unsigned char";
    case 2: return "unsigned short";
    case 4: return "unsigned int";
    default: return "unsigned long long";
  }
}

Larder::StrongPtr<Larder::ChunkBase> readChunk(hid_t object, const char* name) {
  OpenAttribute attribute;
  if (!attribute.open(object, name)) {
    if (attribute.type.valid() && attribute.isVariable())
      Larder::Console() << lockedFileName() << ": the attribute \"" << unescapedName(name)
                        << "\" is a text of variable length, which is not read; it is left out.";
    return nullptr;
  }
  if (H5Tget_class(attribute.type) == H5T_STRING)
    return Larder::StrongPtr<Larder::ChunkBase>(
        new Larder::Chunk<std::string>(readTexts(attribute)));
  const std::string compound = readText(object, companionOf(name).c_str());
  const auto type = QuiltTypeBase::find(compound.empty() ? plainTypeOf(attribute) : compound);
  if (!type || !isStandardNumber(attribute.type)) return nullptr;
  const ElementLayout layout = layoutOf(*type);
  if (!layout.known() || layout.isList || attribute.elements % layout.components != 0)
    return nullptr;
  auto chunk = type->newChunk(attribute.elements / layout.components);
  if (H5Aread(attribute.id, layout.memoryType, chunk->data_ptr()) < 0) return nullptr;
  return chunk;
}

template <class Number>
bool readPlain(hid_t object, const char* name, hid_t memoryType, Number* numbers, hsize_t count) {
  OpenAttribute attribute;
  if (!attribute.open(object, name) || attribute.elements != count) return false;
  return isStandardNumber(attribute.type) && H5Aread(attribute.id, memoryType, numbers) >= 0;
}

}  // namespace

void removeAttribute(hid_t object, const std::string& name) {
  if (H5Aexists(object, name.c_str()) > 0)
    checked(H5Adelete(object, name.c_str()), "replace attribute", name);
}

void writeAttributes(hid_t object, const Larder::Attributes& attributes) {
  removeFormer(object);
  for (const auto& [name, value] : attributes.attributes()) {
    const std::string link = escapedName(name);
    if (const auto texts = value.castTo<Larder::Chunk<std::string>>())
      writeTexts(object, link, texts->base_vector());
    else
      writeChunk(object, link, *value);
  }
}

void readAttributes(hid_t object, Larder::Attributes& attributes) {
  for (const std::string& name : attributeNames(object)) {
    if (name[0] == '@') continue;
    if (const auto value = readChunk(object, name.c_str()))
      attributes.setAttribute(unescapedName(name), value);
  }
  H5Eclear2(H5E_DEFAULT);
}

void writeText(hid_t object, const char* name, const std::string& text) {
  const Id space = own(H5Screate(H5S_SCALAR), "write attribute", name);
  const Id type = textType(text.size());
  write(object, name, type, type, space, text.c_str());
}

std::string readText(hid_t object, const char* name, const std::string& otherwise) {
  OpenAttribute attribute;
  if (!attribute.open(object, name) || H5Tget_class(attribute.type) != H5T_STRING) return otherwise;
  const auto texts = readTexts(attribute);
  return texts.size() == 1 ? texts[0] : otherwise;
}

void writeNumbers(hid_t object, const char* name, const double* numbers, hsize_t count) {
  const Id space = own(H5Screate_simple(1, &count, nullptr), "write attribute", name);
  write(object, name, H5T_IEEE_F64LE, H5T_NATIVE_DOUBLE, space, numbers);
}

void writeNumbers(hid_t object, const char* name, const unsigned long long* numbers,
                  hsize_t count) {
  const Id space = own(H5Screate_simple(1, &count, nullptr), "write attribute", name);
  write(object, name, H5T_STD_U64LE, H5T_NATIVE_ULLONG, space, numbers);
}

bool readNumbers(hid_t object, const char* name, double* numbers, hsize_t count) {
  return readPlain(object, name, H5T_NATIVE_DOUBLE, numbers, count);
}

bool readNumbers(hid_t object, const char* name, unsigned long long* numbers, hsize_t count) {
  return readPlain(object, name, H5T_NATIVE_ULLONG, numbers, count);
}

}  // namespace Quilt::Storage
