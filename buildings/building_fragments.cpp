#include "recast/buildings/building_fragments.h"

namespace Recast {

std::vector<FragmentHandle> fragmentsOf(const Quilt::Field& field) {
  auto fragments = field.getFragmentIDs();
  if (field.hasData(nullptr)) fragments.emplace_back();
  return fragments;
}

std::string titleOf(const FragmentHandle& fragment) {
  return fragment ? "fragment \"" + fragment->name() + "\"" : "undivided data";
}

Quilt::MemBaseHandle storedArray(const Quilt::Field& field, const FragmentHandle& fragment) {
  const auto creator = field.getCompatibleCreator(fragment);
  if (!creator) return nullptr;
  const auto array = creator->create(false);
  if (!array && creator->stored())
    throw UnreadableFragment("the " + titleOf(fragment) + " can't be read");
  return array;
}

void reportBadNumber(const FragmentHandle& fragment, const char* list) {
  Larder::Console() << "The " << titleOf(fragment) << " has a " << list
                    << " that refers to what isn't there; it is passed over.";
}

}  // namespace Recast
