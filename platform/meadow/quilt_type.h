#pragma once

#include <cstdint>
#include <string>
#include <typeinfo>

#include "recast/larder/chunk_base.h"

namespace Quilt {

/// The plain description of an element type.
struct RECAST_API QuiltTypeIndex {
  std::uint32_t Components = 1;   ///< components of one element
  std::uint32_t ElementSize = 0;  ///< bytes of one element
  std::uint32_t TensorRank = 0;
  std::uint32_t Grade = 0;
  std::uint64_t ComponentSize = 0;  ///< bytes of one component
  std::string TypeName;             ///< `Larder::Typename` of the element type
  std::string ComponentTypeName;
  std::string ChartName;
  int ChartDimensions = 0;
};

/// The descriptor of one element type. There is one object per type; it lives until exit.
class RECAST_API QuiltTypeBase : public Larder::ReferenceBase<QuiltTypeBase>,
                                 public QuiltTypeIndex {
 public:
  virtual const std::type_info& getType() const = 0;
  virtual bool isType(const std::type_info& type) const = 0;
  /// A new chunk of `n` value-initialised elements.
  virtual Larder::StrongPtr<Larder::ChunkBase> newChunk(std::size_t n) const = 0;
  virtual int element_index(const int* index) const = 0;
  virtual Larder::StrongPtr<QuiltTypeBase> element_type() const = 0;
  virtual std::string coordinate_component_name(int i) const = 0;
  virtual const std::type_info& chart_type() const = 0;
  virtual int indexing_scheme(int i) const = 0;
  virtual bool nontensor() const = 0;

  /// Enters the descriptor into the list of known types. Safe in several threads at once.
  void remember();
  /// The known type of that name, or null.
  static Larder::StrongPtr<QuiltTypeBase> find(const std::string& typeName);
  static Larder::StrongPtr<QuiltTypeBase> find(const std::type_info& type);

 protected:
  explicit QuiltTypeBase(QuiltTypeIndex index) : QuiltTypeIndex(std::move(index)) {}
};

}  // namespace Quilt
