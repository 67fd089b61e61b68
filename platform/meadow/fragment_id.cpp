#include "recast/meadow/fragment_id.h"

#include <limits>
#include <stdexcept>

namespace Quilt {
namespace {

[[noreturn]] void tooMany() {
  throw std::length_error("more fragments than their 32-bit numbers can count");
}

constexpr std::uint64_t kMostIdentifiers = std::numeric_limits<std::uint32_t>::max();

}  // namespace

FragmentID::FragmentID(
    std::string name, std::uint32_t number,
    const Larder::WeakPtrImpl<FragmentIDCollection, FragmentIDCollection>& collection)
    : name_(std::move(name)), number_(number), collection_(collection) {}

bool FragmentID::belongsTo(const FragmentIDCollection& collection) const {
  const auto& identifiers = collection.identifiers();
  return number_ < identifiers.size() && identifiers[number_].rawptr() == this;
}

FragmentIDCollection::FragmentIDCollection()
    : identifiers_(Larder::makeStrong<Identifiers>(std::size_t{0})) {
  names_.max_load_factor(1.0F);
}

FragmentIDCollection::Handle FragmentIDCollection::makeFragmentID(const std::string& name) {
  if (auto present = findFragmentIDByName(name)) return present;
  if (identifiers_->size() == kMostIdentifiers) tooMany();
  const auto number = static_cast<std::uint32_t>(identifiers_->size());
  const Larder::WeakPtrImpl<FragmentIDCollection, FragmentIDCollection> self(this);
  auto fresh = Larder::makeStrong<FragmentID>(name, number, self);
  identifiers_->push_back(fresh);
  names_.emplace(fresh->name(), number);
  return fresh;
}

FragmentIDCollection::Handle FragmentIDCollection::findFragmentID(std::uint32_t number) const {
  return number < identifiers_->size() ? (*identifiers_)[number] : nullptr;
}

FragmentIDCollection::Handle FragmentIDCollection::findFragmentIDByName(
    const std::string& name) const {
  const auto found = names_.find(name);
  return found == names_.end() ? nullptr : (*identifiers_)[found->second];
}

template <int N>
void FragmentIDCollection::setFragmentNames(const MultiIndex<N>& counts,
                                            const std::string& prefix) {
  std::uint64_t wanted = 0;
  if (!DynamicSize(counts).product(1, wanted) || wanted > kMostIdentifiers) tooMany();
  auto identifiers = Larder::makeStrong<Identifiers>(std::size_t{wanted});
  Names names;
  names.reserve(wanted);
  const Larder::WeakPtrImpl<FragmentIDCollection, FragmentIDCollection> self(this);
  MultiIndex<N> place;
  for (std::uint32_t number = 0; number < wanted; ++number, place.inc(counts)) {
    auto& fresh = (*identifiers)[number];
    fresh = Larder::makeStrong<FragmentID>(prefix + to_string(place), number, self);
    names.emplace(fresh->name(), number);
  }
  names_.swap(names);
  identifiers_.swap(identifiers);
  latticeSize_ = DynamicSize(counts);
  latticePrefix_ = prefix;
}

template void FragmentIDCollection::setFragmentNames<3>(const MultiIndex<3>&, const std::string&);

template class FragmentLocation<3, PlaceInGrid>;
template class FragmentLocation<3, LowerOverlap>;
template class FragmentLocation<3, UpperOverlap>;

}  // namespace Quilt

template class Larder::Chunk<Quilt::FragmentIDCollection::Handle>;
