#pragma once

#include <typeinfo>
#include <vector>

#include "recast/larder/export.h"
#include "recast/larder/handles.h"

namespace Larder {

class Intercube;

/// Base of the capabilities that can be attached to an object.
class RECAST_API InterfaceBase : public ReferenceBase<InterfaceBase> {
 public:
  /// The interface type under which `Intercube` files this object.
  virtual const std::type_info& getInterfaceDomain() const = 0;
  /// Called when the interface has been attached to `object`.
  virtual bool apply_const(const Intercube& object) const;
  virtual bool apply(Intercube& object);
};

/// Base of one kind of interface: class `I : Interface<I>`.
template <class I>
class RECAST_API Interface : public InterfaceBase {
 public:
  const std::type_info& getInterfaceDomain() const override { return typeid(I); }
};

/// An object to which interfaces can be attached, one of each kind. Not synchronised.
class RECAST_API Intercube {
 public:
  /// Attaches `interface`, in place of a former one of its kind. A null handle does nothing.
  void addInterface(const StrongPtr<InterfaceBase>& interface);
  /// The attached interface of that kind, or null.
  StrongPtr<InterfaceBase> findInterface(const std::type_info& kind) const;
  /// The same, as the interface type itself.
  template <class I>
  StrongPtr<I, InterfaceBase> findInterface() const {
    return StrongPtr<I, InterfaceBase>(dynamic_cast<I*>(findInterface(typeid(I)).rawptr()));
  }
  bool hasInterfaces() const { return !interfaces_.empty(); }

 protected:
  Intercube() = default;
  ~Intercube() = default;

 private:
  StrongPtr<InterfaceBase>* find(const std::type_info& kind);

  // Most objects carry none and hardly one carries more than three, but there may be millions of
  // objects: a list takes half the room of a map.
  std::vector<StrongPtr<InterfaceBase>> interfaces_;
};

}  // namespace Larder
