#include "recast/sheaf/storage/attribute_io.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "recast/larder/type_name.h"
#include "recast/meadow/quilt_type.h"
#include "recast/sheaf/storage/element_layout.h"
#include "recast/sheaf/storage/hdf5_calls.h"
#include "recast/sheaf/storage/link_names.h"

namespace Quilt::Storage {
namespace {

constexpr hsize_t kMostBytes = hsize_t{256} << 20;

Id textType(std::size_t length) {
  Id type = own(H5Tcopy(H5T_C_S1), "write attribute");
  checked(H5Tset_size(type, std::max<std::size_t>(1, length)), "write attribute");
  checked(H5Tset_cset(type, H5T_CSET_UTF8), "write attribute");
  checked(H5Tset_strpad(type, H5T_STR_NULLPAD), "write attribute");
  return type;
}

void write(hid_t object, const std::string& name, hid_t fileType, hid_t memoryType, hid_t space,
           const void* data) {
  if (H5Aexists(object, name.c_str()) > 0)
    checked(H5Adelete(object, name.c_str()), "replace attribute", name);
  const Id attribute =
      own(H5Acreate2(object, name.c_str(), fileType, space, H5P_DEFAULT, H5P_DEFAULT),
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
  if (!type || layout.isList || !layout.known()) return;
  const auto axes = datasetAxes(DynamicSize({chunk.elements()}), layout.components);
  const Id space = own(H5Screate_simple(static_cast<int>(axes.size()), axes.data(), nullptr),
                       "write attribute", name);
  write(object, name, layout.memoryType, layout.memoryType, space, chunk.const_data_ptr());
  if (layout.components > 1) writeText(object, ("@type:" + name).c_str(), type->TypeName);
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
    return elements < kMostBytes && H5Aget_storage_size(id) < kMostBytes;
  }
};

std::vector<std::string> readTexts(const OpenAttribute& attribute) {
  const std::size_t size = H5Tget_size(attribute.type);
  if (H5Tis_variable_str(attribute.type) > 0 || attribute.elements * size > kMostBytes) return {};
  std::vector<char> bytes(attribute.elements * size);
  if (H5Aread(attribute.id, attribute.type, bytes.data()) < 0) return {};
  std::vector<std::string> texts;
  for (hsize_t i = 0; i < attribute.elements; ++i) {
    const char* start = bytes.data() + i * size;
    texts.emplace_back(start, strnlen(start, size));
  }
  return texts;
}

/// The plain element type whose numbers the attribute holds; null if there is none.
Larder::StrongPtr<QuiltTypeBase> plainTypeOf(hid_t fileType) {
  for (const char* name : {"int", "double", "float", "unsigned int", "unsigned char",
                           "unsigned short", "unsigned long long", "long double"}) {
    const auto type = QuiltTypeBase::find(name);
    if (type && H5Tequal(fileType, layoutOf(*type).memoryType) > 0) return type;
  }
  return nullptr;
}

Larder::StrongPtr<Larder::ChunkBase> readChunk(hid_t object, const char* name) {
  OpenAttribute attribute;
  if (!attribute.open(object, name)) return nullptr;
  if (H5Tget_class(attribute.type) == H5T_STRING)
    return Larder::StrongPtr<Larder::ChunkBase>(
        new Larder::Chunk<std::string>(readTexts(attribute)));
  const std::string typeName = readText(object, (std::string("@type:") + name).c_str());
  const auto type = typeName.empty() ? plainTypeOf(attribute.type) : QuiltTypeBase::find(typeName);
  if (!type) return nullptr;
  const ElementLayout layout = layoutOf(*type);
  if (layout.isList || attribute.elements % layout.components != 0) return nullptr;
  auto chunk = type->newChunk(attribute.elements / layout.components);
  if (H5Aread(attribute.id, layout.memoryType, chunk->data_ptr()) < 0) return nullptr;
  return chunk;
}

template <class Number>
bool readPlain(hid_t object, const char* name, hid_t memoryType, Number* numbers, hsize_t count) {
  OpenAttribute attribute;
  if (!attribute.open(object, name) || attribute.elements != count) return false;
  const H5T_class_t kind = H5Tget_class(attribute.type);
  if (kind != H5T_INTEGER && kind != H5T_FLOAT) return false;
  return H5Aread(attribute.id, memoryType, numbers) >= 0;
}

}  // namespace

void writeAttributes(hid_t object, const Larder::Attributes& attributes) {
  for (const auto& [name, value] : attributes.attributes()) {
    const std::string link = escapedName(name);
    if (const auto texts = value.castTo<Larder::Chunk<std::string>>())
      writeTexts(object, link, texts->base_vector());
    else
      writeChunk(object, link, *value);
  }
}

void readAttributes(hid_t object, Larder::Attributes& attributes) {
  std::vector<std::string> names;
  hsize_t position = 0;
  H5Aiterate2(
      object, H5_INDEX_NAME, H5_ITER_INC, &position,
      [](hid_t, const char* name, const H5A_info_t*, void* list) -> herr_t {
        if (name[0] != '@') static_cast<std::vector<std::string>*>(list)->emplace_back(name);
        return 0;
      },
      &names);
  for (const std::string& name : names)
    if (const auto value = readChunk(object, name.c_str()))
      attributes.setAttribute(unescapedName(name), value);
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
