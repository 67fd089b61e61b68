#include "recast/larder/interfaces.h"

namespace Larder {

bool InterfaceBase::apply_const(const Intercube&) const {
  return true;
}
bool InterfaceBase::apply(Intercube&) {
  return true;
}

void Intercube::addInterface(const StrongPtr<InterfaceBase>& interface) {
  if (!interface) return;
  const StrongPtr<InterfaceBase> added = interface;  // `interface` may be one of ours
  if (auto* present = find(added->getInterfaceDomain()))
    *present = added;
  else
    interfaces_.push_back(added);
  added->apply(*this);
}

StrongPtr<InterfaceBase> Intercube::findInterface(const std::type_info& kind) const {
  const auto* found = const_cast<Intercube*>(this)->find(kind);
  return found == nullptr ? nullptr : *found;
}

StrongPtr<InterfaceBase>* Intercube::find(const std::type_info& kind) {
  for (auto& interface : interfaces_)
    if (interface->getInterfaceDomain() == kind) return &interface;
  return nullptr;
}

}  // namespace Larder
