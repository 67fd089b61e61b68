#pragma once

#include <functional>
#include <string>
#include <vector>

#include "recast/meadow/field.h"

namespace Quilt {

class FieldProxy;

/// Visits the fields of a representation.
class RECAST_API FieldIterator {
 public:
  virtual ~FieldIterator() = default;
  /// \return false to end the iteration.
  virtual bool apply(const Larder::StrongPtr<FieldID>& id,
                     const Larder::StrongPtr<Field>& field) = 0;
};

/// The fields of a skeleton as seen in one chart, or relative to another skeleton. Keeps them in
/// the order in which they were made. Not synchronised.
class RECAST_API Representation : public Larder::ReferenceBase<Representation>,
                                  public Larder::Attributes,
                                  public Larder::Ageable {
 public:
  /// The name of the field that places the elements.
  static constexpr const char* kPositions = "Positions";

  /// \param place where the representation hangs; the field's name in it is not used.
  Representation(const Larder::StrongPtr<Placement>& place, std::string name);

  /// The representation's name in its skeleton, and in the file.
  const std::string& name() const { return name_; }

  /// The identifier of that name, made if missing. A field comes with `makeField` only.
  Larder::StrongPtr<FieldID> makeFieldID(const std::string& name);
  /// The identifier of that name, or null.
  Larder::StrongPtr<FieldID> findFieldID(const std::string& name) const;
  /// The field of that identifier, made if missing; with null `fragments` it shares the fragment
  /// identifiers of the representation's other fields. Data that is not null becomes its undivided
  /// data.
  FieldProxy makeField(const Larder::StrongPtr<FieldID>& id,
                       const Larder::StrongPtr<FragmentIDCollection>& fragments,
                       const MemBaseHandle& data);
  /// The field of that identifier, or null.
  Larder::StrongPtr<Field> findField(const Larder::StrongPtr<FieldID>& id) const;
  /// The field of that name, or the null field.
  Larder::StrongPtr<Field> findField(const std::string& name) const;
  Larder::StrongPtr<Field> findField(const char* name) const {
    return findField(std::string(name));
  }
  /// The field of that name, made if missing; can be assigned a field.
  FieldProxy operator[](const std::string& name);
  /// The field "Positions", or the null field.
  Larder::StrongPtr<Field> Positions() const { return findField(kPositions); }
  /// The fragment identifiers that the fields share, those of the positions before others'; or
  /// null.
  Larder::StrongPtr<FragmentIDCollection> findSharedFragments() const;
  /// Makes `field` the positions. \return false, and nothing changed, if it is null.
  bool setPositions(const Larder::StrongPtr<Field>& field);

  /// Calls `visit` for the fields in turn until it gives false.
  void iterate(const std::function<bool(const FieldID&, const Field&)>& visit) const;
  void iterate(FieldIterator& iterator) const;
  std::size_t numberOfFields() const;

 private:
  friend class FieldProxy;
  struct Entry {
    Larder::StrongPtr<FieldID> id;
    Larder::StrongPtr<Field> field;
  };

  Entry* find(const std::string& name);
  const Entry* find(const std::string& name) const;
  void assign(Entry& entry, const Larder::StrongPtr<Field>& field);

  Larder::StrongPtr<Placement> place_;
  std::string name_;
  std::vector<Entry> entries_;
};

/// Stands for a named field of a representation: converts to the field, and can be assigned one.
class RECAST_API FieldProxy {
 public:
  FieldProxy(const Larder::StrongPtr<Representation>& representation,
             const Larder::StrongPtr<FieldID>& id)
      : representation_(representation), id_(id) {}

  operator Larder::StrongPtr<Field>() const { return field(); }
  Larder::StrongPtr<Field> field() const { return representation_->findField(id_); }
  /// Puts `field` in the place of the former field of this name. A null handle does nothing, nor
  /// does the field that is there already.
  FieldProxy& operator=(const Larder::StrongPtr<Field>& field);
  /// Assigns the field that `other` stands for.
  FieldProxy& operator=(const FieldProxy& other) { return *this = other.field(); }
  FieldProxy(const FieldProxy&) = default;

 private:
  Larder::StrongPtr<Representation> representation_;
  Larder::StrongPtr<FieldID> id_;
};

}  // namespace Quilt
