#pragma once

#include <cstring>

#include "recast/columns/column_types.h"
#include "recast/text_input/tokens.h"

namespace Recast {

/// Which tokens of a line go where: what the columns of a converter ask for, in the order of the
/// tokens, so that a line is read in one pass and tokens that no column names are only passed over.
class LinePlan {
 public:
  LinePlan() = default;
  /// A plan that reads into the chunks that the columns have now.
  explicit LinePlan(ColumnAsciiToPointCloudQ8& converter);

  /// Reads the tokens of a line into element number `element` of the chunks.
  /// \return false if the line has too few tokens or a value doesn't convert.
  bool read(std::string_view text, std::size_t element) const {
    if (!readable_) return false;
    Larder::Text::TokenWalk walk(text, delimiter_);
    for (const Step& step : steps_) {
      if (!skip(walk, step.passedOver)) return false;
      const Larder::Text::TokenWalk token = walk;
      if (!store(walk, step, element)) return false;
      if (step.tokenIsReadAgain) walk = token;
    }
    return skip(walk, behindLast_);
  }

 private:
  enum class Target : unsigned char { kDouble, kFloat, kInt, kUInt, kUShort, kUChar };
  struct Step {
    std::uint64_t position;    // of the token
    std::uint64_t passedOver;  // tokens between the former step's and this one's
    char* target;              // the component of element 0
    std::size_t stride;        // bytes from element to element
    Target kind;
    bool tokenIsReadAgain;
  };

  template <class T>
  void add(myColumn<T>& column);
  template <class C>
  static constexpr Target kindOf();

  [[gnu::always_inline]] static bool skip(Larder::Text::TokenWalk& walk, std::uint64_t tokens) {
    for (; tokens > 0; --tokens)
      if (!walk.skip()) return false;
    return true;
  }

  [[gnu::always_inline]] static bool store(Larder::Text::TokenWalk& walk, const Step& step,
                                           std::size_t element) {
    char* const target = step.target + element * step.stride;
    switch (step.kind) {
      case Target::kDouble: return storeAs<double>(walk, target);
      case Target::kFloat: return storeAs<float>(walk, target);
      case Target::kInt: return storeAs<int>(walk, target);
      case Target::kUInt: return storeAs<unsigned int>(walk, target);
      case Target::kUShort: return storeAs<unsigned short>(walk, target);
      case Target::kUChar: return storeAs<unsigned char>(walk, target);
    }
    return false;
  }

  template <class C>
  [[gnu::always_inline]] static bool storeAs(Larder::Text::TokenWalk& walk, char* target) {
    Larder::Text::Number<NumberFor<C>> number;
    if (!walk.next(number) || !number.converted()) return false;
    const C component = static_cast<C>(number.value);
    std::memcpy(target, &component, sizeof component);
    return true;
  }

  char delimiter_ = ' ';
  std::vector<Step> steps_;
  std::uint64_t behindLast_ = 0;  // tokens that must follow the last step's
  bool readable_ = true;          // false if a column has too few or too many positions
};

}  // namespace Recast
