#include "recast/trellis/grid.h"

namespace Quilt {
namespace {

std::string quoted(const std::string& text) {
  std::string out = "\"";
  for (const char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      default: out += c;
    }
  }
  return out + '"';
}

std::string fieldElement(const FieldID& id, const Field& field) {
  const auto type = field.getElementType();
  const auto fragments = field.getFragmentIDCollection();
  return "      <Field name=" + quoted(id.name()) +
         " type=" + quoted(type ? type->TypeName : std::string()) + " fragments=\"" +
         std::to_string(fragments ? fragments->NumberOfFragmentIDs() : 0) + "\"/>\n";
}

}  // namespace

std::string Grid::xml() const {
  std::string text = "<Grid name=" + quoted(name()) + ">\n";
  for (const auto& [id, skeleton] : skeletons()) {
    text += "  <Skeleton dimension=\"" + std::to_string(id.Dimension) + "\" depth=\"" +
            std::to_string(id.Depth) + "\">\n";
    for (const auto& representation : skeleton->representations()) {
      text += "    <Representation name=" + quoted(representation->name()) + ">\n";
      representation->iterate([&](const FieldID& fieldID, const Field& field) {
        text += fieldElement(fieldID, field);
        return true;
      });
      text += "    </Representation>\n";
    }
    text += "  </Skeleton>\n";
  }
  return text + "</Grid>\n";
}

}  // namespace Quilt
