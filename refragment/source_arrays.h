#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <typeinfo>
#include <vector>

#include "recast/meadow/field.h"
#include "recast/refragment/index_lists.h"
#include "recast/refragment/para_box.h"

namespace Recast {

/// The creator's array: the one in memory, or one that is read now and that nothing but the caller
/// keeps. Null if there is neither.
Quilt::MemBaseHandle fetchData(const Quilt::CreatorHandle& creator);

/// The elements of an array of type `element`, in the order of memory.
/// \param own takes them if they don't stand one behind the other in the array.
/// \throw RunEnd, naming field and fragment, if `array` is null or of another kind.
std::span<const std::byte> elementsOf(const Quilt::MemBaseHandle& array,
                                      const std::type_info& element, const std::string& fieldName,
                                      const std::string& fragmentName, std::vector<std::byte>& own);

/// The arrays of the source fragments of one field while a pass goes through them segment by
/// segment: each is read when its first segment comes and dropped after its last one. Safe in
/// several threads at once.
class SourceArrays {
 public:
  /// \param absent per source fragment whether the field has no data for it.
  SourceArrays(const ParaBox& box, const std::string& fieldName,
               const Larder::StrongPtr<Quilt::Field>& field, const std::type_info& element,
               const std::vector<bool>& absent);

  /// Holds the array of one segment's source.
  class Use {
   public:
    /// \throw RunEnd if the array is not as the points are.
    Use(SourceArrays& arrays, std::uint32_t source) : arrays_(arrays), source_(source) {
      arrays_.fetch(source_);
    }
    ~Use() { arrays_.release(source_); }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

    const std::byte* elements() const { return arrays_.sources_[source_].elements.data(); }

   private:
    SourceArrays& arrays_;
    std::uint32_t source_;
  };

 private:
  struct Source {
    std::uint32_t segments = 0;  // still to come
    Quilt::MemBaseHandle array;
    std::vector<std::byte> own;
    std::span<const std::byte> elements;
  };

  void fetch(std::uint32_t source);
  void release(std::uint32_t source);

  const ParaBox& box_;
  const std::string& fieldName_;
  Larder::StrongPtr<Quilt::Field> field_;
  const std::type_info& element_;
  std::vector<Source> sources_;
};

}  // namespace Recast
