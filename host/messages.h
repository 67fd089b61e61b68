#pragma once

#include <string>

/// What the program prints on the standard error stream. Control characters are shown escaped. Safe
/// in several threads at once.
namespace RecastHost {

/// Brings the messages of the library's console here. With `quiet`, messages and notices are held
/// back, the last ones of them until a failure is reported.
void startMessages(bool quiet);
bool isQuiet();

/// Prints a line that a user may want to know of.
void notify(const std::string& line);
/// Prints the reason of a failure, behind what was held back.
void reportFailure(const std::string& line);

/// Draws a line that later messages stand above, in place of the former one; an empty text takes it
/// off. For terminals alone.
void showStatusLine(const std::string& text);

}  // namespace RecastHost
