#include "shown_text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

namespace RecastHost {
namespace {

constexpr char32_t kInvalid = 0xFFFFFFFF;

/// One character of a text; `kInvalid` and one byte where the text is no UTF-8.
struct Character {
  char32_t code;
  std::size_t length;
};

/// The length of the sequence that begins with that byte, 0 if none does.
std::size_t sequenceLength(unsigned char lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead < 0xE0) return 2;
  if (lead >= 0xE0 && lead < 0xF0) return 3;
  return lead >= 0xF0 && lead < 0xF5 ? 4 : 0;
}

Character characterAt(std::string_view text) {
  constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
  const auto lead = static_cast<unsigned char>(text[0]);
  const std::size_t length = sequenceLength(lead);
  if (length == 1) return {lead, 1};
  if (length == 0 || length > text.size()) return {kInvalid, 1};
  char32_t code = lead & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xC0U) != 0x80U) return {kInvalid, 1};
    code = code << 6U | (byte & 0x3FU);
  }
  const bool isSurrogate = code >= 0xD800 && code < 0xE000;
  if (code < kSmallest[length] || code > 0x10FFFF || isSurrogate) return {kInvalid, 1};
  return {code, length};
}

/// Controls, line separators, and what changes the direction of the text behind it.
bool isUnfit(char32_t code) {
  return code < 0x20 || (code >= 0x7F && code < 0xA0) || (code >= 0x200E && code <= 0x200F) ||
         (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069) ||
         code == 0x061C || code == kInvalid;
}

std::string formatted(const char* format, unsigned int number) {
  std::array<char, 16> text;
  std::snprintf(text.data(), text.size(), format, number);
  return text.data();
}

std::string escape(const Character& character, unsigned char byte) {
  if (character.code == '\n') return "\\n";
  if (character.code == '\t') return "\\t";
  if (character.code == '\r') return "\\r";
  if (character.length == 1) return formatted("\\x%02x", byte);
  return formatted("\\u%04x", static_cast<unsigned int>(character.code));
}

/// \param escaped gives the escape of a character, or nothing to leave it as it is.
template <class Escaped>
std::string mapped(std::string_view text, const Escaped& escaped) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const Character character = characterAt(text);
    const std::string replacement = escaped(character, static_cast<unsigned char>(text[0]));
    if (replacement.empty())
      result += text.substr(0, character.length);
    else
      result += replacement;
    text.remove_prefix(character.length);
  }
  return result;
}

}  // namespace

std::string shownText(std::string_view text, Newlines newlines) {
  return mapped(text, [newlines](const Character& character, unsigned char byte) -> std::string {
    const bool isBlank = character.code == '\n' || character.code == '\t';
    if (!isUnfit(character.code) || (isBlank && newlines == Newlines::Kept)) return {};
    return escape(character, byte);
  });
}

std::string quotedText(std::string_view text) {
  return '"' +
         mapped(text,
                [](const Character& character, unsigned char byte) -> std::string {
                  if (character.code == '"') return "\\\"";
                  if (character.code == '\\') return "\\\\";
                  return isUnfit(character.code) ? escape(character, byte) : std::string();
                }) +
         '"';
}

std::string shownJson(std::string_view document) {
  return mapped(document, [](const Character& character, unsigned char) -> std::string {
    if (!isUnfit(character.code) || character.code < 0x20) return {};
    return formatted("\\u%04x", static_cast<unsigned int>(character.code));
  });
}

std::size_t unfinishedTail(std::string_view text) {
  for (std::size_t tail = 1; tail <= std::min<std::size_t>(3, text.size()); ++tail) {
    const auto byte = static_cast<unsigned char>(text[text.size() - tail]);
    if ((byte & 0xC0U) == 0x80U) continue;
    return sequenceLength(byte) > tail ? tail : 0;
  }
  return 0;
}

}  // namespace RecastHost
