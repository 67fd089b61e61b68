#pragma once

#include <atomic>
#include <vector>

#include "recast/meadow/field.h"
#include "recast/refragment/para_box.h"
#include "recast/refragment/source_elements.h"

namespace Recast {

/// The data of one source field while a pass goes through it segment by segment: that of a fragment
/// is opened shortly before its first segment comes, and dropped after its last one. Safe in
/// several threads at once.
class SourceArrays {
 public:
  /// \param absent per source fragment whether the field has no data for it.
  SourceArrays(const ParaBox& box, const std::string& fieldName, const Quilt::Field& field,
               const std::type_info& element, const std::vector<bool>& absent);

  /// The elements that belong to the points of a segment.
  /// \param room is filled with them unless they are in memory, and must live as long as the use.
  class Use {
   public:
    /// \throw RunEnd if the data can't be read, or is not as the points are.
    Use(SourceArrays& arrays, const IndexLists::Segment& segment, std::vector<std::byte>& room);
    ~Use();
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

    const std::byte* elements() const { return elements_; }

   private:
    SourceArrays& arrays_;
    std::uint32_t source_;
    ElementsAhead::Handle handle_;
    const std::byte* elements_ = nullptr;
  };

 private:
  struct Source {
    std::atomic<std::uint32_t> segments{0};  // still to come
    std::size_t place = 0;                   // in `elements_`
  };

  std::vector<ElementsAhead::Source> inOrder(const std::string& fieldName,
                                             const Quilt::Field& field,
                                             const std::type_info& element,
                                             const std::vector<bool>& absent);

  const ParaBox& box_;
  std::vector<Source> sources_;
  ElementsAhead elements_;
};

}  // namespace Recast
