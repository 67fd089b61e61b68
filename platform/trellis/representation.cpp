#include "recast/trellis/representation.h"

namespace Quilt {

Representation::Representation(const Larder::StrongPtr<Placement>& place, std::string name)
    : place_(place), name_(std::move(name)) {}

Representation::Entry* Representation::find(const std::string& name) {
  for (Entry& entry : entries_)
    if (entry.id->name() == name) return &entry;
  return nullptr;
}

const Representation::Entry* Representation::find(const std::string& name) const {
  return const_cast<Representation*>(this)->find(name);
}

Larder::StrongPtr<FieldID> Representation::makeFieldID(const std::string& name) {
  if (const Entry* entry = find(name)) return entry->id;
  entries_.push_back({Larder::makeStrong<FieldID>(name), nullptr});
  return entries_.back().id;
}

Larder::StrongPtr<FieldID> Representation::findFieldID(const std::string& name) const {
  const Entry* entry = find(name);
  return entry != nullptr ? entry->id : nullptr;
}

FieldProxy Representation::makeField(const Larder::StrongPtr<FieldID>& id,
                                     const Larder::StrongPtr<FragmentIDCollection>& fragments,
                                     const MemBaseHandle& data) {
  Entry* entry = find(makeFieldID(id->name())->name());
  if (!entry->field) {
    auto identifiers = fragments ? fragments : findSharedFragments();
    if (!identifiers) identifiers = Larder::makeStrong<FragmentIDCollection>();
    assign(*entry, Larder::StrongPtr<Field>(new Field(data, identifiers)));
  } else if (data) {
    entry->field->setPersistentData(data, nullptr, Larder::Cache::MemCache(), "");
  }
  return FieldProxy(Larder::StrongPtr<Representation>(this), entry->id);
}

Larder::StrongPtr<FragmentIDCollection> Representation::findSharedFragments() const {
  if (const auto positions = Positions(); positions && positions->getFragmentIDCollection())
    return positions->getFragmentIDCollection();
  for (const Entry& entry : entries_)
    if (entry.field && entry.field->getFragmentIDCollection())
      return entry.field->getFragmentIDCollection();
  return nullptr;
}

void Representation::assign(Entry& entry, const Larder::StrongPtr<Field>& field) {
  if (entry.field == field) return;
  entry.field = field;
  auto place = Larder::makeStrong<Placement>(*place_);
  place->FieldName = entry.id->name();
  renewAge();
  field->processOwnership(place);
}

Larder::StrongPtr<Field> Representation::findField(const Larder::StrongPtr<FieldID>& id) const {
  return id ? findField(id->name()) : Field::NullPtrField();
}

Larder::StrongPtr<Field> Representation::findField(const std::string& name) const {
  const Entry* entry = find(name);
  return entry != nullptr ? entry->field : Field::NullPtrField();
}

FieldProxy Representation::operator[](const std::string& name) {
  return makeField(makeFieldID(name), nullptr, nullptr);
}

bool Representation::setPositions(const Larder::StrongPtr<Field>& field) {
  if (!field) return false;
  assign(*find(makeFieldID(kPositions)->name()), field);
  return true;
}

void Representation::iterate(const std::function<bool(const FieldID&, const Field&)>& visit) const {
  const std::vector<Entry> entries = entries_;  // a visitor may make fields
  for (const Entry& entry : entries)
    if (entry.field && !visit(*entry.id, *entry.field)) return;
}

void Representation::iterate(FieldIterator& iterator) const {
  const std::vector<Entry> entries = entries_;
  for (const Entry& entry : entries)
    if (entry.field && !iterator.apply(entry.id, entry.field)) return;
}

std::size_t Representation::numberOfFields() const {
  std::size_t number = 0;
  for (const Entry& entry : entries_) number += entry.field ? 1 : 0;
  return number;
}

FieldProxy& FieldProxy::operator=(const Larder::StrongPtr<Field>& field) {
  if (field) representation_->assign(*representation_->find(id_->name()), field);
  return *this;
}

}  // namespace Quilt
