#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "recast/meadow/placement.h"

namespace Quilt {

/// Names a field in its representation.
class RECAST_API FieldID : public Larder::ReferenceBase<FieldID> {
 public:
  explicit FieldID(std::string name) : name_(std::move(name)) {}
  const std::string& name() const { return name_; }

 private:
  std::string name_;
};

/// Visits the fragments of a field.
class RECAST_API FragmentIterator {
 public:
  virtual ~FragmentIterator() = default;
  /// \return false to end the iteration.
  virtual bool apply(const Larder::StrongPtr<FragmentID>& fragment,
                     const CreatorHandle& creator) = 0;
};

/// Tells which fragments to visit; an empty one takes all.
using FragmentSelector = std::function<bool(const FragmentID&)>;

/// The fragments of a field that lie in a file, known without having been made.
class RECAST_API FieldSource : public Larder::ReferenceBase<FieldSource> {
 public:
  /// The creator of the fragment of that number, null if the file has no data for it.
  virtual CreatorHandle makeCreator(std::uint32_t number) = 0;
  /// The creator of the field's undivided data, or null.
  virtual CreatorHandle makeWholeCreator() = 0;
  /// Whether there is data for the fragment of that number.
  virtual bool holds(std::uint32_t number) const = 0;
  /// The source that the field had before, which this one asks too; null if there was none.
  virtual Larder::StrongPtr<FieldSource> former() const { return nullptr; }
};

/// What `createCreator` does with a fragment name that has data already.
enum class OnExistingData {
  Refuse = 0,   ///< nothing is stored, the result is null
  Keep = 1,     ///< nothing is stored, the result is the present creator
  Replace = 2,  ///< the new array takes the place, and a console message tells
};

/// A named quantity on the elements of a grid: one array per fragment, or one undivided array.
///
/// Fields of one representation share their fragment identifiers unless they are made otherwise, so
/// that a fragment means the same for all of them. In a bundle bound to a file, arrays are written
/// when they are handed over and may then leave memory; the creators read them again.
///
/// Creators may be looked up and data handed over from several threads at once; fragment
/// identifiers must not be made meanwhile.
class RECAST_API Field : public Larder::ReferenceBase<Field>,
                         public OwnerBase,
                         public Larder::Attributes,
                         public Larder::Ageable,
                         public Larder::Intercube {
 public:
  /// A field over the identifiers of `fragments`; with null it gets a collection of its own when
  /// the first one is needed.
  explicit Field(const Larder::StrongPtr<FragmentIDCollection>& fragments = nullptr);
  /// A field whose undivided data is `data`.
  Field(const MemBaseHandle& data, const Larder::StrongPtr<FragmentIDCollection>& fragments);

  void processOwnership(const Larder::StrongPtr<Placement>& place) override;
  /// The identifiers, or null if none was ever needed.
  virtual Larder::StrongPtr<FragmentIDCollection> getFragmentIDCollection() const;
  /// The array that lists the fragments of a lattice; null for a field without one.
  virtual MemBaseHandle newFragmentationArray() const;

  /// The identifier of that name, made if missing.
  Larder::StrongPtr<FragmentID> makeFragmentID(const std::string& name);
  /// All identifiers in the order of their numbers, those without data in this field included.
  std::vector<Larder::StrongPtr<FragmentID>> getFragmentIDs() const;

  /// Makes `array` the data of `fragment`, or the undivided data if that is null, in place of
  /// former data. An identifier of another collection counts by its name. In a bound bundle the
  /// array goes to the file under the bundle's rules. \param text where the data comes from, kept
  /// as the attribute "Source"; empty for none. The field takes the element type of the array when
  /// all that it holds is of that type. \return the creator of the data, null if `array` is.
  /// \throw StorageError if writing has failed, or in a bound bundle if the array can't be stored,
  /// such as one of another type than the field's; the field is as it was then.
  CreatorHandle setPersistentData(const MemBaseHandle& array,
                                  const Larder::StrongPtr<FragmentID>& fragment,
                                  Larder::Cache& cache, const std::string& text);
  /// The same by the fragment's name, empty for the undivided data; data that is there already
  /// meets `onExisting`.
  CreatorHandle createCreator(const MemBaseHandle& array, const std::string& fragmentName,
                              OnExistingData onExisting, Larder::Cache& cache);

  /// Lets memory go of what can be had again, for data that is not expected to be asked for soon:
  /// of the fragment's array once it is in the file, and of the creator if the storage can make it
  /// anew. It can for small arrays of fields with very many fragments, unless the creator carries
  /// interfaces or attributes other than "CellSize". Look-ups then give a new creator with the same
  /// data, extent and attributes, whose age begins at 0; attributes that are set on the former one
  /// are not stored.
  void letGo(const Larder::StrongPtr<FragmentID>& fragment);

  /// The creator of the fragment's data, of the undivided data if `fragment` is null; null if there
  /// is none. An identifier of another collection finds nothing.
  CreatorHandle getCreator(const Larder::StrongPtr<FragmentID>& fragment) const;
  CreatorHandle getCreatorByName(const std::string& fragmentName) const;
  CreatorHandle getCreatorByNumber(std::uint32_t number) const;
  /// `getCreator`, and if that finds nothing, `getCreatorByName` with the fragment's name.
  CreatorHandle getCompatibleCreator(const Larder::StrongPtr<FragmentID>& fragment) const;
  /// Whether `getCreator` would find data, told without making the creator.
  bool hasData(const Larder::StrongPtr<FragmentID>& fragment) const;
  /// The fragment's array, read if need be; null if there is none.
  MemBaseHandle getData(const Larder::StrongPtr<FragmentID>& fragment) const;

  /// The element type, known from the first array or from the file; null for an empty field.
  Larder::StrongPtr<QuiltTypeBase> getElementType() const;
  /// Visits the fragments that have data, in the order of their numbers, the undivided data last
  /// (with a null identifier). \return false if the iterator ended it.
  bool iterate(FragmentIterator& iterator, const FragmentSelector& selector) const;

  /// Makes the field objects over identifiers that form a lattice; set once by the layer that knows
  /// their kind, so that a loaded field is of that kind too.
  using LatticeFieldMaker =
      Larder::StrongPtr<Field> (*)(const Larder::StrongPtr<FragmentIDCollection>& fragments);
  static void setLatticeFieldMaker(LatticeFieldMaker maker);
  /// A new field over `fragments`, of the kind that belongs to them.
  static Larder::StrongPtr<Field> makeFor(const Larder::StrongPtr<FragmentIDCollection>& fragments);

  /// The null handle that look-ups give.
  static const Larder::StrongPtr<Field>& NullPtrField();

  /// For the storage: the field's place, null if it hangs in no bundle.
  Larder::StrongPtr<Placement> placement() const { return place_; }
  /// For the storage: sets what a file holds of the field.
  void setSource(const Larder::StrongPtr<FieldSource>& source, const std::string& typeName);
  Larder::StrongPtr<FieldSource> source() const;
  /// For the storage: the creator of that number if it was made; does not ask the source.
  CreatorHandle madeCreator(std::uint32_t number) const;
  CreatorHandle madeWholeCreator() const;
  /// For the storage: visits the creators that were made, the undivided data's included.
  void forEachMadeCreator(const std::function<void(const CreatorHandle&)>& visit) const;

 protected:
  void setFragmentIDCollection(const Larder::StrongPtr<FragmentIDCollection>& fragments);

 private:
  FragmentIDCollection& collection();
  Larder::StrongPtr<FragmentID> ownIdentifier(const Larder::StrongPtr<FragmentID>& fragment);
  CreatorHandle wholeCreator() const;
  bool holdsOtherThan(const std::string& typeName) const;
  void restore(const Larder::StrongPtr<FragmentID>& fragment, const CreatorHandle& refused,
               const CreatorHandle& former, const std::string& formerType);
  void handOver(const Larder::StrongPtr<FragmentID>& fragment, const CreatorHandle& creator,
                const MemBaseHandle& array, Larder::Cache& cache);

  Larder::StrongPtr<FragmentIDCollection> fragments_;
  Larder::StrongPtr<Placement> place_;
  Larder::StrongPtr<FieldSource> source_;
  mutable std::mutex mutex_;                     // guards the members below
  mutable std::vector<CreatorHandle> creators_;  // by running number
  mutable CreatorHandle whole_;
  std::string typeName_;
};

}  // namespace Quilt
