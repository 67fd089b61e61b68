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
  interfaces_[std::type_index(interface->getInterfaceDomain())] = interface;
  interface->apply(*this);
}

StrongPtr<InterfaceBase> Intercube::findInterface(const std::type_info& kind) const {
  const auto found = interfaces_.find(std::type_index(kind));
  return found == interfaces_.end() ? nullptr : found->second;
}

}  // namespace Larder
