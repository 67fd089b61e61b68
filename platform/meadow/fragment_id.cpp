#include "recast/meadow/fragment_id.h"

namespace Quilt {

FragmentID::FragmentID(
    std::string name, std::uint32_t number,
    const Larder::WeakPtrImpl<FragmentIDCollection, FragmentIDCollection>& collection)
    : name_(std::move(name)), number_(number), collection_(collection) {}

bool FragmentID::belongsTo(const FragmentIDCollection& collection) const {
  return collection_.lock().rawptr() == &collection;
}

FragmentIDCollection::FragmentIDCollection()
    : identifiers_(Larder::makeStrong<Identifiers>(std::size_t{0})) {
  names_.max_load_factor(1.0F);
}

FragmentIDCollection::Handle FragmentIDCollection::makeFragmentID(const std::string& name) {
  const auto number = static_cast<std::uint32_t>(identifiers_->size());
  const auto [entry, isNew] = names_.try_emplace(name, number);
  if (isNew)
    identifiers_->push_back(Larder::makeStrong<FragmentID>(
        name, number, Larder::WeakPtrImpl<FragmentIDCollection, FragmentIDCollection>(this)));
  return (*identifiers_)[entry->second];
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
  latticeSize_ = DynamicSize(counts);
  latticePrefix_ = prefix;
  names_.clear();
  identifiers_ = Larder::makeStrong<Identifiers>(std::size_t{counts.product()});
  if (identifiers_->empty()) return;
  names_.reserve(identifiers_->size());
  const Larder::WeakPtrImpl<FragmentIDCollection, FragmentIDCollection> self(this);
  MultiIndex<N> place;
  std::uint32_t number = 0;
  do {
    const std::string name = prefix + to_string(place);
    (*identifiers_)[number] = Larder::makeStrong<FragmentID>(name, number, self);
    names_.emplace(name, number);
    ++number;
  } while (place.inc(counts));
}

template void FragmentIDCollection::setFragmentNames<3>(const MultiIndex<3>&, const std::string&);

template class FragmentLocation<3, PlaceInGrid>;
template class FragmentLocation<3, LowerOverlap>;
template class FragmentLocation<3, UpperOverlap>;

}  // namespace Quilt
