#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "recast/larder/handles.h"

namespace Larder {

/// A counted list of strings.
class RECAST_API StringList : public ReferenceBase<StringList> {
 public:
  StringList() = default;
  explicit StringList(std::vector<std::string> strings) : strings_(std::move(strings)) {}

  std::size_t size() const { return strings_.size(); }
  const std::string& operator[](std::size_t i) const { return strings_[i]; }
  auto begin() const { return strings_.begin(); }
  auto end() const { return strings_.end(); }
  void append(std::string text) { strings_.push_back(std::move(text)); }
  bool contains(const std::string& text) const { return std::find(begin(), end(), text) != end(); }

 private:
  std::vector<std::string> strings_;
};

}  // namespace Larder
