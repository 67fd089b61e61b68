#pragma once

#include <atomic>
#include <span>
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

  /// The elements that belong to the points of a segment; there may be fewer than points.
  /// \param room is filled with them unless they are in memory, and must live as long as the use.
  class Use {
   public:
    /// \throw RunEnd if the data can't be read, or is of another type.
    Use(SourceArrays& arrays, const IndexLists::Segment& segment, std::vector<std::byte>& room);
    ~Use();
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

    const std::byte* elements() const { return elements_; }
    /// \param indices of points of the segment, ascending. \throw RunEnd if one has no element
    void require(std::span<const std::uint16_t> indices) const {
      if (!indices.empty() && indices.back() >= count_) handle_->tooFewFor(points_);
    }

   private:
    SourceArrays& arrays_;
    std::uint32_t source_;
    ElementsAhead::Handle handle_;
    std::uint64_t points_;  // of the source
    std::uint64_t count_ = 0;
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
