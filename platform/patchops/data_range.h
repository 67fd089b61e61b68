#pragma once

#include "recast/meadow/field.h"

namespace Quilt {

/// The smallest and the largest value of a field or fragment of plain numbers.
class RECAST_API DataRangeBase : public Larder::ReferenceBase<DataRangeBase> {};

/// The same with the bounds in the field's element type. NaN values take no part.
template <class T>
class RECAST_API DataRange : public DataRangeBase {
 public:
  DataRange(T minimum, T maximum) : minimum_(minimum), maximum_(maximum) {}
  T minimum() const { return minimum_; }
  T maximum() const { return maximum_; }

 private:
  T minimum_;
  T maximum_;
};

using DataRangeHandle = Larder::StrongPtr<DataRangeBase>;

/// The value range of one fragment, as the `DataRange` of the field's element type. What is known
/// from the file or from an earlier call costs no reading of data. \param recompute looks at the
/// data even so. \param onlyKnown never reads data. \return null if there is no number, or the
/// element type is compound.
RECAST_API DataRangeHandle getRange(const Field& field,
                                    const Larder::StrongPtr<FragmentID>& fragment, bool recompute,
                                    bool onlyKnown);
/// The range of the undivided data.
inline DataRangeHandle getRange(const Field& field, std::nullptr_t, bool recompute,
                                bool onlyKnown) {
  return getRange(field, Larder::StrongPtr<FragmentID>(), recompute, onlyKnown);
}
/// The same for the fragment of that name; the range over all data of the field for an empty name.
RECAST_API DataRangeHandle getRange(const Field& field, const std::string& fragmentName,
                                    bool recompute, bool onlyKnown);

}  // namespace Quilt
