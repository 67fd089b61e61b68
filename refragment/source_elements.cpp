#include "recast/refragment/source_elements.h"

#include <system_error>
#include <utility>

#include "recast/meadow/data_extent.h"
#include "recast/meadow/quilt_type.h"
#include "recast/refragment/run_end.h"

namespace Recast {
namespace {

/// An array of fewer elements is read before another thread has woken up.
constexpr std::uint64_t kWorthAThread = 4096;

[[noreturn]] void refuse(const SourceElements::Description& description,
                         const std::string& reason) {
  throw RunEnd("field \"" + description.field + "\", fragment \"" + description.fragment +
               "\": " + reason);
}

/// The creator's array: the one in memory, or one that is read now and that nothing but the caller
/// keeps. Null if there is neither.
Quilt::MemBaseHandle fetchData(const Quilt::CreatorHandle& creator) {
  if (!creator) return nullptr;
  if (auto present = creator->create(true)) return present;
  auto made = creator->produce();
  if (!made) return nullptr;
  made->setCreator(creator);
  creator->enableCaching(false);
  return made;
}

/// The elements of an array without reading it.
std::uint64_t sizeOf(const Quilt::CreatorHandle& creator) {
  std::uint64_t elements = 0;
  return creator && creator->size().product(1, elements) ? elements : 0;
}

std::unique_ptr<Quilt::PieceReader> piecesOf(const Quilt::CreatorHandle& creator,
                                             const std::string& typeName) {
  if (creator->typeName() != typeName || creator->create(true)) return nullptr;
  const auto stored = creator->stored();
  return stored ? stored->openPieces() : nullptr;
}

}  // namespace

SourceElements::SourceElements(const Quilt::CreatorHandle& creator, const Description& description)
    : description_(description) {
  const auto type = Quilt::QuiltTypeBase::find(*description.element);
  elementSize_ = type->ElementSize;
  const std::uint64_t size = sizeOf(creator);
  const bool isSmall = size < kWorthAThread;
  if (!isSmall) pieces_ = piecesOf(creator, type->TypeName);
  if (pieces_) {
    inPieces_ = size;
    return;
  }
  const auto read = [creator, description] { return readWhole(creator, description); };
  try {
    whole_ = std::async(isSmall ? std::launch::deferred : std::launch::async, read);
  } catch (const std::system_error&) {  // no thread to be had: whoever needs it first reads it
    whole_ = std::async(std::launch::deferred, read);
  }
}

SourceElements::Whole SourceElements::readWhole(const Quilt::CreatorHandle& creator,
                                                const Description& description) {
  Whole whole;
  whole.array = fetchData(creator);
  if (!whole.array) refuse(description, "the data can't be read");
  if (whole.array->getType() != *description.element ||
      (whole.array->getPtr() == nullptr && whole.array->nElements() > 0))
    refuse(description, "the data is no list of values of the field's type");
  whole.bytes = Quilt::contiguousBytes(*whole.array, whole.own);
  return whole;
}

std::uint64_t SourceElements::size() const {
  return pieces_ ? inPieces_ : whole_.get().bytes.size() / elementSize_;
}

void SourceElements::tooFewFor(std::uint64_t points) const {
  refuse(description_, "there are " + std::to_string(size()) + " values for " +
                           std::to_string(points) + " points");
}

const std::byte* SourceElements::piece(std::uint64_t first, std::uint64_t count,
                                       std::vector<std::byte>& room) const {
  if (!pieces_) return whole_.get().bytes.data() + first * elementSize_;
  room.resize(count * elementSize_);
  if (!pieces_->read(first, count, room.data())) refuse(description_, "the data can't be read");
  return room.data();
}

ElementsAhead::ElementsAhead(std::vector<Source> sources)
    : sources_(std::move(sources)), begun_(sources_.size()) {}

void ElementsAhead::begin(std::size_t place) {
  Source& source = sources_[place];
  if (source.description.element == nullptr) return;
  begun_[place] = std::make_shared<SourceElements>(source.creator, source.description);
  source = Source{};
}

ElementsAhead::Handle ElementsAhead::get(std::size_t place) {
  const std::lock_guard lock(mutex_);
  begin(place);
  if (place + 1 < sources_.size()) begin(place + 1);
  return begun_[place];
}

void ElementsAhead::drop(std::size_t place) {
  Handle dropped;  // goes after the lock
  const std::lock_guard lock(mutex_);
  std::swap(dropped, begun_[place]);
}

}  // namespace Recast
