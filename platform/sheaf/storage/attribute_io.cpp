#include "recast/sheaf/storage/attribute_io.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "recast/larder/type_name.h"
#include "recast/meadow/quilt_type.h"
#include "recast/sheaf/storage/array_image.h"
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
  // HDF5 takes no null pointer, not even for no elements.
  if (data != nullptr) checked(H5Awrite(attribute, memoryType, data), "write attribute", name);
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
  write(object, name, type, type, space, bytes.empty() ? nullptr : bytes.data());
}

void writeChunk(hid_t object, const std::string& name, const Larder::ChunkBase& chunk) {
  const auto type = QuiltTypeBase::find(chunk.getType());
  const ElementLayout layout = type ? layoutOf(*type) : ElementLayout{};
  if (!type || layout.isList || !layout.known()) {
    tellAfterLock("the attribute \"" + unescapedName(name) + "\" holds elements of " +
                  Larder::Typename(chunk.getType()) + ", which no file can; it is left out.");
    return;
  }
  const auto axes = datasetAxes(DynamicSize({chunk.elements()}), layout.components);
  const Id space = own(H5Screate_simple(static_cast<int>(axes.size()), axes.data(), nullptr),
                       "write attribute", name);
  const void* numbers = chunk.elements() > 0 ? chunk.const_data_ptr() : nullptr;
  std::vector<std::byte> own;
  if (numbers != nullptr && chunk.getType() == typeid(long double)) {
    const std::span bytes(static_cast<const std::byte*>(numbers),
                          chunk.elements() * sizeof(long double));
    own = withoutPadding(bytes);
    numbers = own.data();
  }
  write(object, name, fileType(layout.memoryType, false), layout.memoryType, space, numbers);
  if (layout.components > 1) writeText(object, companionOf(name).c_str(), type->TypeName);
}

std::vector<std::string> attributeNames(hid_t object) {
  std::vector<std::string> names;
  hsize_t position = 0;
  const auto visit = [](hid_t, const char* name, const H5A_info_t*, void* list) -> herr_t {
    static_cast<std::vector<std::string>*>(list)->emplace_back(name);
    return 0;
  };
  checked(H5Aiterate2(object, H5_INDEX_NAME, H5_ITER_INC, &position, visit, &names),
          "list attributes");
  return names;
}

bool hasAttribute(hid_t object, const std::string& name) {
  return isTrue(H5Aexists(object, name.c_str()), "look up attribute", name);
}

/// What an attribute holds, as far as we can make use of it.
enum class Holds { Nothing, Numbers, Texts, VariableTexts, TooMuch, Foreign };

/// An attribute with its extent known.
struct OpenAttribute {
  std::string name;
  Holds holds = Holds::Nothing;
  Id id;
  Id type;
  hsize_t elements = 1;

  /// Holds nothing if there is no attribute of that name. \throw StorageError
  OpenAttribute(hid_t object, const std::string& attribute) : name(attribute) {
    if (!hasAttribute(object, name)) return;
    id = own(H5Aopen(object, name.c_str(), H5P_DEFAULT), "open attribute", name);
    type = own(H5Aget_type(id), "read attribute", name);
    holds = countElements() ? kindOf(type) : Holds::TooMuch;
  }

  void readInto(hid_t memoryType, void* target) const {
    if (elements > 0) checked(H5Aread(id, memoryType, target), "read attribute", name);
  }
  std::size_t elementSize() const { return checkedSize(H5Tget_size(type), "read attribute", name); }
  bool isOf(H5T_class_t kind) const {
    return checked(H5Tget_class(type), "read attribute", name) == kind;
  }

 private:
  /// \return false if there are more than an attribute may have.
  bool countElements() {
    const Id space = own(H5Aget_space(id), "read attribute", name);
    if (checked(H5Sget_simple_extent_type(space), "read attribute", name) == H5S_NULL) elements = 0;
    const int rank = checked(H5Sget_simple_extent_ndims(space), "read attribute", name);
    std::vector<hsize_t> axes(static_cast<std::size_t>(rank));
    checked(H5Sget_simple_extent_dims(space, axes.data(), nullptr), "read attribute", name);
    for (const hsize_t axis : axes)
      if (__builtin_mul_overflow(elements, axis, &elements)) return false;
    hsize_t bytes = 0;
    return !__builtin_mul_overflow(elements, elementSize(), &bytes) && bytes < kMostBytes;
  }
  static Holds kindOf(hid_t type) {
    // Such texts lie in a part of the file without checksums, in which damage can crash HDF5.
    if (isTrue(H5Tis_variable_str(type), "read attribute")) return Holds::VariableTexts;
    if (checked(H5Tget_class(type), "read attribute") == H5T_STRING) return Holds::Texts;
    return isStandardNumber(type) ? Holds::Numbers : Holds::Foreign;
  }
};

std::vector<std::string> readTexts(const OpenAttribute& attribute) {
  const std::size_t size = attribute.elementSize();
  std::vector<char> bytes(attribute.elements * size);
  attribute.readInto(attribute.type, bytes.data());
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
  attribute.readInto(H5T_NATIVE_LLONG, numbers.data());
  return std::all_of(numbers.begin(), numbers.end(),
                     [](long long number) { return number == static_cast<int>(number); });
}

/// The name of the plain element type that takes the attribute's numbers. Other programs write
/// integers of all sizes, such as Python's of 64 bits.
std::string plainTypeOf(const OpenAttribute& attribute) {
  const std::size_t size = attribute.elementSize();
  if (attribute.isOf(H5T_FLOAT)) return size <= 4 ? "float" : size <= 8 ? "double" : "long double";
  if (checked(H5Tget_sign(attribute.type), "read attribute", attribute.name) != H5T_SGN_NONE)
    return size <= 4 || fitsInt(attribute) ? "int" : "double";
  switch (size) {
    case 1: return "unsigned char";
    case 2: return "unsigned short";
    case 4: return "unsigned int";
    default: return "unsigned long long";
  }
}

/// The element type of an attribute of numbers, which a companion names if it is compound; null if
/// the numbers make no elements of a type that is known.
Larder::StrongPtr<QuiltTypeBase> typeOf(hid_t object, const OpenAttribute& attribute) {
  const std::string compound = readText(object, companionOf(attribute.name).c_str());
  const auto type = QuiltTypeBase::find(compound.empty() ? plainTypeOf(attribute) : compound);
  const ElementLayout layout = type ? layoutOf(*type) : ElementLayout{};
  const bool fits = layout.known() && !layout.isList && attribute.elements % layout.components == 0;
  return fits ? type : nullptr;
}

/// Whether `readChunk` makes something of the attribute.
bool isReadable(hid_t object, const std::string& name) {
  const OpenAttribute attribute(object, name);
  return attribute.holds == Holds::Texts ||
         (attribute.holds == Holds::Numbers && typeOf(object, attribute));
}

void reportLeftOut(const std::string& name, const char* reason) {
  tellAfterLock("the attribute \"" + unescapedName(name) + "\" " + reason + "; it is left out.");
}

/// Null, with a message where users may wonder, if we have no element type for the attribute.
Larder::StrongPtr<Larder::ChunkBase> readChunk(hid_t object, const std::string& name) {
  const OpenAttribute attribute(object, name);
  switch (attribute.holds) {
    case Holds::VariableTexts:
      reportLeftOut(name, "is a text of variable length, which is not read");
      return nullptr;
    case Holds::TooMuch: reportLeftOut(name, "is too large"); return nullptr;
    case Holds::Texts:
      return Larder::StrongPtr<Larder::ChunkBase>(
          new Larder::Chunk<std::string>(readTexts(attribute)));
    case Holds::Numbers: break;
    default: return nullptr;
  }
  const auto type = typeOf(object, attribute);
  if (!type) return nullptr;
  const ElementLayout layout = layoutOf(*type);
  auto chunk = type->newChunk(attribute.elements / layout.components);
  attribute.readInto(layout.memoryType, chunk->data_ptr());
  return chunk;
}

/// Removes what an earlier run wrote and `attributes` holds no longer, or is about to write again.
/// What could not be read stays: nobody has decided against it.
void removeFormer(hid_t object) {
  for (const std::string& name : attributeNames(object))
    if (name[0] != '@' && isReadable(object, name)) {
      removeAttribute(object, companionOf(name));
      removeAttribute(object, name);
    }
}

template <class Number>
bool readPlain(hid_t object, const char* name, hid_t memoryType, Number* numbers, hsize_t count) {
  const OpenAttribute attribute(object, name);
  if (attribute.holds != Holds::Numbers || attribute.elements != count) return false;
  attribute.readInto(memoryType, numbers);
  return true;
}

}  // namespace

void removeAttribute(hid_t object, const std::string& name) {
  if (hasAttribute(object, name))
    checked(H5Adelete(object, name.c_str()), "replace attribute", name);
}

void writeAttributes(hid_t object, const Larder::Attributes& attributes) {
  removeFormer(object);
  for (const auto& [name, value] : attributes.attributes()) {
    const std::string link = escapedName(name);
    removeAttribute(object, companionOf(link));
    if (const auto texts = value.castTo<Larder::Chunk<std::string>>())
      writeTexts(object, link, texts->base_vector());
    else
      writeChunk(object, link, *value);
  }
}

void readAttributes(hid_t object, Larder::Attributes& attributes) {
  for (const std::string& name : attributeNames(object)) {
    if (name[0] == '@') continue;
    if (const auto value = readChunk(object, name))
      attributes.setAttribute(unescapedName(name), value);
  }
}

void writeText(hid_t object, const char* name, const std::string& text) {
  const Id space = own(H5Screate(H5S_SCALAR), "write attribute", name);
  const Id type = textType(text.size());
  write(object, name, type, type, space, text.c_str());
}

std::string readText(hid_t object, const char* name, const std::string& otherwise) {
  const OpenAttribute attribute(object, name);
  if (attribute.holds != Holds::Texts) return otherwise;
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
