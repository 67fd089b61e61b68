#include "recast/columns/string_to_value.h"

#include "recast/columns/bad_line.h"
#include "recast/columns/column_types.h"

namespace Recast {
namespace {

using Tokens = std::vector<std::string>;
using Positions = std::vector<unsigned int>;

template <class C>
bool readComponent(const Tokens& tokens, unsigned int position, C& component) {
  return position < tokens.size() && tokenToComponent(tokens[position], component);
}

template <class T>
bool readValue(const Tokens& tokens, const Positions& columns, T& out) {
  if (!takesPositions<T>(columns.size())) return false;
  T value{};
  if constexpr (ThreeComponents<T>) {
    for (std::size_t i = 0; i < columns.size(); ++i)
      if (!readComponent(tokens, columns[i], value[i])) return false;
  } else if (!readComponent(tokens, columns[0], value)) {
    return false;
  }
  out = value;
  return true;
}

}  // namespace

bool StringToValue(const Tokens& tokens, const Positions& columns, unsigned int& out) {
  return readValue(tokens, columns, out);
}
bool StringToValue(const Tokens& tokens, const Positions& columns, unsigned short& out) {
  return readValue(tokens, columns, out);
}
bool StringToValue(const Tokens& tokens, const Positions& columns, unsigned char& out) {
  return readValue(tokens, columns, out);
}
bool StringToValue(const Tokens& tokens, const Positions& columns, int& out) {
  return readValue(tokens, columns, out);
}
bool StringToValue(const Tokens& tokens, const Positions& columns, float& out) {
  return readValue(tokens, columns, out);
}
bool StringToValue(const Tokens& tokens, const Positions& columns, double& out) {
  return readValue(tokens, columns, out);
}
bool StringToValue(const Tokens& tokens, const Positions& columns,
                   Heron::FixedArray<double, 3>& out) {
  return readValue(tokens, columns, out);
}
bool StringToValue(const Tokens& tokens, const Positions& columns, Heron::Colour& out) {
  return readValue(tokens, columns, out);
}

void showBadLine(const Tokens& tokens) {
  announceBadLine();
  for (const std::string& token : tokens) showToken(token);
}

}  // namespace Recast
