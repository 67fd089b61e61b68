#include "recast/meadow/field.h"

#include <algorithm>

#include "recast/larder/console.h"

namespace Quilt {
namespace {

/// Calls `visit` for the identifiers that are there now, until it gives false. Unlike
/// `getFragmentIDs` it does not copy what may be a list of millions.
template <class Visit>
bool forEachIdentifier(const Larder::StrongPtr<FragmentIDCollection>& fragments, Visit visit) {
  const std::size_t count = fragments ? fragments->NumberOfFragmentIDs() : 0;
  for (std::uint32_t number = 0; number < count; ++number)
    if (!visit(fragments->findFragmentID(number))) return false;
  return true;
}

}  // namespace

Field::Field(const Larder::StrongPtr<FragmentIDCollection>& fragments) : fragments_(fragments) {}

Field::Field(const MemBaseHandle& data, const Larder::StrongPtr<FragmentIDCollection>& fragments)
    : fragments_(fragments) {
  if (!data) return;
  whole_ = CreatorHandle(new CreativeArrayBase(data));
  typeName_ = data->typeIndex().TypeName;
}

void Field::processOwnership(const Larder::StrongPtr<Placement>& place) {
  place_ = place;
  if (!place_->Anchor || !place_->Anchor->sink()) return;
  // Data that came with the field goes to the file now.
  auto& cache = Larder::Cache::MemCache();
  if (const auto whole = madeWholeCreator(); whole && !whole->stored())
    handOver(nullptr, whole, whole->get(), cache);
  forEachIdentifier(getFragmentIDCollection(), [&](const Larder::StrongPtr<FragmentID>& fragment) {
    if (const auto creator = madeCreator(fragment->number()); creator && !creator->stored())
      handOver(fragment, creator, creator->get(), cache);
    return true;
  });
}

Larder::StrongPtr<FragmentIDCollection> Field::getFragmentIDCollection() const {
  return fragments_;
}

MemBaseHandle Field::newFragmentationArray() const {
  return nullptr;
}

void Field::setFragmentIDCollection(const Larder::StrongPtr<FragmentIDCollection>& fragments) {
  fragments_ = fragments;
}

FragmentIDCollection& Field::collection() {
  if (!fragments_) fragments_ = Larder::makeStrong<FragmentIDCollection>();
  return *fragments_;
}

Larder::StrongPtr<FragmentID> Field::makeFragmentID(const std::string& name) {
  return collection().makeFragmentID(name);
}

std::vector<Larder::StrongPtr<FragmentID>> Field::getFragmentIDs() const {
  if (!fragments_) return {};
  return fragments_->identifiers().base_vector();
}

Larder::StrongPtr<FragmentID> Field::ownIdentifier(const Larder::StrongPtr<FragmentID>& fragment) {
  return fragment->belongsTo(collection()) ? fragment : makeFragmentID(fragment->name());
}

CreatorHandle Field::setPersistentData(const MemBaseHandle& array,
                                       const Larder::StrongPtr<FragmentID>& fragment,
                                       Larder::Cache& cache, const std::string& text) {
  if (!array) return nullptr;
  const auto own = fragment ? ownIdentifier(fragment) : nullptr;
  const CreatorHandle creator(new CreativeArrayBase(array));
  if (!text.empty()) creator->setAttribute("Source", Larder::singleValue(text));
  CreatorHandle former;  // destroyed outside the lock
  std::string formerType;
  {
    const std::lock_guard lock(mutex_);
    formerType = typeName_;
    if (own) {
      if (creators_.size() < fragments_->NumberOfFragmentIDs())
        creators_.resize(fragments_->NumberOfFragmentIDs());
      former = std::exchange(creators_[own->number()], creator);
    } else {
      former = std::exchange(whole_, creator);
    }
    if (typeName_ != creator->typeName() && !holdsOtherThan(creator->typeName()))
      typeName_ = creator->typeName();
  }
  renewAge();
  try {
    handOver(own, creator, array, cache);
  } catch (...) {
    restore(own, creator, former, formerType);
    throw;
  }
  return creator;
}

/// Takes back data that was refused, unless other data has its place by now.
void Field::restore(const Larder::StrongPtr<FragmentID>& fragment, const CreatorHandle& refused,
                    const CreatorHandle& former, const std::string& formerType) {
  const std::lock_guard lock(mutex_);
  CreatorHandle& slot = fragment ? creators_[fragment->number()] : whole_;
  if (slot != refused) return;
  slot = former;
  typeName_ = formerType;
}

/// Whether some data of the field is of another type. \pre `mutex_` is held.
bool Field::holdsOtherThan(const std::string& typeName) const {
  const auto differs = [&](const CreatorHandle& creator) {
    return creator && creator->typeName() != typeName;
  };
  if (differs(whole_) || std::any_of(creators_.begin(), creators_.end(), differs)) return true;
  if (!source_) return false;
  if (!whole_ && source_->makeWholeCreator()) return true;
  const std::size_t count = fragments_ ? fragments_->NumberOfFragmentIDs() : 0;
  for (std::uint32_t number = 0; number < count; ++number)
    if ((number >= creators_.size() || !creators_[number]) && source_->holds(number)) return true;
  return false;
}

void Field::handOver(const Larder::StrongPtr<FragmentID>& fragment, const CreatorHandle& creator,
                     const MemBaseHandle& array, Larder::Cache& cache) {
  creator->renewAge();
  if (!place_ || !place_->Anchor) return;
  if (const auto sink = place_->Anchor->sink())
    sink->store(*place_, *this, fragment, creator, array, cache);
}

void Field::letGo(const Larder::StrongPtr<FragmentID>& fragment) {
  if (!fragments_ || !fragment || !fragment->belongsTo(*fragments_)) return;
  const std::uint32_t number = fragment->number();
  CreatorHandle creator = madeCreator(number);
  if (!creator) return;
  creator->letGo();
  const auto sink = place_ && place_->Anchor ? place_->Anchor->sink() : nullptr;
  if (!sink || !sink->takeOver(*place_, *this, number, creator)) return;
  const std::lock_guard lock(mutex_);
  if (number < creators_.size() && creators_[number] == creator) creators_[number].reset();
}

CreatorHandle Field::createCreator(const MemBaseHandle& array, const std::string& fragmentName,
                                   OnExistingData onExisting, Larder::Cache& cache) {
  const bool undivided = fragmentName.empty();
  const auto present = undivided ? wholeCreator() : getCreatorByName(fragmentName);
  if (present && onExisting == OnExistingData::Keep) return present;
  if (!array || (present && onExisting == OnExistingData::Refuse)) return nullptr;
  if (present)
    Larder::Console() << (undivided ? "The undivided data" : "Fragment " + fragmentName)
                      << " of the field " << (place_ ? place_->FieldName : std::string())
                      << " is there already; the new data takes its place.";
  return setPersistentData(array, undivided ? nullptr : makeFragmentID(fragmentName), cache, "");
}

CreatorHandle Field::getCreator(const Larder::StrongPtr<FragmentID>& fragment) const {
  if (!fragment) return wholeCreator();
  if (!fragments_ || !fragment->belongsTo(*fragments_)) return nullptr;
  return getCreatorByNumber(fragment->number());
}

CreatorHandle Field::getCreatorByName(const std::string& fragmentName) const {
  const auto fragment = fragments_ ? fragments_->findFragmentIDByName(fragmentName) : nullptr;
  return fragment ? getCreatorByNumber(fragment->number()) : nullptr;
}

CreatorHandle Field::getCreatorByNumber(std::uint32_t number) const {
  const std::lock_guard lock(mutex_);
  if (number < creators_.size() && creators_[number]) return creators_[number];
  if (!source_) return nullptr;
  CreatorHandle creator = source_->makeCreator(number);
  if (!creator) return nullptr;
  if (creators_.size() <= number) creators_.resize(number + std::size_t{1});
  creators_[number] = creator;
  return creator;
}

CreatorHandle Field::getCompatibleCreator(const Larder::StrongPtr<FragmentID>& fragment) const {
  CreatorHandle creator = getCreator(fragment);
  if (creator || !fragment) return creator;
  return getCreatorByName(fragment->name());
}

CreatorHandle Field::wholeCreator() const {
  const std::lock_guard lock(mutex_);
  if (!whole_ && source_) whole_ = source_->makeWholeCreator();
  return whole_;
}

bool Field::hasData(const Larder::StrongPtr<FragmentID>& fragment) const {
  if (!fragment) return static_cast<bool>(wholeCreator());
  if (!fragments_ || !fragment->belongsTo(*fragments_)) return false;
  const std::uint32_t number = fragment->number();
  const std::lock_guard lock(mutex_);
  return (number < creators_.size() && creators_[number]) || (source_ && source_->holds(number));
}

MemBaseHandle Field::getData(const Larder::StrongPtr<FragmentID>& fragment) const {
  const CreatorHandle creator = getCreator(fragment);
  return creator ? creator->create(false) : nullptr;
}

Larder::StrongPtr<QuiltTypeBase> Field::getElementType() const {
  const std::lock_guard lock(mutex_);
  return QuiltTypeBase::find(typeName_);
}

bool Field::iterate(FragmentIterator& iterator, const FragmentSelector& selector) const {
  const auto visit = [&](const Larder::StrongPtr<FragmentID>& fragment) {
    if (selector && !selector(*fragment)) return true;
    const CreatorHandle creator = getCreatorByNumber(fragment->number());
    return !creator || iterator.apply(fragment, creator);
  };
  if (!forEachIdentifier(getFragmentIDCollection(), visit)) return false;
  const CreatorHandle whole = wholeCreator();
  return !whole || iterator.apply(nullptr, whole);
}

const Larder::StrongPtr<Field>& Field::NullPtrField() {
  static const Larder::StrongPtr<Field> null;
  return null;
}

namespace {

std::atomic<Field::LatticeFieldMaker> latticeFieldMaker{nullptr};

}  // namespace

void Field::setLatticeFieldMaker(LatticeFieldMaker maker) {
  latticeFieldMaker = maker;
}

Larder::StrongPtr<Field> Field::makeFor(const Larder::StrongPtr<FragmentIDCollection>& fragments) {
  const LatticeFieldMaker maker = latticeFieldMaker;
  if (maker != nullptr && fragments && fragments->latticeSize().rank() > 0) return maker(fragments);
  return Larder::makeStrong<Field>(fragments);
}

void Field::setSource(const Larder::StrongPtr<FieldSource>& source, const std::string& typeName) {
  const std::lock_guard lock(mutex_);
  source_ = source;
  typeName_ = typeName;
}

Larder::StrongPtr<FieldSource> Field::source() const {
  const std::lock_guard lock(mutex_);
  return source_;
}

CreatorHandle Field::madeCreator(std::uint32_t number) const {
  const std::lock_guard lock(mutex_);
  return number < creators_.size() ? creators_[number] : nullptr;
}

void Field::forEachMadeCreator(const std::function<void(const CreatorHandle&)>& visit) const {
  std::vector<CreatorHandle> made;
  {
    const std::lock_guard lock(mutex_);
    made = creators_;
    made.push_back(whole_);
  }
  for (const auto& creator : made)
    if (creator) visit(creator);
}

CreatorHandle Field::madeWholeCreator() const {
  const std::lock_guard lock(mutex_);
  return whole_;
}

}  // namespace Quilt
