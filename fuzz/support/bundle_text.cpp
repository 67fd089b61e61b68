#include "support/bundle_text.h"

#include <cstring>
#include <span>
#include <vector>

#include "recast/patchbase/bounding_boxes.h"
#include "recast/patchops/data_range.h"

namespace FuzzSupport {
namespace {

using Lists = std::vector<unsigned int>;

/// FNV-1a.
class Digest {
 public:
  void add(const void* bytes, std::size_t count) {
    for (const auto byte : std::span(static_cast<const unsigned char*>(bytes), count))
      value_ = (value_ ^ byte) * 0x100000001b3;
  }
  std::string text() const { return std::to_string(value_); }

 private:
  std::uint64_t value_ = 0xcbf29ce484222325;
};

/// Adds the elements; those that are no plain bytes one by one.
void addElements(const std::type_info& type, const void* elements, std::size_t count,
                 std::size_t elementSize, Digest& digest) {
  if (elements == nullptr) return;
  if (type == typeid(Lists)) {
    for (const Lists& list : std::span(static_cast<const Lists*>(elements), count))
      digest.add(list.data(), list.size() * sizeof(unsigned int));
  } else if (type == typeid(std::string)) {
    for (const auto& text : std::span(static_cast<const std::string*>(elements), count))
      digest.add(text.data(), text.size());
  } else if (type == typeid(long double)) {  // has bytes that say nothing
    for (const auto number : std::span(static_cast<const long double*>(elements), count)) {
      constexpr std::size_t kBytes = 10;
      digest.add(&number, kBytes);
    }
  } else {
    digest.add(elements, count * elementSize);
  }
}

class Describer : public Quilt::FragmentIterator {
 public:
  explicit Describer(BundleText& text) : text_(text) {}

  void addAttributes(const Larder::Attributes& attributes) {
    for (const auto& [name, value] : attributes.attributes()) {
      text_.structure += " " + name + "(" + std::to_string(value->elements()) + ")";
      Digest digest;
      addElements(value->getType(), value->const_data_ptr(), value->elements(),
                  value->element_size(), digest);
      text_.data += name + "=" + digest.text() + "\n";
    }
    text_.structure += "\n";
  }

  void addField(const Quilt::FieldID& id, const Quilt::Field& field) {
    const auto type = field.getElementType();
    text_.structure += "field " + id.name() + " " + (type ? type->TypeName : "of no type");
    addAttributes(field);
    Quilt::BoxHandle box;
    Quilt::expandBoundingBox(field, box);
    Quilt::getRange(field, "", false, false);
    field.iterate(*this, nullptr);
  }

  bool apply(const Larder::StrongPtr<Quilt::FragmentID>& fragment,
             const Quilt::CreatorHandle& creator) override {
    text_.structure += fragment ? "fragment " + fragment->name() : "undivided data";
    const Quilt::DynamicSize size = creator->size();
    for (const std::uint64_t extent : size.extents())
      text_.structure += " " + std::to_string(extent);
    addAttributes(*creator);
    const auto array = creator->get();
    if (!array) {
      text_.complete = false;
      return true;
    }
    Digest digest;
    addElements(array->getType(), array->getPtr(), array->nElements(),
                array->typeIndex().ElementSize, digest);
    for (const double* parameters : {array->OriginPtr(), array->DeltaPtr()})
      if (parameters != nullptr) digest.add(parameters, 3 * sizeof(double));
    text_.data += digest.text() + "\n";
    return true;
  }

 private:
  BundleText& text_;
};

}  // namespace

BundleText describe(const Quilt::Bundle& bundle) {
  BundleText text;
  Describer describer(text);
  describer.addAttributes(bundle);
  for (const auto& [time, slice] : bundle) {
    text.structure += "slice " + std::to_string(time);
    describer.addAttributes(*slice);
    for (const auto& [id, grid] : *slice) {
      text.structure += "grid " + id->name() + " " + grid->xml();
      describer.addAttributes(*grid);
      for (const auto& [skeletonID, skeleton] : grid->skeletons()) {
        describer.addAttributes(*skeleton);
        for (const auto& representation : skeleton->representations()) {
          text.structure += "representation " + representation->name();
          describer.addAttributes(*representation);
          representation->iterate([&](const Quilt::FieldID& fieldID, const Quilt::Field& field) {
            describer.addField(fieldID, field);
            return true;
          });
        }
      }
    }
  }
  return text;
}

}  // namespace FuzzSupport
