#pragma once

#include <string>
#include <string_view>

/// Names and texts from files, made fit for a terminal: control characters, characters that reorder
/// text, and bytes that aren't UTF-8 are escaped; what else there is stays as it is.
namespace RecastHost {

enum class Newlines { Kept, Escaped };

/// The text with escapes of the form \n, \x1b or \u202e. Newlines::Kept leaves tabs, too.
std::string shownText(std::string_view text, Newlines newlines);

/// The text between quotation marks; those in it and backslashes are escaped.
std::string quotedText(std::string_view text);

/// A JSON document whose strings hold none of these characters, and the same content.
/// \pre it is valid JSON in UTF-8.
std::string shownJson(std::string_view document);

/// The length of what of the text's end may be the beginning of a UTF-8 sequence.
std::size_t unfinishedTail(std::string_view text);

}  // namespace RecastHost
