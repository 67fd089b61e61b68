#pragma once

#include <string>
#include <vector>

#include "recast/perch/fixed_array.h"

namespace Recast {

/// Converts the tokens at the positions `columns` to a value, as the standard conversions do in the
/// "C" locale: std::stof for float, std::stod for double and the components of points and vectors,
/// and in base 10 std::stoul for unsigned int, std::stoi for int and unsigned char, std::stol for
/// unsigned short and the components of colours, all on 32-bit numbers. Of a number that doesn't
/// fit, unsigned short keeps the low 16 bits, unsigned char and colours the low 8.
///
/// A number is read from the first position. A point, vector or colour is read from up to three;
/// components without a position are 0.
/// \return false, with `out` as it was, if a token has no number at its start or one out of range,
/// if there is no token at a position, or if `columns` has too few or too many positions.
RECAST_API bool StringToValue(const std::vector<std::string>& tokens,
                              const std::vector<unsigned int>& columns, unsigned int& out);
RECAST_API bool StringToValue(const std::vector<std::string>& tokens,
                              const std::vector<unsigned int>& columns, unsigned short& out);
RECAST_API bool StringToValue(const std::vector<std::string>& tokens,
                              const std::vector<unsigned int>& columns, unsigned char& out);
RECAST_API bool StringToValue(const std::vector<std::string>& tokens,
                              const std::vector<unsigned int>& columns, int& out);
RECAST_API bool StringToValue(const std::vector<std::string>& tokens,
                              const std::vector<unsigned int>& columns, float& out);
RECAST_API bool StringToValue(const std::vector<std::string>& tokens,
                              const std::vector<unsigned int>& columns, double& out);
RECAST_API bool StringToValue(const std::vector<std::string>& tokens,
                              const std::vector<unsigned int>& columns,
                              Heron::FixedArray<double, 3>& out);
RECAST_API bool StringToValue(const std::vector<std::string>& tokens,
                              const std::vector<unsigned int>& columns, Heron::Colour& out);

/// Shows the tokens of a line that failed: "Bad line at: " on the standard output stream, then each
/// token as a message on the console.
RECAST_API void showBadLine(const std::vector<std::string>& tokens);

}  // namespace Recast
