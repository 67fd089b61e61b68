#pragma once

#include <string>
#include <vector>

namespace RecastHost {

/// A column as the command line tells it: TYPE:NAME:POS[,POS...], with positions counted from 0.
struct ColumnDescription {
  std::string type;
  std::string name;  ///< may hold colons
  std::vector<unsigned int> positions;
};

/// \return false if `text` has another form.
bool parseColumn(const std::string& text, ColumnDescription& column);

/// "tab", "space" or one character. \return false for anything else.
bool parseDelimiter(const std::string& text, char& delimiter);

}  // namespace RecastHost
