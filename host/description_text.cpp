#include <algorithm>
#include <cstdio>

#include "bundle_description.h"
#include "shown_text.h"

namespace RecastHost {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t kMostFragments = 10;

std::string number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.10g", value);
  return text;
}

std::string list(const Json& values, const char* separator) {
  std::string text;
  for (const Json& value : values) {
    if (!text.empty()) text += separator;
    text += value.is_number_float() ? number(value.get<double>()) : value.dump();
  }
  return text;
}

/// A text in quotation marks, fit for a terminal; unlike JSON's own, for any bytes.
std::string quoted(const Json& text) {
  return quotedText(text.get_ref<const std::string&>());
}

std::string plain(const std::string& text) {
  return shownText(text, Newlines::Escaped);
}

/// The text up to about that many bytes; whole characters.
std::string cut(const std::string& text, std::size_t most) {
  if (text.size() <= most) return text;
  const std::string start = text.substr(0, most);
  return start.substr(0, most - unfinishedTail(start)) + "...";
}

/// A value on one line; a long text is cut.
std::string shown(const Json& value) {
  constexpr std::size_t kMost = 60;
  if (value.is_number_float()) return number(value.get<double>());
  if (value.is_string()) return cut(quoted(value), kMost);
  if (!value.is_array()) return value.dump();
  std::string text;
  for (const Json& element : value) {
    text += (text.empty() ? "[" : ",") + shown(element);
    if (text.size() > kMost) return cut(text, kMost);
  }
  return cut((text.empty() ? "[" : text) + "]", kMost);
}

class TreeText {
 public:
  std::string text;

  void bundle(const Json& description) {
    attributes(description, 0);
    for (const Json& slice : description["slices"]) {
      line(0, "slice at time " + number(slice["time"]));
      attributes(slice, 1);
      for (const Json& grid : slice["grids"]) this->grid(grid);
    }
  }

 private:
  void line(int depth, const std::string& content) {
    text += std::string(static_cast<std::size_t>(depth) * 2, ' ') + content + "\n";
  }

  void attributes(const Json& object, int depth) {
    if (!object.contains("attributes")) return;
    for (const auto& [name, value] : object["attributes"].items())
      line(depth, "@ " + plain(name) + " = " + shown(value));
  }

  void grid(const Json& grid) {
    line(1, "grid " + quoted(grid["name"]));
    attributes(grid, 2);
    for (const Json& representation : grid["representations"]) {
      line(2, plain(representation["skeleton"]) + " / " + plain(representation["name"]));
      attributes(representation, 3);
      for (const Json& field : representation["fields"]) this->field(field);
    }
  }

  void field(const Json& field) {
    const Json& fragments = field["fragments"];
    std::uint64_t elements = 0;
    for (const Json& fragment : fragments) elements += fragment["elements"].get<std::uint64_t>();
    const auto type = field["type"].get<std::string>();
    std::string head =
        "field " + quoted(field["name"]) + ": " + (type.empty() ? "no data" : plain(type));
    if (!fragments.empty())
      head += ", " + std::to_string(elements) + " elements in " + std::to_string(fragments.size()) +
              " of " + field["identifiers"].dump() + " fragments";
    if (field.contains("lattice")) head += ", lattice " + list(field["lattice"], " x ");
    line(3, head);
    attributes(field, 4);
    for (std::size_t i = 0; i < std::min(fragments.size(), kMostFragments); ++i)
      fragment(quoted(fragments[i]["name"]), fragments[i]);
    if (fragments.size() > kMostFragments)
      line(4, "... and " + std::to_string(fragments.size() - kMostFragments) + " more");
    if (field.contains("undivided")) fragment("undivided", field["undivided"]);
  }

  void fragment(const std::string& name, const Json& fragment) {
    std::string content = name + ": " + list(fragment["shape"], " x ");
    if (fragment.contains("range")) content += ", " + list(fragment["range"], " to ");
    if (fragment.contains("box"))
      content += ", from (" + list(fragment["box"][0], ", ") + ") to (" +
                 list(fragment["box"][1], ", ") + ")";
    if (fragment.contains("location")) content += ", at " + list(fragment["location"], ", ");
    line(4, content);
    attributes(fragment, 5);
  }
};

}  // namespace

std::string asText(const nlohmann::ordered_json& description) {
  TreeText tree;
  tree.bundle(description);
  return tree.text;
}

}  // namespace RecastHost
