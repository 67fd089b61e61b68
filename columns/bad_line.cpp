#include "recast/columns/bad_line.h"

#include <iostream>

#include "recast/columns/column_status.h"
#include "recast/columns/column_types.h"
#include "recast/larder/console.h"
#include "recast/text_input/quoted.h"
#include "recast/text_input/tokens.h"

namespace Recast {
namespace {

using Larder::Text::quoted;

/// Looks for the first column that a line has no value for.
class FaultFinder {
 public:
  FaultFinder(std::string_view text, char delimiter)
      : text_(text), delimiter_(delimiter), tokens_(Larder::Text::countTokens(text, delimiter)) {}

  std::size_t tokens() const { return tokens_; }

  template <class T>
  bool converts(const myColumn<T>& column, BadLine& fault) const {
    if (column.Constant) return true;
    if (!takesPositions<T>(column.Columns.size())) {
      fault = {kValueNotConverted, "the column \"" + column.Name + "\" has " +
                                       std::to_string(column.Columns.size()) + " positions"};
      return false;
    }
    for (std::size_t i = 0; i < positionsRead(column); ++i)
      if (!converts<Component<T>>(column.Columns[i], column.Name, fault)) return false;
    return true;
  }

  BadLine tooFewTokens(std::uint64_t wanted) const {
    return {kTooFewTokens, "has only " + std::to_string(tokens_) + " of the " +
                               std::to_string(wanted) + " columns that are needed"};
  }

 private:
  template <class C>
  bool converts(unsigned int position, const std::string& name, BadLine& fault) const {
    if (position >= tokens_) {
      fault = tooFewTokens(position + std::uint64_t{1});
      return false;
    }
    const std::string_view token = Larder::Text::nthToken(text_, delimiter_, position);
    C ignored;
    if (tokenToComponent(token, ignored)) return true;
    fault = {kValueNotConverted, "has " + quoted(token) + " at position " +
                                     std::to_string(position) + ", which is no value for \"" +
                                     name + "\""};
    return false;
  }

  std::string_view text_;
  char delimiter_;
  std::size_t tokens_;
};

}  // namespace

BadLine explainBadLine(const ColumnAsciiToPointCloudQ8& converter, std::string_view text) {
  const FaultFinder finder(text, converter.Delimiter);
  if (finder.tokens() <= converter.MaxColumn)
    return finder.tooFewTokens(converter.MaxColumn + std::uint64_t{1});
  BadLine fault;
  allColumns(converter, [&](const auto& column) { return finder.converts(column, fault); });
  return fault;
}

void announceBadLine() {
  std::cout << "Bad line at: " << std::endl;
}

void showToken(std::string_view token) {
  Larder::Console() << "-->" << token;
}

}  // namespace Recast
